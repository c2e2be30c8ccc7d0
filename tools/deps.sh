#!/usr/bin/env bash
# Installs the Debian packages the build, tests, demo and benchmarks need, when missing.
set -euo pipefail
packages=(cmake ninja-build g++ pkg-config libgtest-dev libbenchmark-dev libpng-dev clang-format)
packages+=("$@")
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0
echo "installing: ${missing[*]}"
SUDO=""
[ "$(id -u)" -ne 0 ] && SUDO="sudo"
$SUDO apt-get update -qq
DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -qq "${missing[@]}"
