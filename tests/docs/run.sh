#!/usr/bin/env bash
# run.sh BUILD PAGE: the C blocks of the page, put together in their order, are one program; it is built against an install of BUILD
# and run.
set -euo pipefail
build=$1 page=$2
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cmake --install "$build" --prefix "$scratch/prefix" >/dev/null
pc=$(dirname "$(find "$scratch/prefix" -name selvane.pc)")
awk '/^```c$/ {on = 1; next} /^```/ {on = 0} on' "$page" >"$scratch/page.c"
[ "$(grep -c . "$scratch/page.c")" -gt 50 ]
for cc in gcc clang; do
  # shellcheck disable=SC2046
  "$cc" -std=c99 -Wall -Wextra -pedantic -Werror "$scratch/page.c" -rdynamic -o "$scratch/page" \
    $(PKG_CONFIG_PATH=$pc pkg-config --cflags --libs selvane) "-Wl,-rpath,$pc/.."
  "$scratch/page" 2>/dev/null
done
