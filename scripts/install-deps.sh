#!/usr/bin/env bash
# Installs everything the build, the tests, the benchmarks and the fuzz
# targets need on a Debian 12 machine. Run as root; safe to run again.
set -euo pipefail

packages=(
  build-essential cmake ninja-build pkg-config python3
  g++ clang-14 libclang-rt-14-dev
  libgtest-dev libgmock-dev libbenchmark-dev
  locales-all unicode-data libsqlite3-dev
  qt6-base-dev libfmt-dev libicu-dev
)

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done

if [ ${#missing[@]} -gt 0 ]; then
  export DEBIAN_FRONTEND=noninteractive
  apt-get update -qq
  apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi
