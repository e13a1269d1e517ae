#!/usr/bin/env bash
# manual.sh HEADER PAGE: the manual page is formatted without a warning, shows each function of the header, and has
# each word of the header but for those of the preprocessor.
set -euo pipefail
header=$1 page=$2
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

LC_ALL=C.UTF-8 MANWIDTH=200 man --warnings -E UTF-8 -l "$page" >"$scratch/text" 2>"$scratch/warnings"
if [ -s "$scratch/warnings" ]; then
  cat "$scratch/warnings" >&2
  exit 1
fi

mapfile -t functions < <(grep -oE '^SELVANE_FUNCTION [^(]*\(' "$header" | grep -oE 'selvane_[a-z_0-9]+')
[ ${#functions[@]} -ge 30 ]
for function in "${functions[@]}"; do
  grep -qxE "   $function" "$scratch/text" || grep -qE "^   +([a-z_]+ )+\*?$function\(" "$scratch/text" || {
    echo "$function is missing" >&2
    exit 1
  }
done

# words FILE: its words with the number of times that each occurs.
words() { grep -oE '[A-Za-z_][A-Za-z_0-9]*' | LC_ALL=C sort | uniq -c | awk '{ print $2, $1 }'; }
sed -e '/^#ifdef __cplusplus/,/^#endif/d' -e '/^#if/d' -e '/^#end/d' -e '/^#else/d' -e '/^#include/d' -e '/SELVANE_H$/d' \
  -e '/^#define SELVANE_FUNCTION/d' -e 's/^SELVANE_FUNCTION//' -e 's/@param//' "$header" >"$scratch/header"
sed -i -E '/^\/\* ---- /s/.*/\U&/' "$scratch/header"
words <"$scratch/header" >"$scratch/wanted"
words <"$scratch/text" >"$scratch/found"
awk 'NR == FNR { found[$1] = $2; next } found[$1] < $2 { print $1 " is lost"; lost = 1 } END { exit lost }' "$scratch/found" "$scratch/wanted" >&2
