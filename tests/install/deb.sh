#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Makes the Debian packages of a build folder, unpacks them under a root of their own, and follows a guide with
# what is there. Status 77 where there is no dpkg.
#
#   deb.sh BUILD FOLDER GUIDE
set -euo pipefail
command -v dpkg-shlibdeps >/dev/null || exit 77
here=$(realpath "$(dirname "$0")")
rm -rf "$2"
cpack --config "$1/CPackConfig.cmake" -B "$2"
for package in libboarddiag-dev boarddiag-sim; do
    dpkg-deb --field "$2/${package}"_*.deb Depends Description
    dpkg -x "$2/${package}"_*.deb "$2/root"
done
if [ -d "$1/docs/man" ]; then # there once scripts/docs has made them
    man -M "$2/root/usr/share/man" -w boarddiag boardsim diag_print
fi
PKG_CONFIG_PATH=$(dirname "$(find "$2/root" -name boarddiag.pc)")
export PKG_CONFIG_PATH PATH="$2/root/usr/bin:$PATH"
exec "$here/guide.sh" "$3" "$2/guide"
