#!/usr/bin/env bash
# headers.sh SOURCE HEADER...: every public header compiles alone, as C++17 and C++20 with g++ and clang++; the two plain ones as
# C99 too.
set -euo pipefail
source=$1
shift
for header in "$@"; do
  for compiler in g++ clang++; do
    for standard in c++17 c++20; do
      "$compiler" -std=$standard -Wall -Wextra -Wshadow -Wconversion -Wdouble-promotion -pedantic -Werror -fsyntax-only -I"$source" \
        -x c++ - <<<"#include \"$header\""
    done
  done
done
for header in entry/vorniklib3.h filter/DivideWork.h; do
  for compiler in gcc clang; do
    "$compiler" -std=c99 -Wall -Wextra -pedantic -Werror -fsyntax-only -I"$source" -x c - <<<"#include \"$header\""
  done
done
