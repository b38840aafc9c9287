#!/usr/bin/env bash
# Installs what is missing, builds, and runs every test. Nothing needs a display.
set -euo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
"$top/scripts/deps.sh"
"$top/scripts/build.sh"
export QT_QPA_PLATFORM=offscreen
cd "$top/build"
ctest --output-on-failure --parallel "$(nproc)"
