#!/usr/bin/env bash
# Configures and builds the library, its example and its tests into build/
# (or the directory given as $BUILD_DIR). Extra arguments go to cmake.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${BUILD_DIR:-$root/build}
cmake -S "$root" -B "$build" -G Ninja "$@" >/dev/null
cmake --build "$build"
