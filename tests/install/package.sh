#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Looks an installed tree through: a project finds its CMake package, and no link of its documents leads nowhere.
#
#   package.sh ROOT PROGRAM FOLDER DOCS...   PROGRAM is a C source file, FOLDER is where the project is built, and DOCS
#                                            are the folders under share/doc
set -euo pipefail
here=$(realpath "$(dirname "$0")")
rm -rf "$3"
cmake -S "$here/package" -B "$3" -G Ninja -DROOT="$1" -DPROGRAM="$2"
cmake --build "$3"
ctest --test-dir "$3" --output-on-failure

status=0
diff -u --label installed --label expected <(LC_ALL=C ls "$1/share/doc") <(printf '%s\n' "${@:4}") || status=1
cd "$1/share/doc/boarddiag"
while IFS=: read -r page link; do
    if [ ! -e "$(dirname "$page")/$link" ]; then
        echo "$page has a link to $link, which is not installed" >&2
        status=1
    fi
done < <(find . -name '*.md' -exec grep -noE '\]\([^)#]+' {} + | sed -E 's/:[0-9]+:\]\(/:/' | grep -v ':https\?:')
exit $status
