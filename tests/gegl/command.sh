#!/usr/bin/env bash
# command.sh MODULES SCENE COMPARE: the operation on GEGL's command line, over a Radiance and several OpenEXR files.
set -euo pipefail
modules=$1 scene=$2 compare=$3
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cd "$scratch"
"$scene" make --scene room.hdr --width 120
gegl room.hdr -o room.exr
gegl room.hdr -o wide.exr -- gegl:convert-space space-name=Rec2020
# A picture with an alpha of its own: black shows nothing.
gegl room.hdr -o clear.exr -- gegl:color-to-alpha color=black

export GEGL_PATH=$modules XDG_CONFIG_HOME=$scratch
for picture in room.hdr room.exr wide.exr clear.exr; do
  gegl "$picture" -o result.gegl -- selvane:tone-map
  "$compare" own "$picture" result.gegl
  gegl "$picture" -o result.gegl -- selvane:tone-map preset=soft exposure=0.5
  "$compare" own "$picture" result.gegl soft 0.5
  ! "$compare" own "$picture" result.gegl natural 0.5
done

# What the user reads about a value that makes no sense.
gegl room.hdr -o result.gegl -- selvane:tone-map given-points=true white-point=0 2>&1 |
  grep 'white_point must lie above black_point'

gegl --info selvane:tone-map >info.txt
grep -q 'title *Selvane Tone Map' info.txt
grep -q 'Colors/Tone Mapping' info.txt
