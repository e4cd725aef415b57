#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Does in a copy of the source tree what the first block under "Install it" says, in a HOME of its own, and installs what
# came of it, all without the optimiser. The copy lies under a name with blanks, as a checkout may. Status 77 where
# something of it would first have to be installed on this machine.
#
#   source.sh SOURCE FOLDER
set -euo pipefail
for command in doxygen lowdown man pkg-config; do
    command -v "$command" >/dev/null || exit 77
done
rm -rf "$2"
source="$2/a source tree"
mkdir -p "$source" "$2/home"
tar -C "$1" --exclude=./build --exclude=./.git -cf - . | tar -C "$source" -xf -
cd "$source"
export HOME=$2/home CMAKE_TOOLCHAIN_FILE=$source/tests/install/unoptimised.cmake

awk '/^## / { under = /^## Install it$/ } under && /^```$/ { exit } inside; under && /^```sh$/ { inside = 1 }' \
    README.md >../steps.sh
grep -q scripts/docs ../steps.sh
bash -euo pipefail ../steps.sh
cmake --install build/release --prefix "$HOME/.local" >../installed
man -M "$HOME/.local/share/man" -w boarddiag boardsim diag_print
"$HOME/.local/bin/boardsim" init ../board
