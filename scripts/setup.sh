# Sourced by the other scripts: installs Debian packages when it may, and otherwise says which are missing.

SELVANE_BUILD_PACKAGES=(g++ cmake ninja-build pkg-config libcli11-dev libvips-dev libopenexr-dev zlib1g-dev libtomlplusplus-dev
  liblcms2-dev libheif-dev libjxl-dev libtiff-dev libseccomp-dev)
SELVANE_TEST_PACKAGES=(libgtest-dev libgmock-dev libpng-dev clang binutils doxygen valgrind libfltk1.3-dev man-db xauth xvfb zsh fish bsdextrautils)
SELVANE_DESKTOP_PACKAGES=() # of scripts/test --desktop

# selvane_need PACKAGE...: makes sure that the packages are installed.
selvane_need() {
  local missing=() package
  for package in "$@"; do
    dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'ok installed' || missing+=("$package")
  done
  [ ${#missing[@]} -gt 0 ] || return 0
  local as=()
  if [ "$(id -u)" -ne 0 ]; then
    if command -v sudo >/dev/null && sudo -n true 2>/dev/null; then
      as=(sudo)
    else
      echo "These Debian packages are missing, and this user may not install them:" >&2
      echo "    apt-get install --no-install-recommends ${missing[*]}" >&2
      return 1
    fi
  fi
  echo "Installing: ${missing[*]}"
  "${as[@]}" apt-get update -qq
  "${as[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
}

# selvane_jobs: how many compilers to run at once.
selvane_jobs() { nproc 2>/dev/null || echo 2; }
