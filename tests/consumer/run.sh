#!/usr/bin/env bash
# run.sh BUILD VERSION LIBRARY-VERSION: installs BUILD into a scratch prefix, moves the prefix, and builds and runs from there, with
# find_package and with pkg-config, under g++ and clang++: both hosts of the engine, and the program of libselvane with either form of
# the library. Compares the installed files, but for the Python package, with the list beside this script.
set -euo pipefail
build=$1 version=$2 library_version=$3
here=$(cd "$(dirname "$0")" && pwd)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

cmake --install "$build" --prefix "$scratch/first" >/dev/null
mv "$scratch/first" "$scratch/prefix"
prefix=$scratch/prefix
(cd "$prefix" && find . \( -type f -o -type l \) ! -path '*/dist-packages/*' | sed -E 's#SelvaneTargets-[a-z]+#SelvaneTargets-CONFIG#; s#/lib/[^/]*-linux-gnu[^/]*/#/lib/#; s#^\./##; s#(libselvane\.so\.)[0-9]+\.[0-9.]+$#\1VERSION#' | LC_ALL=C sort) >"$scratch/files"
diff -u "$here/installed.txt" "$scratch/files"

pc=$(dirname "$(find "$prefix" -name selvane.pc)")
export PKG_CONFIG_PATH=$pc
[ "$(pkg-config --modversion selvane-engine)" = "$version" ]
[ "$(pkg-config --modversion selvane)" = "$library_version" ]
[ "$("$prefix/bin/selvane" --version)" = "selvane $version" ]
[ "$(readlink "$(find "$prefix" -name Selvane.so)")" = Selvane.so.1 ]

# libselvane: its links, and that the loader's cache takes it in. -X: no link of the system's is touched.
# grep reads to the end: the list is long, and pipefail takes a writer whose reader has gone for a failure.
lib=$(cd "$pc/.." && pwd)
soname=libselvane.so.${library_version%%.*}
[ "$(readlink "$lib/libselvane.so")" = "$soname" ]
[ "$(readlink "$lib/$soname")" = "libselvane.so.$library_version" ]
echo "$lib" >"$scratch/ld.so.conf"
/sbin/ldconfig -X -f "$scratch/ld.so.conf" -C "$scratch/ld.so.cache"
/sbin/ldconfig -p -C "$scratch/ld.so.cache" | grep -E "^\s*$soname .*=> $lib/$soname\$" >/dev/null

# renders PROGRAM: it runs, with that library.
renders() {
  [ "$("$@")" = "$library_version" ]
}

# holds PROGRAM: it has the library in itself.
holds() {
  ! readelf -d "$1" | grep libselvane >/dev/null && renders "$1"
}

# library_by_pkg_config COMPILER WORD...: the shared library; the archive by its name; everything static.
library_by_pkg_config() {
  local flags whole
  read -ra flags <<<"$(pkg-config --cflags --libs selvane)"
  "$@" "${flags[@]}" -o "$scratch/shared"
  renders env LD_LIBRARY_PATH="$lib" "$scratch/shared"
  read -ra flags <<<"$(pkg-config --cflags selvane)"
  "$@" "${flags[@]}" "$lib/libselvane.a" -lstdc++ -lm -pthread -o "$scratch/holding"
  holds "$scratch/holding"
  read -ra whole <<<"$(pkg-config --static --cflags --libs selvane)"
  "$@" "${whole[@]}" -static -o "$scratch/static"
  holds "$scratch/static"
}

library_by_cmake() {
  cmake -S "$here/library" -B "$scratch/$1-library" -G Ninja -DCMAKE_C_COMPILER="$1" -DCMAKE_PREFIX_PATH="$prefix" "${@:2}" >/dev/null
  cmake --build "$scratch/$1-library" >/dev/null
  renders "$scratch/$1-library/c_selvane"
  holds "$scratch/$1-library/c_selvane_static"
}

for pair in gcc:g++ clang:clang++; do
  cc=${pair%%:*} cxx=${pair##*:}
  cmake -S "$here" -B "$scratch/$cc" -G Ninja -DCMAKE_C_COMPILER="$cc" -DCMAKE_CXX_COMPILER="$cxx" -DCMAKE_PREFIX_PATH="$prefix" |
    tee "$scratch/configure" >/dev/null
  grep -q "Selvane $version" "$scratch/configure"
  cmake --build "$scratch/$cc" >/dev/null
  "$scratch/$cc/c_host" 2>/dev/null
  "$scratch/$cc/cpp_host" 2>/dev/null

  read -ra flags <<<"$(pkg-config --cflags --libs selvane-engine)"
  "$cc" -std=c99 -Wall -Wextra -pedantic -Werror "$here/c/host.c" -rdynamic -o "$scratch/c_host" "${flags[@]}" "-Wl,-rpath,$pc/.."
  "$cxx" -std=c++17 -Wall -Wextra -Werror "$here/cpp/host.cpp" -pthread -rdynamic -o "$scratch/cpp_host" "${flags[@]}" \
    "-Wl,-rpath,$pc/.."
  "$scratch/c_host" 2>/dev/null
  "$scratch/cpp_host" 2>/dev/null

  library_by_pkg_config "$cc" -std=c11 -Wall -Wextra -pedantic -Werror -x c "$here/library/program.c" -x none
  library_by_pkg_config "$cxx" -std=c++17 -Wall -Wextra -pedantic -Werror -x c++ "$here/library/program.c" -x none
  library_by_cmake "$cc"
  library_by_cmake "$cc" -DWITH_CXX=ON -DCMAKE_CXX_COMPILER="$cxx"
  renders "$scratch/$cc-library/cpp_selvane"
  holds "$scratch/$cc-library/cpp_selvane_static"
done
