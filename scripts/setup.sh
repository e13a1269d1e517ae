# Sourced by the other scripts: installs Debian packages when it may, and otherwise says which are missing.

SELVANE_BUILD_PACKAGES=(g++ cmake ninja-build pkg-config libcli11-dev libvips-dev libopenexr-dev zlib1g-dev libtomlplusplus-dev nlohmann-json3-dev
  libexiv2-dev libheif-dev libavif-dev libjxl-dev liblcms2-dev libtiff-dev libseccomp-dev)
SELVANE_TEST_PACKAGES=(libgtest-dev libgmock-dev libpng-dev clang binutils doxygen valgrind libfltk1.3-dev man-db xauth xvfb zsh fish bsdextrautils
  libimage-exiftool-perl python3-jsonschema)
SELVANE_DESKTOP_PACKAGES=(parallel slurm-wlm munge chromium chromium-driver python3-selenium) # of scripts/test --desktop

# The Python package and its tests.
SELVANE_TEST_PACKAGES+=(python3-numpy python3-dask python3-opencv python3-imageio libfreeimage3 python3-tqdm python3-pytest python3-pip
  python3-venv python3-setuptools python3-wheel mypy)
SELVANE_DESKTOP_PACKAGES+=(python3-distributed)

# The operation for GEGL and the plug-in for GIMP, with their tests.
SELVANE_GEGL_PACKAGES=(libgegl-dev gegl libgimp2.0-dev)
SELVANE_TEST_PACKAGES+=("${SELVANE_GEGL_PACKAGES[@]}")
SELVANE_DESKTOP_PACKAGES+=(gimp xauth xdotool xvfb)

# selvane_need PACKAGE...: makes sure that the packages are installed.
selvane_need() {
  local missing=() package
  for package in "$@"; do
    dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep 'ok installed' >/dev/null || missing+=("$package")
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
