#!/usr/bin/env bash
# Configures and builds into build/ (the binary lands at build/tallymoor).
set -euo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
cmake -S "$top" -B "$top/build" -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build "$top/build" --parallel "$(nproc)"
