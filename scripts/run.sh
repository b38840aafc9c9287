#!/usr/bin/env bash
# Installs what is missing, builds, and starts tallymoor with the given arguments.
set -euo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
"$top/scripts/deps.sh"
"$top/scripts/build.sh" >&2
exec "$top/build/tallymoor" "$@"
