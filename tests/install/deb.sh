#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Makes the Debian packages of a build folder, unpacks them under a root of their own, and follows a guide and
# builds a project with what is there. Status 77 where there is no dpkg.
#
#   deb.sh BUILD FOLDER GUIDE   GUIDE is the first test's
set -euo pipefail
command -v dpkg-shlibdeps >/dev/null || exit 77
here=$(realpath "$(dirname "$0")")
rm -rf "$2"
cpack --config "$1/CPackConfig.cmake" -B "$2"
depends() {
    diff -u --label "$1 depends on" --label expected <(dpkg-deb --field "$2/$1"_*.deb Depends) - >&2
}
depends libboarddiag-dev "$2" <<<'zlib1g-dev, libxml2-dev'
depends boarddiag-sim "$2" <<<'' # the simulated tools are static
for package in libboarddiag-dev boarddiag-sim; do
    dpkg -x "$2/${package}"_*.deb "$2/root"
    diff "$here/../../LICENSE" "$2/root/usr/share/doc/$package/copyright"
done
if [ -d "$1/docs/man" ]; then # there once scripts/docs has made them
    man -M "$2/root/usr/share/man" -w boarddiag boardsim diag_print
fi
PKG_CONFIG_PATH=$(dirname "$(find "$2/root" -name boarddiag.pc)")
export PKG_CONFIG_PATH PATH="$2/root/usr/bin:$PATH"
"$here/guide.sh" "$3" "$2/guide"
"$here/package.sh" "$2/root/usr" "$2/guide/eeprom_test.c" "$2/package" boarddiag boarddiag-sim libboarddiag-dev
