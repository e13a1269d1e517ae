#!/usr/bin/env bash
# maths.sh LIBRARY: of the C library's mathematical functions the library asks for these alone: five that C libraries may round
# differently, and some that have one exact result. None of them is a logarithm: the one of the pixels is its own (base/Log10.h).
set -euo pipefail
rounded="cos exp exp2 expf pow"
exact="ceil ceilf fabs fabsf floor floorf fma fmaf ldexp sqrt sqrtf trunc truncf"
library=$1
libm=$(gcc -print-file-name=libm.so.6)
asked=$(comm -12 <(nm -D --undefined-only "$library" | awk '{sub(/@.*/, "", $2); print $2}' | sort -u) \
  <(nm -D --defined-only "$libm" | awk '{sub(/@.*/, "", $3); print $3}' | sort -u))
others=$(comm -23 <(echo "$asked") <(tr ' ' '\n' <<<"$rounded $exact" | sort))
[ -n "$asked" ] || { echo "no function of $libm is asked for: that cannot be"; exit 1; }
[ -z "$others" ] || { echo "asked for:" $others; exit 1; }
echo "asked for:" $asked
