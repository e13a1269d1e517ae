#!/bin/sh
# losses.sh PROGRAM SUPPRESSIONS: what has to be lost is lost exactly once, as LeakSanitizer counts it, and every line of
# the suppressions file is needed.
set -eu
program=$1
suppressions=$2
log=$(mktemp)
trap 'rm -f "$log"' EXIT

# lost OPTIONS THING...: what LeakSanitizer found, as "count bytes function", or as it sums up what no line covers.
lost() {
  options=$1
  shift
  env LSAN_OPTIONS="$options" ASAN_OPTIONS=allocator_may_return_null=1:max_allocation_size_mb=8 "$program" "$@" >"$log" 2>&1 || true
  awk '/Suppressions used:/ { used = 1; getline; next } /^-+$/ { used = 0 } used { print $1, $2, $3 }' "$log"
  sed -n 's/^SUMMARY: AddressSanitizer: \([0-9]*\) byte(s) leaked in \([0-9]*\) allocation(s)\./uncovered \2 \1/p' "$log"
}

# expect WORDS FOUND WANTED
expect() {
  [ "$2" = "$3" ] && return
  printf '%s\nfound:\n%s\nwanted:\n%s\n' "$1" "$2" "$3"
  cat "$log"
  exit 1
}

# counts TEXT: without the bytes of texts and words, which are longer in one build than in another.
counts() { sed -E 's/^(uncovered [0-9]+|[0-9]+) [0-9]+/\1/'; }

with="suppressions=$suppressions:print_suppressions=1"
expect 'the entry' "$(lost "$with" 0)" '1 1024 Vornik::NewDecodeTable'
expect 'two calls of the entry' "$(lost "$with" 0 0)" '2 2048 Vornik::NewDecodeTable'
expect 'a thrown object' "$(lost "$with" 1 | counts)" '5 CopyText'
# The object's words hang on it; whether they are counted apart depends on how far the tool sees through the C++ runtime.
expect 'a thrown pointer' "$(lost "$with" 2 | counts | sort | sed 's/^[12] Vornik/1 Vornik/')" \
  "$(printf '1 Vornik::ThrowNew\n5 CopyText')"
# No line covers the last tile, since it would hide lost tiles of any picture.
expect 'the last tile' "$(lost "$with" 3 | grep uncovered)" "uncovered 1 $(((2000 - 2 * 853) * 12288))"

expect 'the entry, uncovered' "$(lost print_suppressions=0 0)" 'uncovered 1 1024'
expect 'a thrown object, uncovered' "$(lost print_suppressions=0 1 | counts)" 'uncovered 5'
expect 'a thrown pointer, uncovered' "$(lost print_suppressions=0 2 | counts)" 'uncovered 7'
