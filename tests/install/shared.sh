#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Checks a shared build, whose build folder, or the outer one, is the current one: the library exports the public names
# and nothing else, and a C program meets it through pkg-config once it is installed.
#
#   shared.sh SOURCE
set -euo pipefail
library=$(find . -name libboarddiag.so -not -path "./prefix/*")
diff -u --label "declared in the headers" --label "exported by the library" \
    <("$1/scripts/public-names" | cut -d' ' -f1) \
    <(nm -D --defined-only "$library" | cut -d' ' -f3 | LC_ALL=C sort)
if readelf -d "$library" | grep 'NEEDED.*++'; then
    echo "the library needs a C++ run-time library" >&2
    exit 1
fi

cmake --install . --prefix "$PWD/prefix" >/dev/null
PKG_CONFIG_PATH=$(dirname "$(find "$PWD/prefix" -name boarddiag.pc)")
export PKG_CONFIG_PATH
# A blank of a path comes with a backslash.
eval "${CC:-cc} \"\$1/tests/consumer/program.c\" -o program $(pkg-config --cflags --libs boarddiag)"
LD_LIBRARY_PATH=$(dirname "$PKG_CONFIG_PATH") ./program
