#!/usr/bin/env bash
# headers.sh INCLUDE: selvane.h compiles alone as C11 and as C++17, selvane.hpp as C++17 and C++20, with gcc and clang.
set -euo pipefail
include=$1
warnings=(-Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror -fsyntax-only)

# alone COMPILER LANGUAGE STANDARD HEADER: twice, so that the guard is there.
alone() {
  printf '#include "%s"\n#include "%s"\n' "$4" "$4" | "$1" -x "$2" "-std=$3" "${warnings[@]}" -I"$include" -
}
for cc in gcc clang; do
  for standard in c11 c17; do
    alone "$cc" c "$standard" selvane.h
  done
done
for cxx in g++ clang++; do
  for standard in c++17 c++20; do
    alone "$cxx" c++ "$standard" selvane.h
    alone "$cxx" c++ "$standard" selvane.hpp
  done
done
