#!/usr/bin/env bash
# run.sh BUILD PAGE: takes the page's blocks apart, builds them against an install of BUILD and runs them.
#
#   ```LANGUAGE FILE   belongs to FILE; blocks of one file are put together in their order
#   ```sh              commands, run in their order beside the files; PREFIX is where the install stands
#
# All commands are run with gcc and g++, and again with clang and clang++. Warnings are errors.
set -euo pipefail
build=$1 page=$2
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cmake --install "$build" --prefix "$scratch/prefix" >/dev/null
PKG_CONFIG_PATH=$(dirname "$(find "$scratch/prefix" -name selvane.pc)")
PREFIX=$scratch/prefix
export PKG_CONFIG_PATH PREFIX

mkdir "$scratch/files" "$scratch/tools"
awk -v folder="$scratch/files" '
  /^```/ && on { on = 0; next }
  /^```/ { on = 1; file = $2; if ($1 == "```sh") file = "commands.sh"; next }
  on && file == "" { print FILENAME ":" FNR ": a block without a file" > "/dev/stderr"; exit 1 }
  on { print > (folder "/" file) }' "$page"
[ -s "$scratch/files/commands.sh" ]

# compilers C C++: what the names cc and c++ stand for in the commands.
compilers() {
  printf '#!/bin/sh\nexec %s -std=c99 -D_GNU_SOURCE -Wall -Wextra -Werror "$@"\n' "$1" >"$scratch/tools/cc"
  printf '#!/bin/sh\nexec %s -Wall -Wextra -Werror "$@"\n' "$2" >"$scratch/tools/c++"
  chmod +x "$scratch/tools/cc" "$scratch/tools/c++"
  export CC=$1 CXX=$2
}

for pair in "gcc g++" "clang clang++"; do
  read -r c cxx <<<"$pair"
  compilers "$c" "$cxx"
  cp -r "$scratch/files" "$scratch/$c"
  (cd "$scratch/$c" && PATH=$scratch/tools:$PATH bash -euo pipefail ./commands.sh 2>"$scratch/errors") || {
    cat "$scratch/errors" >&2
    exit 1
  }
done
