#!/usr/bin/env bash
# run.sh BUILD VERSION: installs BUILD into a scratch prefix, moves the prefix, and builds and runs both hosts from there with
# find_package and with pkg-config, under g++ and clang++. Compares the installed files with the list beside this script.
set -euo pipefail
build=$1 version=$2
here=$(cd "$(dirname "$0")" && pwd)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

cmake --install "$build" --prefix "$scratch/first" >/dev/null
mv "$scratch/first" "$scratch/prefix"
prefix=$scratch/prefix
(cd "$prefix" && find . \( -type f -o -type l \) | sed -E 's#SelvaneTargets-[a-z]+#SelvaneTargets-CONFIG#; s#/lib/[^/]*-linux-gnu[^/]*/#/lib/#; s#^\./##' | LC_ALL=C sort) >"$scratch/files"
diff -u "$here/installed.txt" "$scratch/files"

pc=$(dirname "$(find "$prefix" -name selvane.pc)")
export PKG_CONFIG_PATH=$pc
[ "$(pkg-config --modversion selvane)" = "$version" ]
[ "$("$prefix/bin/selvane" --version)" = "selvane $version" ]
[ "$(readlink "$(find "$prefix" -name Selvane.so)")" = Selvane.so.1 ]

for pair in gcc:g++ clang:clang++; do
  cc=${pair%%:*} cxx=${pair##*:}
  cmake -S "$here" -B "$scratch/$cc" -G Ninja -DCMAKE_C_COMPILER="$cc" -DCMAKE_CXX_COMPILER="$cxx" -DCMAKE_PREFIX_PATH="$prefix" |
    tee "$scratch/configure" >/dev/null
  grep -q "Selvane $version" "$scratch/configure"
  cmake --build "$scratch/$cc" >/dev/null
  "$scratch/$cc/c_host" 2>/dev/null
  "$scratch/$cc/cpp_host" 2>/dev/null

  read -ra flags <<<"$(pkg-config --cflags --libs selvane)"
  "$cc" -std=c99 -Wall -Wextra -pedantic -Werror "$here/c/host.c" -rdynamic -o "$scratch/c_host" "${flags[@]}" "-Wl,-rpath,$pc/.."
  "$cxx" -std=c++17 -Wall -Wextra -Werror "$here/cpp/host.cpp" -pthread -rdynamic -o "$scratch/cpp_host" "${flags[@]}" \
    "-Wl,-rpath,$pc/.."
  "$scratch/c_host" 2>/dev/null
  "$scratch/cpp_host" 2>/dev/null
done
