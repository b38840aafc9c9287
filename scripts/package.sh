#!/usr/bin/env bash
# Installs what is missing, builds with Debian's build flags (hardening included) in build-deb/,
# makes build-deb/tallymoor_VERSION_ARCH.deb and has lintian check it: an error or a warning
# fails. `sudo apt install ./build-deb/tallymoor_*.deb` installs it (`sudo apt remove tallymoor`
# removes it).
set -euo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
"$top/scripts/deps.sh" dpkg-dev lintian
export DEB_BUILD_MAINT_OPTIONS=hardening=+all
cmake -S "$top" -B "$top/build-deb" -DCMAKE_BUILD_TYPE=None -DBUILD_TESTING=OFF \
    -DCMAKE_CXX_FLAGS="$(dpkg-buildflags --get CXXFLAGS) $(dpkg-buildflags --get CPPFLAGS)" \
    -DCMAKE_EXE_LINKER_FLAGS="$(dpkg-buildflags --get LDFLAGS)" >/dev/null
cmake --build "$top/build-deb" --parallel "$(nproc)" >&2
rm -f "$top"/build-deb/tallymoor_*.deb
(cd "$top/build-deb" && cpack -G DEB >&2)
deb=$(ls "$top"/build-deb/tallymoor_*.deb)
lintian --fail-on error,warning "$deb" >&2
echo "$deb"
