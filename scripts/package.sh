#!/usr/bin/env bash
# Installs what is missing, builds, and makes build/tallymoor_VERSION_ARCH.deb, which
# `sudo apt install ./build/tallymoor_*.deb` installs (and `sudo apt remove tallymoor` removes).
set -euo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
"$top/scripts/deps.sh" dpkg-dev
"$top/scripts/build.sh" >&2
(cd "$top/build" && cpack -G DEB)
ls "$top"/build/tallymoor_*.deb
