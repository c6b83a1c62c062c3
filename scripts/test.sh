#!/usr/bin/env bash
# Builds if needed and runs the whole test suite.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${BUILD_DIR:-$root/build}
"$root/scripts/install-deps.sh"
BUILD_DIR=$build "$root/scripts/build.sh" "$@"
ctest --test-dir "$build" --output-on-failure -j "$(nproc)"
