#!/usr/bin/env bash
# Installs a built tree into a scratch prefix and builds a small consumer
# against it twice: through find_package(tarnkit) and through pkg-config.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=$(cd "${1:-$root/build}" && pwd)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

cmake --install "$build" --prefix "$scratch/prefix" >/dev/null
mkdir -p "$scratch/consumer"
cat > "$scratch/consumer/main.cpp" <<'CPP'
#include <tarnkit/tarnkit.h>
#include <cstdio>
int main() {
    TarnkitA201::SAnsiString text("installed");
    TarnkitA201::SAnsiString copy(text);
    std::printf("%s\n", static_cast<const char *>(copy));
    // The zoned fields are read inline, from tables the library exports.
    short year;
    unsigned char month, day, weekday, hour, minute, second;
    const TarnkitA201::SDateTime when(2026, 11, 22, 45296000L); // 12:34:56 UTC
    when.GetDateTime(year, month, day, weekday, hour, minute, second, TarnkitA201::STimeZone::TZ_UTC());
    const bool fields = year == 2026 && month == 11 && day == 22 && weekday == 0 && hour == 12 && minute == 34 &&
                        second == 56;
    return copy == text && fields ? 0 : 1;
}
CPP
cat > "$scratch/consumer/CMakeLists.txt" <<'CMAKE'
cmake_minimum_required(VERSION 3.25)
project(consumer CXX)
find_package(tarnkit REQUIRED)
add_executable(consumer main.cpp)
target_link_libraries(consumer PRIVATE tarnkit::tarnkit)
CMAKE
cmake -S "$scratch/consumer" -B "$scratch/consumer/build" -G Ninja -DCMAKE_PREFIX_PATH="$scratch/prefix" >/dev/null
cmake --build "$scratch/consumer/build" >/dev/null
LD_LIBRARY_PATH="$scratch/prefix/lib" "$scratch/consumer/build/consumer"

export PKG_CONFIG_PATH="$scratch/prefix/lib/pkgconfig"
sed -i "s|^prefix=.*|prefix=$scratch/prefix|" "$scratch/prefix/lib/pkgconfig/tarnkit.pc"
# shellcheck disable=SC2046
g++ "$scratch/consumer/main.cpp" -o "$scratch/consumer/by-pkgconfig" $(pkg-config --cflags --libs tarnkit)
LD_LIBRARY_PATH="$scratch/prefix/lib" "$scratch/consumer/by-pkgconfig"
echo "install check passed"
