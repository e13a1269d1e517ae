#!/usr/bin/env bash
# symbols.sh SHARED STATIC HEADER C-COMPILER: what the two libraries define for others is what selvane.h declares; what they leave undefined
# comes from the C, C++ and maths runtimes; file names, soname and symbol version follow the version of the header.
set -euo pipefail
shared=$1 static=$2 header=$3 cc=$4
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

fail() {
  echo "$1"
  exit 1
}

number() { sed -nE "s/^#define SELVANE_VERSION_$1 ([0-9]+)$/\1/p" "$header"; }
major=$(number MAJOR) minor=$(number MINOR) patch=$(number PATCH)

sed -nE 's/^SELVANE_FUNCTION .*[ *](selvane_[a-z0-9_]+)\(.*/\1/p' "$header" | LC_ALL=C sort >"$scratch/declared"
[ -s "$scratch/declared" ] || fail "no functions in $header"

# functions: the names of a list of symbols, which all have to be of that type.
functions() {
  awk -v type="$1" '$2 != type { print "of type " $2 ": " $3; next } { sub(/@.*/, "", $3); print $3 }' | LC_ALL=C sort
}
echo "The shared library against the header:"
nm -D --defined-only "$shared" | awk '$2 != "A"' | functions T | diff -u "$scratch/declared" -
echo "The static library against the header:"
nm --extern-only --defined-only "$static" | awk 'NF == 3' | functions T | diff -u "$scratch/declared" -

echo "Versions:"
versioned=$(nm -D --defined-only --with-symbol-versions "$shared" | awk '$2 == "T" {print $3}')
! grep -vE '@@SELVANE_[0-9]+\.[0-9]+$' <<<"$versioned" || fail "a function without a version"
readelf -d "$shared" | grep "SONAME.*\[libselvane.so.$major\]" >/dev/null || fail "the soname is not libselvane.so.$major"
[ "$(basename "$(readlink -f "$shared")")" = "libselvane.so.$major.$minor.$patch" ] || fail "$(readlink -f "$shared") has another version"

# Weak names that a file may lack are the compiler's and the linker's own.
echo "Undefined:"
foreign() { nm -D --undefined-only "$1" | awk '$1 == "U" {print $2}' | grep -vE '@(GLIBC|GLIBCXX|CXXABI|GCC)_' || true; }
[ -z "$(foreign "$shared")" ] || fail "not from a runtime: $(foreign "$shared")"
needed() { readelf -d "$1" | sed -nE 's/.*\(NEEDED\).*\[(.*)\]/\1/p' | grep -vE '^(libc|libm|libstdc\+\+|libgcc_s|ld-linux[^ ]*)\.so' || true; }
[ -z "$(needed "$shared")" ] || fail "needs $(needed "$shared")"

# All of the archive as a plug-in: it hands nothing out, and needs nothing but the runtimes.
"$cc" -shared -o "$scratch/plugin.so" -Wl,--whole-archive "$static" -Wl,--no-whole-archive -Wl,-z,defs -lstdc++ -lm -pthread
[ -z "$(nm -D --defined-only "$scratch/plugin.so")" ] || fail "a plug-in hands out $(nm -D --defined-only "$scratch/plugin.so")"
[ -z "$(foreign "$scratch/plugin.so")" ] || fail "the archive needs $(foreign "$scratch/plugin.so")"
[ -z "$(needed "$scratch/plugin.so")" ] || fail "the archive needs $(needed "$scratch/plugin.so")"
echo "$(wc -l <"$scratch/declared") functions"
