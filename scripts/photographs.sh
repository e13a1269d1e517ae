# Sourced by the other scripts: fetches real HDR photographs, eight panoramas (CC0) that the Debian package blender-data carries
# (3.4.1). Nothing of the package is installed. scripts/photographs.sha256 lists them.

say() { printf '\n%s\n' "$*"; }

# Runs a command as the machine's owner; fails where that cannot be had without asking.
as_owner() {
  if [ "$(id -u)" = 0 ]; then "$@"; elif command -v sudo >/dev/null; then sudo -n "$@"; else return 1; fi
}

# Apt would hand the download to a user of its own, who may not write here; as the owner that is not needed.
download_package() {
  if [ "$(id -u)" = 0 ]; then apt-get -o APT::Sandbox::User=root download -qq "$1"; else apt-get download -qq "$1"; fi
}

photograph_names() { sed 's/^[^ ]* *//' scripts/photographs.sha256; }

# all_there FOLDER: whether something stands under the name of each photograph.
all_there() {
  local name
  for name in $(photograph_names); do [ -s "$1/$name" ] || return 1; done
}

# all_known FOLDER: whether the photographs are those that scripts/photographs.sha256 lists, to the last bit.
all_known() { (cd "$1" && sha256sum --check --strict --status) <scripts/photographs.sha256; }

fetch_photographs() {
  say "Fetching photographs (package blender-data, 31 MB)"
  local inside
  inside=$(photograph_names | sed 's#^#./usr/share/blender/datafiles/studiolights/world/#')
  (
    cd "$1"
    download_package blender-data || { as_owner apt-get update -qq && download_package blender-data; } || exit 1
    # shellcheck disable=SC2086 # one word a photograph
    dpkg-deb --fsys-tarfile blender-data_*_all.deb | tar -x --strip-components=7 $inside
    rm -f blender-data_*_all.deb
  )
}

# have_photographs FOLDER: fetches the photographs unless an earlier run did, and says why where they cannot be used. Bytes that
# nobody knows are not handed to the command, wherever they come from.
have_photographs() {
  mkdir -p "$1"
  all_there "$1" || fetch_photographs "$1" || true
  if ! all_there "$1"; then
    say "No photographs could be fetched."
    return 1
  elif ! all_known "$1"; then
    say "The photographs in $1 are not those that this script knows (SHA-256), so they are not used."
    echo "To fetch them anew, delete that folder."
    return 1
  fi
}
