#!/usr/bin/env bash
# hardening.sh FILE...: each file that is shipped has its relocations done at load time and read-only after it, guards its returns
# with a canary and calls the checked forms of the C library.
set -euo pipefail
for file in "$@"; do
  readelf -lW "$file" | grep -q GNU_RELRO || { echo "$file: no RELRO"; exit 1; }
  readelf -dW "$file" | grep -qE 'BIND_NOW|FLAGS_1.*NOW' || { echo "$file: not bound at load time"; exit 1; }
  readelf -lW "$file" | grep -E 'GNU_STACK' | grep -qv E || { echo "$file: executable stack"; exit 1; }
  undefined=$(nm -D --undefined-only "$file")
  grep -q '__stack_chk_' <<<"$undefined" || { echo "$file: no stack protector"; exit 1; }
  grep -qE '__[a-z]+_chk(@|$)' <<<"$undefined" || { echo "$file: no checked calls"; exit 1; }
done
