#!/usr/bin/env bash
# symbols.sh LIBRARY LIST [--write]: what the library defines for others is what the list says, so that a change of the binary
# interface is a decision; of what it leaves undefined only DivideWork is not from the C, C++ and maths runtimes.
set -euo pipefail
library=$1 list=$2
defined=$(nm -D --defined-only "$library" | awk '{print $3}' | LC_ALL=C sort)
if [ "${3:-}" = --write ]; then
  printf '%s\n' "$defined" >"$list"
  exit
fi
diff -u "$list" <(printf '%s\n' "$defined")
strong=$(nm -D --undefined-only "$library" | awk '$1 == "U" {print $2}')
grep -qx DivideWork <<<"$strong"
foreign=$(grep -vE '@(GLIBC|GLIBCXX|CXXABI|GCC)_' <<<"$strong" | grep -vx DivideWork || true)
[ -z "$foreign" ] || { echo "undefined, and not from a runtime: $foreign"; exit 1; }
needed=$(readelf -d "$library" | sed -nE 's/.*\(NEEDED\).*\[(.*)\]/\1/p')
others=$(grep -vE '^(libc|libm|libstdc\+\+|libgcc_s|ld-linux[^ ]*)\.so' <<<"$needed" || true)
[ -z "$others" ] || { echo "needs $others"; exit 1; }
readelf -d "$library" | grep 'SONAME.*\[Selvane.so.1\]' >/dev/null
