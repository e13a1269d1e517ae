#!/usr/bin/env bash
# correct_log10f.sh FOLDER WORDS...: builds a correctly rounded log10f in FOLDER and runs WORDS with it in the place of the C library's.
# First it asks a small program for log10f(3): 0x1.e8927ap-2 if it is rounded correctly, 0x1.e89278p-2 in glibc 2.36.
set -euo pipefail
folder=$1
shift
library=$folder/libselvane_correct_log10f.so
mkdir -p "$folder"
g++ -O2 -shared -fPIC -o "$library" "$(dirname "$0")/correct_log10f.cpp"
g++ -x c++ -O0 -fno-builtin -o "$folder/selvane_log10f_of_3" - <<'PROGRAM'
#include <cmath>
#include <cstdio>
int main()
{
    std::printf("%a\n", static_cast<double>(::log10f(3.0f)));
}
PROGRAM
found=$(LD_PRELOAD=$library "$folder/selvane_log10f_of_3")
[ "$found" = 0x1.e8927ap-2 ] || { echo "the preloaded log10f gives $found for 3" >&2; exit 1; }
LD_PRELOAD=$library exec "$@"
