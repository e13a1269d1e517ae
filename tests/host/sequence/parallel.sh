#!/usr/bin/env bash
# parallel.sh SELVANE: both passes over a film by GNU parallel with two workers, as docs/many-machines.md has them, give the bytes of
# one run over all frames.
set -euo pipefail
PATH=$(dirname "$1"):$PATH
here=$(cd "$(dirname "$0")" && pwd)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cd "$scratch"
export PARALLEL_HOME=$scratch/parallel

mkdir frames parts parallel
touch parallel/will-cite # the notice about citing was read
"$here/film.py" frames 12
selvane sequence frames/*.hdr --out-dir expected --name '{stem}.png' --quiet

parallel --jobs 2 selvane points --quiet {} -o parts/{/.}.json ::: frames/*.hdr
selvane points --join parts/*.json -o points.json --quiet
parallel --jobs 2 selvane tonemap --quiet --points points.json {} --out-dir graded --name '{stem}.png' --resume ::: frames/*.hdr
diff -r expected graded
[ "$(find graded -name '*.png' | wc -l)" -eq 12 ]

# What a worker left undone, and only that, is done by the same line again.
rm graded/frame0003.png
touch -d '1 hour ago' reference frames/*.hdr points.json
touch reference
sleep 0.1
parallel --jobs 2 selvane tonemap --quiet --points points.json {} --out-dir graded --name '{stem}.png' --resume ::: frames/*.hdr
diff -r expected graded
[ "$(find graded -newer reference -name '*.png' -printf '%f')" = frame0003.png ]
