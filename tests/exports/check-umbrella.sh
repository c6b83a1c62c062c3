#!/usr/bin/env bash
# Fails if a public header is missing from the umbrella header, or if a
# public header does not compile on its own.
set -euo pipefail
include_dir=$1
compiler=${2:-c++}
status=0
for header in "$include_dir"/tarnkit/*.h; do
  name=$(basename "$header")
  [ "$name" = tarnkit.h ] && continue
  grep -q "#include \"tarnkit/$name\"" "$include_dir/tarnkit/tarnkit.h" || { echo "tarnkit.h lacks $name"; status=1; }
  echo "#include <tarnkit/$name>" | "$compiler" -std=c++20 -fsyntax-only -Wall -Wextra -Werror -I"$include_dir" -x c++ - ||
    { echo "$name does not compile on its own"; status=1; }
done
exit $status
