#!/usr/bin/env bash
# check.sh LIST PROGRAM...: runs the program (words before it may be an emulator) with one worker in order, and with several whose
# tiles are cut and ordered at random; every line has to be that of the list.
set -euo pipefail
list=$1
shift
for run in "1 0" "2 1" "5 2" "64 3"; do
  read -ra words <<<"$run"
  diff "$list" <("$@" "${words[@]}" 2>/dev/null)
done
