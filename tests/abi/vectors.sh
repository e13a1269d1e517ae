#!/usr/bin/env bash
# vectors.sh LIBRARY TABLE: the hot loops work on whole vectors. Each line of the table names a loop and a version, with the least
# number of packed float instructions as wide as that version's vectors (256 bits for AVX2, 512 for AVX-512) and the most of scalar
# ones, which stand in the rests of rows. A loop that a change leaves scalar shows in both. The numbers are those of g++ 12 at -O3,
# with room for small changes; without a table the script prints what it finds in every loop.
set -euo pipefail
library=$1
table=${2:-}

# Lines "version|function|packed|scalar".
found=$(objdump -d --no-show-raw-insn "$library" | c++filt | awk '
  function report() { if (name != "") print version "|" name "|" packed "|" scalar }
  /^[0-9a-f]+ <.*>:$/ {
    report(); name = ""
    if (match($0, /\.arch_x86_64_v[34]\]?>:$|\[clone \.arch_x86_64_v[34]\]>:$/)) {
      version = ($0 ~ /_v4/) ? "AVX-512" : "AVX2"
      wide = (version == "AVX2") ? "%ymm" : "%zmm"
      name = $0; sub(/^[0-9a-f]+ </, "", name); sub(/ \[clone.*$/, "", name); gsub(/Vornik::|Rows::|\(anonymous namespace\)::/, "", name)
      gsub(/<\([A-Za-z]+\)/, "<", name) # the type of an enumerated template argument
      sub(/\(.*$/, "", name); sub(/^(void|int|bool) /, "", name)
      packed = 0; scalar = 0
    }
    next
  }
  name != "" && /\tv(add|sub|mul|div|max|min|f?n?m(add|sub)[0-9]*)p[sd] / && index($0, wide) { packed++ }
  name != "" && /\tv(add|sub|mul|div|max|min|f?n?m(add|sub)[0-9]*)s[sd] / { scalar++ }
  END { report() }' | sort)
[ -n "$found" ] || { echo "no versions in $library"; exit 1; }
[ -n "$table" ] || { echo "$found"; exit 0; }

failed=0
while IFS='|' read -r version name least most; do
  line=$(grep -F "$version|$name|" <<<"$found") || { echo "$name has no version for $version"; failed=1; continue; }
  IFS='|' read -r _ _ packed scalar <<<"$line"
  if [ "$packed" -lt "$least" ] || [ "$scalar" -gt "$most" ]; then
    echo "$name for $version: $packed packed instructions, expected $least or more; $scalar scalar ones, expected $most or fewer"
    failed=1
  fi
done < <(grep -v '^#' "$table")
exit $failed
