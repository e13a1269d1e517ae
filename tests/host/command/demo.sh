#!/usr/bin/env bash
# demo.sh SOURCE: runs scripts/demo of the source folder, and checks which files it gives to the command. Stand-ins replace all programs
# that install, build or fetch.
set -euo pipefail
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
mkdir -p "$scratch/bin" "$scratch/tree/build/demo/bin"
cp -r "$1/scripts" "$scratch/tree/scripts"
export log=$scratch/log package=$scratch/package.tar

# stand_in PATH: makes a program from standard input.
stand_in() { { echo '#!/usr/bin/env bash' && cat; } >"$1" && chmod +x "$1"; }
stand_in "$scratch/bin/cmake" <<<':'
stand_in "$scratch/bin/dpkg-query" <<<'echo ok installed'
stand_in "$scratch/bin/apt-get" <<'END'
case "$*" in *download*) [ -f "$package" ] && touch blender-data_0_all.deb ;; *) false ;; esac
END
stand_in "$scratch/bin/sudo" <<<'false'
stand_in "$scratch/bin/dpkg-deb" <<<'cat "$package"'
stand_in "$scratch/tree/build/demo/bin/selvane" <<'END'
echo "selvane $2" >>"$log"
while [ "$1" != -o ]; do shift; done
touch "$2"
END
stand_in "$scratch/tree/build/demo/bin/selvane-scene" <<<'echo scene >>"$log"'
export PATH=$scratch/bin:$PATH

photographs=$scratch/pictures/photographs
names=(courtyard.exr interior.exr forest.exr city.exr night.exr studio.exr sunrise.exr sunset.exr)

# photographs FOLDER: a file of bytes of its own for each name.
photographs() {
  mkdir -p "$1"
  for name in "${names[@]}"; do echo "bytes of $name" >"$1/$name"; done
}

# run: runs the demo with an empty log. Afterwards $words holds its output and $log its calls.
run() {
  : >"$log"
  words=$("$scratch/tree/scripts/demo" "$scratch/pictures" 2>&1)
}

fail() {
  echo "$1"$'\n'"$words"$'\n'"$(cat "$log")"
  exit 1
}

made_the_scene() {
  grep -q '^scene$' "$log" && grep -q 'selvane .*/scene.hdr$' "$log" && ! grep -q '\.exr$' "$log"
}

developed_the_photographs() {
  [ "$(grep -c "selvane $photographs/.*\.exr$" "$log")" = 6 ] && ! grep -q scene "$log"
}

run
made_the_scene && grep -q 'No photographs could be fetched' <<<"$words" || fail "without a package"

# The package holds other bytes than the list.
inside=usr/share/blender/datafiles/studiolights/world
photographs "$scratch/root/$inside"
tar -C "$scratch/root" -cf "$package" "./$inside"
run
made_the_scene && grep -q 'not those that this script knows' <<<"$words" || fail "unknown bytes in the package"

# An earlier run fetched the files.
rm "$package"
run
made_the_scene && grep -q 'not those that this script knows' <<<"$words" || fail "unknown bytes of an earlier run"

# The list holds these bytes. All files must match it.
(cd "$scratch/root/$inside" && sha256sum "${names[@]}") >"$scratch/tree/scripts/photographs.sha256"
run
developed_the_photographs || fail "known bytes of an earlier run"
for name in "${names[@]}"; do
  photographs "$photographs"
  echo changed >"$photographs/$name"
  run
  made_the_scene || fail "one photograph changed: $name"
done
rm -r "$photographs"
tar -C "$scratch/root" -cf "$package" "./$inside"
run
developed_the_photographs || fail "known bytes in the package"
