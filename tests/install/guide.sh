#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Does what a guide says, in a folder of its own: writes the files that its code blocks name ("```c first.c"), runs its
# commands ("```sh run") in one shell, and compares what they print with what the guide shows ("```text output").
#
#   guide.sh GUIDE FOLDER [BUILD]   BUILD is the build folder that the guide knows as build/release
set -euo pipefail
guide=$(realpath "$1")
rm -rf "$2"
mkdir -p "$2"
if [[ $2 == *\ * ]]; then
    # The guides' compiler lines take what pkg-config prints apart at its blanks: for them the folder above goes by a
    # name that has none.
    link=$(mktemp -d)
    trap 'rm -rf "$link"' EXIT
    : "${PKG_CONFIG_PATH:=}"
    above=$(dirname "$2")
    ln -s "$above" "$link/above"
    set -- "$1" "$link/above/$(basename "$2")" "${@:3}"
    export HOME="${HOME//"$above"/$link/above}" PATH="${PATH//"$above"/$link/above}"
    export PKG_CONFIG_PATH="${PKG_CONFIG_PATH//"$above"/$link/above}"
fi
cd "$2"
if [ $# -gt 2 ]; then
    mkdir build
    ln -s "$3" build/release
fi

awk '
function opens(line) { print line; end = 1 }
!inside && /^```sh run$/      { inside = 1; print "exec >output 2>&1"; next }
!inside && /^```text output$/ { inside = 1; opens("diff -u --label guide --label run - output >&3 <<\"END OF BLOCK\""); next }
!inside && /^```[a-z]+ [A-Za-z_.]+$/ { inside = 1; opens("cat >" $2 " <<\"END OF BLOCK\""); next }
!inside && /^```/             { inside = 2; next }
inside && /^```$/             { if (end) print "END OF BLOCK"; inside = end = 0; next }
inside == 1                   { print; ran = 1 }
END { if (!ran) exit 1 }' "$guide" >steps.sh || { echo "$guide: nothing to run" >&2; exit 1; }

exec 3>&1
bash -euo pipefail steps.sh || { status=$?; cat output; exit "$status"; }
