#!/usr/bin/env bash
# instructions.sh PROGRAM LIST: counts the instructions of the program's calls under valgrind, from the entry's first to its last, and
# compares each with its line of the list, "call instructions": five per cent more or fewer fail. A call that became cheaper is good
# news, and its line has to follow. valgrind emulates AVX2 with FMA and no AVX-512, so the counts are those of the AVX2 versions.
# Exit status 77: not counted here.
set -euo pipefail
program=$1
list=$2
command -v valgrind >/dev/null || { echo "skipped: no valgrind"; exit 77; }
grep -q '^flags.* avx2.* bmi2' /proc/cpuinfo && grep -q '^flags.* fma ' /proc/cpuinfo || { echo "skipped: this processor has no AVX2 with FMA"; exit 77; }

count() {
  valgrind --tool=callgrind --toggle-collect=cpp_tm_selvane --callgrind-out-file=/dev/null "$program" "$1" 2>&1 |
    awk '/Collected :/ { print $NF }'
}

failed=0
while read -r call expected; do
  counted=$(count "$call")
  [ -n "$counted" ] || { echo "call $call: valgrind counted nothing"; exit 1; }
  if [ $((counted * 100)) -gt $((expected * 105)) ] || [ $((counted * 100)) -lt $((expected * 95)) ]; then
    echo "call $call: $counted instructions, expected $expected within 5 per cent"
    failed=1
  else
    echo "call $call: $counted instructions"
  fi
done < <(grep -v '^#' "$list")
exit $failed
