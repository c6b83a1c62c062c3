#!/usr/bin/env bash
# Fails if a public header is missing from the umbrella header, or if a
# public header does not compile on its own. A folder of headers has its
# own umbrella, named after the folder, which the main one includes.
set -euo pipefail
include_dir=$1
compiler=${2:-c++}
status=0

expect_include() { # umbrella header, header it must include
  grep -q "#include \"$2\"" "$include_dir/$1" || { echo "$1 lacks $2"; status=1; }
}

for header in "$include_dir"/tarnkit/*.h "$include_dir"/tarnkit/*/*.h; do
  [ -e "$header" ] || continue
  relative=${header#"$include_dir"/}
  folder=$(basename "$(dirname "$relative")")
  name=$(basename "$relative")
  if [ "$folder" = tarnkit ]; then
    [ "$name" = tarnkit.h ] || expect_include tarnkit/tarnkit.h "$relative"
  elif [ "$name" = "$folder.h" ]; then
    expect_include tarnkit/tarnkit.h "$relative"
  else
    expect_include "tarnkit/$folder/$folder.h" "$relative"
  fi
  echo "#include <$relative>" | "$compiler" -std=c++20 -fsyntax-only -Wall -Wextra -Werror -I"$include_dir" -x c++ - ||
    { echo "$relative does not compile on its own"; status=1; }
done
exit $status
