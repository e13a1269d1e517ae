#!/usr/bin/env bash
# hardening.sh BUILD COMMAND LIBRARY...: looks in the built files for what selvane_harden asks of the compiler.
#   libraries and command: relocations done at load time and read-only after it, no executable stack, canaries, checked calls of the C
#                        library, touched pages, marks at the targets of indirect calls
#   command:             loadable anywhere, checked containers; the libraries have none of these checks
#   every file of BUILD: no run path that depends on the current folder
set -euo pipefail
build=$1 command=$2
shift 2

fail() {
  echo "$1: $2"
  exit 1
}

# The loader takes an empty element, and every other that is not absolute, for a place below the current folder.
check_run_path() {
  local file=$1 path=$2
  case ":$path:" in *::*) fail "$file" "an empty element in its run path [$path]" ;; esac
  local element elements
  IFS=: read -ra elements <<<"$path"
  for element in "${elements[@]}"; do
    case $element in
      /* | '$ORIGIN' | '$ORIGIN/'* | '${ORIGIN}' | '${ORIGIN}/'*) ;;
      *) fail "$file" "a relative element in its run path [$path]" ;;
    esac
  done
}

# The command itself has to be among the files found.
check_run_paths() {
  local file path searched=
  while read -r file; do
    path=$(readelf -dW "$file" 2>/dev/null | sed -nE 's/.*\((RUNPATH|RPATH)\).*\[(.*)\]$/:\2/p') || true # scripts are no such files
    [ -n "$path" ] || continue
    check_run_path "$file" "${path#:}"
    searched+="$file"$'\n'
  done < <(find "$build" -type f \( -perm -u+x -o -name '*.so*' \))
  grep -qxF "$command" <<<"$searched" || fail "$command" "no run path"
}

# Addresses of the functions that a file hands out, and of main: all of them are called through pointers. The program's very first
# instructions, _start, are the C library's.
handed_out() {
  { readelf --dyn-syms -W "$1"; readelf --syms -W "$1" | awk '$8 == "main"'; } |
    awk '$4 == "FUNC" && $7 != "UND" && $8 != "_start" { sub(/^0+/, "", $2); print $2 }' | sort -u
}

# The mark of the whole file, a note, is no sign: the linker drops it as soon as one part has none, and the start files of a C
# library built without such marks are parts of every program.
check_marks() {
  local unmarked
  unmarked=$(comm -23 <(handed_out "$1") <(sed -nE 's/^ *([0-9a-f]+):\tendbr64.*/\1/p' <<<"$2" | sort -u))
  [ -n "$(handed_out "$1")" ] || fail "$1" "hands out nothing"
  [ -z "$unmarked" ] || fail "$1" "no mark at $(head -1 <<<"$unmarked"), a function that it hands out"
}

# Frames above a page are taken page by page, each touched with an "or" of nothing.
check_stack_clash() {
  grep -qE '\sor[lq]? +\$0x0,\(%rsp\)' <<<"$2" || fail "$1" "touches no page of a large frame"
  local large
  large=$(sed -nE 's/.*\tsub +\$0x([0-9a-f]{4,8}),%rsp.*/\1/p' <<<"$2" | while read -r size; do
    if [ $((16#$size)) -gt 4096 ]; then echo "$size"; fi
  done)
  [ -z "$large" ] || fail "$1" "takes 0x$(head -1 <<<"$large") bytes of stack in one step"
}

check_both() {
  local file=$1 segments undefined code
  segments=$(readelf -lW "$file")
  undefined=$(nm -D --undefined-only "$file")
  code=$(objdump -d --no-show-raw-insn "$file")
  grep -q GNU_RELRO <<<"$segments" || fail "$file" "no RELRO"
  grep -qE 'BIND_NOW|FLAGS_1.*NOW' <<<"$(readelf -dW "$file")" || fail "$file" "not bound at load time"
  grep GNU_STACK <<<"$segments" | grep -v E >/dev/null || fail "$file" "executable stack"
  grep -q '__stack_chk_' <<<"$undefined" || fail "$file" "no stack protector"
  grep -qE '__[a-z]+_chk(@|$)' <<<"$undefined" || fail "$file" "no checked calls"
  check_marks "$file" "$code"
  check_stack_clash "$file" "$code"
}

# has_checked_containers FILE: calls what a failed check of the C++ library ends in.
has_checked_containers() {
  grep -q '__glibcxx_assert_fail' <<<"$(nm -D --undefined-only "$1")"
}

for library in "$@"; do
  check_both "$library"
  ! has_checked_containers "$library" || fail "$library" "checked containers"
done
check_both "$command"
grep -qE 'FLAGS_1.*PIE' <<<"$(readelf -dW "$command")" || fail "$command" "not loadable anywhere"
has_checked_containers "$command" || fail "$command" "no checked containers"
check_run_paths
