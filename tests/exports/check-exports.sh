#!/usr/bin/env bash
# Fails if the shared object exports any symbol outside TarnkitA201, or if
# its file name and soname do not carry the version.
set -euo pipefail
lib=$1
case "$(basename "$lib")" in libtarnkit-2-1.so) ;; *) echo "unexpected file name $lib"; exit 1 ;; esac
soname=$(objdump -p "$lib" | awk '/SONAME/ {print $2}')
[ "$soname" = "libtarnkit-2-1.so" ] || { echo "unexpected soname '$soname'"; exit 1; }

symbols=$(nm -D --defined-only "$lib" | awk '{print $3}' | grep -v '^TARNKIT_2_1$' | c++filt)
[ -n "$symbols" ] || { echo "nothing exported"; exit 1; }
strays=$(printf '%s\n' "$symbols" | sed -E 's/@@?TARNKIT_2_1$//' |
  grep -v -E '^((vtable|VTT|typeinfo|typeinfo name|guard variable) for |(unsigned )?(void|bool|char|short|int|long|long long|float|double) )?TarnkitA201::' || true)
if [ -n "$strays" ]; then
  echo "symbols outside TarnkitA201:"
  printf '%s\n' "$strays" | head -n 40
  exit 1
fi
echo "$(printf '%s\n' "$symbols" | wc -l) symbols, all in TarnkitA201"
