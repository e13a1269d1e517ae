#!/usr/bin/env bash
# gimp.sh NAME BUILD SCENE COMPARE: a real GIMP with the operation and the plug-in in a person's own folders.
#
#   script   a script opens an OpenEXR file, calls the procedure and saves
#   cancel   Escape during the render leaves the picture
#   dialog   the dialogue under Xvfb: OK applies what was chosen, the latest values apply again, Cancel changes nothing
set -euo pipefail
me=$(realpath "$0")
name=$1 build=$2 scene=$3 compare=$4
if [ "$name" != script ] && [ -z "${SELVANE_ON_A_SCREEN:-}" ]; then
  SELVANE_ON_A_SCREEN=1 exec xvfb-run --auto-servernum --server-args="-screen 0 1400x1000x24" "$me" "$@"
fi
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
export HOME=$scratch XDG_CONFIG_HOME=$scratch/.config XDG_DATA_HOME=$scratch/.local/share XDG_CACHE_HOME=$scratch/.cache
cd "$scratch"
"$scene" make --scene room.hdr --width 120
gegl room.hdr -o room.exr

plugin=$XDG_CONFIG_HOME/GIMP/2.10/plug-ins/selvane-tone-map
modules=$XDG_DATA_HOME/gegl-0.4/plug-ins
mkdir -p "$plugin" "$modules"
cmake --install "$build" --component gegl --prefix "$scratch/prefix" >/dev/null
cp "$scratch/prefix/lib/gimp/2.0/plug-ins/selvane-tone-map/selvane-tone-map" "$plugin"
cp "$(find "$scratch/prefix" -name selvane-tone-map.so)" "$modules"

# What every script needs. GIMP runs each on its own.
lisp='(define (open-picture) (car (gimp-file-load RUN-NONINTERACTIVE "room.exr" "room.exr")))
(define (layer-of image) (car (gimp-image-get-active-drawable image)))
(define (save image path) (file-exr-save RUN-NONINTERACTIVE image (layer-of image) path path))
'
first=$lisp'(define image (open-picture)) (save image "before.exr") '

# run_gimp ARGUMENT...: under a screen of memory, without the sound of a session.
run_gimp() {
  timeout 300 gimp --no-splash --no-data --no-fonts --batch-interpreter plug-in-script-fu-eval "$@" >gimp.log 2>&1 ||
    { cat gimp.log && return 1; }
}

script() {
  run_gimp --no-interface --batch "$first"'
    (plug-in-selvane-tone-map RUN-NONINTERACTIVE image (layer-of image) "")
    (save image "natural.exr")
    (define second (open-picture))
    (plug-in-selvane-tone-map RUN-NONINTERACTIVE second (layer-of second) "preset=soft exposure=0.5")
    (save second "soft.exr")
    (define third (open-picture))
    (gimp-image-select-rectangle third CHANNEL-OP-REPLACE 0 0 60 80)
    (plug-in-selvane-tone-map RUN-NONINTERACTIVE third (layer-of third) "")
    (gimp-selection-none third)
    (gimp-image-crop third 60 80 60 0)
    (save third "unselected.exr")
    (define fourth (open-picture))
    (gimp-image-crop fourth 60 80 60 0)
    (save fourth "right-half.exr")
    (gimp-quit 1)'
  "$compare" srgb before.exr natural.exr
  "$compare" srgb before.exr soft.exr soft 0.5
  "$compare" same right-half.exr unselected.exr # outside of the selection nothing changes
  refuse exposre=1 'has no exposre property'
  refuse gegl:invert 'the settings name another operation'
}

# refuse SETTINGS WORDS: the procedure ends in an error with these words.
refuse() {
  run_gimp --no-interface --batch "$first (plug-in-selvane-tone-map RUN-NONINTERACTIVE image (layer-of image) \"$1\")" \
    --batch '(gimp-quit 1)'
  grep "Error.*$2" gimp.log
}

# press TITLE KEY...: waits for a window and presses keys in it.
press() {
  local window
  window=$(timeout 200 xdotool search --sync --onlyvisible --name "^$1$" | sed -n 1p)
  shift
  xdotool windowfocus --sync "$window" sleep "$1" key --delay 300 "${@:2}"
}

answer() { press 'Selvane Tone Map' 4 "$@"; } # behind its preview

# The second choice behind the first preset is taken by keys.
dialog() {
  answer Tab Down Down alt+o & local typist=$!
  run_gimp --batch "$first"'
    (plug-in-selvane-tone-map RUN-INTERACTIVE image (layer-of image) "")
    (save image "chosen.exr")
    (define second (open-picture))
    (plug-in-selvane-tone-map RUN-WITH-LAST-VALS second (layer-of second) "")
    (save second "again.exr")
    (gimp-quit 1)'
  wait "$typist"
  "$compare" srgb before.exr chosen.exr soft 0
  "$compare" srgb before.exr again.exr soft 0
  answer Escape & typist=$!
  run_gimp --batch "$first"'(plug-in-selvane-tone-map RUN-INTERACTIVE image (layer-of image) "")' \
    --batch "$lisp"'(save (vector-ref (cadr (gimp-image-list)) 0) "cancelled.exr") (gimp-quit 1)'
  wait "$typist"
  "$compare" same before.exr cancelled.exr
}

# A picture that takes long enough for Escape to come before its end.
cancel() {
  (answer alt+o && press 'Tone mapping' 0.1 Escape) & local typist=$!
  run_gimp --batch "$first"'
    (gimp-image-scale image 4500 3000)
    (define copy (car (gimp-image-duplicate image)))
    (gimp-image-crop copy 120 80 2000 1500)
    (save copy "before.exr")
    (gimp-image-delete copy)
    (plug-in-selvane-tone-map RUN-INTERACTIVE image (layer-of image) "")' \
    --batch "$lisp"'
    (define image (vector-ref (cadr (gimp-image-list)) 0))
    (gimp-image-crop image 120 80 2000 1500)
    (save image "cancelled.exr")
    (gimp-quit 1)'
  wait "$typist"
  "$compare" same before.exr cancelled.exr
}

"$name"
