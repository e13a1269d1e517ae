#!/usr/bin/env bash
# gimp.sh NAME BUILD SCENE COMPARE: a real GIMP with the operation and the plug-in in a person's own folders.
#
#   script   a script opens an OpenEXR file, calls the procedure and saves
#   dialog   the dialogue under Xvfb: OK applies, Cancel changes nothing
set -euo pipefail
me=$(realpath "$0")
name=$1 build=$2 scene=$3 compare=$4
if [ "$name" = dialog ] && [ -z "${SELVANE_ON_A_SCREEN:-}" ]; then
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

# answer KEY: waits for the dialogue and its preview, and presses a key in it.
answer() {
  local window
  window=$(timeout 120 xdotool search --sync --onlyvisible --name '^Selvane Tone Map$' | head -1)
  sleep 2
  xdotool windowfocus --sync "$window"
  xdotool key "$1"
}

dialog() {
  answer Return & local typist=$!
  run_gimp --batch "$first"'
    (plug-in-selvane-tone-map RUN-INTERACTIVE image (layer-of image) "")
    (save image "natural.exr")
    (gimp-quit 1)'
  wait "$typist"
  "$compare" srgb before.exr natural.exr
  answer Escape & typist=$!
  run_gimp --batch "$first"'(plug-in-selvane-tone-map RUN-INTERACTIVE image (layer-of image) "")' \
    --batch "$lisp"'(save (vector-ref (cadr (gimp-image-list)) 0) "cancelled.exr") (gimp-quit 1)'
  wait "$typist"
  "$compare" same before.exr cancelled.exr
}

"$name"
