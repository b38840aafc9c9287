#!/usr/bin/env bash
# Installs the Debian packages the build, the tests and the benchmark need, but only those missing,
# so a second run costs nothing. Usage: scripts/deps.sh [extra-package ...]
set -euo pipefail

packages=(build-essential cmake pkg-config qt6-base-dev libglib2.0-dev libgtest-dev "$@")

missing=()
for p in "${packages[@]}"; do
    if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
        missing+=("$p")
    fi
done
[ ${#missing[@]} -eq 0 ] && exit 0

sudo=()
[ "$(id -u)" -eq 0 ] || sudo=(sudo)
echo "Installing: ${missing[*]}" >&2
"${sudo[@]}" apt-get update -qq
DEBIAN_FRONTEND=noninteractive "${sudo[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}" >&2
