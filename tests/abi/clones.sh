#!/usr/bin/env bash
# clones.sh LIBRARY: of every loop that is compiled for several processors there is an AVX2 and an AVX-512 version; none of these
# calls fmaf, since a call a value would be slower than the plain loop; and neither versions nor resolvers are exported.
set -euo pipefail
library=$1
clones=$(nm "$library" | awk '{print $3}' | grep -E '\.arch_x86_64_v[34]$' || true)
[ -n "$clones" ] || { echo "no versions in $library"; exit 1; }
for clone in $clones; do
  if objdump -d --no-show-raw-insn --disassemble="$clone" "$library" | grep -E 'call.*<fmaf?[@>]'; then
    echo "$clone calls the maths library for its fused steps"
    exit 1
  fi
done
if nm -D "$library" | grep -E '\.resolver|\.arch_| i '; then
  echo "versions are exported"
  exit 1
fi
echo "$(wc -w <<<"$clones") versions"
