# shellcheck shell=bash disable=SC2034  # what is set here, those who source it use
# What scripts/demo and scripts/test share; they source it from the project's root.

cores=$(nproc)
# The libraries that the tool is built with.
kToolLibraries="libcli11-dev nlohmann-json3-dev zlib1g-dev libfmt-dev libmd-dev libutfcpp-dev"
# What the Python package is built with.
kWheelPackages="pybind11-dev python3-pybind11 python3-dev python3-setuptools python3-wheel"
kWheelPackages+=" python3-pip python3-venv python3-numpy"
# What it uses where it is there, and is tested with, besides.
kPythonPackages="$kWheelPackages python3-pandas python3-matplotlib"
kPythonPackages+=" python3-sklearn python3-dask python3-distributed python3-zarr"
kPythonPackages+=" python3-pytest python3-nbclient python3-ipykernel"
kBuildPackages="g++ cmake ninja-build $kToolLibraries"

say() {
  printf '\n== %s\n' "$*"
}

# install_missing PACKAGE...: installs what is not there yet; quick and offline otherwise.
install_missing() {
  local package missing=()
  for package in "$@"; do
    dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q ' installed$' ||
      missing+=("$package")
  done
  [ ${#missing[@]} -gt 0 ] || return 0
  if ! command -v apt-get >/dev/null; then
    echo "$0: this is not a Debian system: install the like of ${missing[*]}" >&2
    return 1
  fi
  local as_root=(env DEBIAN_FRONTEND=noninteractive)
  if [ "$(id -u)" != 0 ]; then
    if ! command -v sudo >/dev/null; then
      echo "$0: as root, run: apt-get install ${missing[*]}" >&2
      return 1
    fi
    as_root=(sudo "${as_root[@]}")
  fi
  say "Installing with apt-get: ${missing[*]}"
  local log
  log=$(mktemp)
  if ! { "${as_root[@]}" apt-get -q update &&
         "${as_root[@]}" apt-get -q -y --no-install-recommends install "${missing[@]}"; } \
       >"$log" 2>&1 </dev/null; then
    cat "$log" >&2
    rm -f "$log"
    echo "$0: apt-get could not install ${missing[*]}; see above" >&2
    return 1
  fi
  rm -f "$log"
}

# configure_preset NAME [CMAKE_OPTION...]: configures build/NAME.
configure_preset() {
  local preset=$1
  shift
  # Ninja for a new folder; one that is there keeps its generator.
  local generator=()
  [ -e "build/$preset/CMakeCache.txt" ] || generator=(-G Ninja)
  cmake --preset "$preset" "${generator[@]}" "$@" --log-level=WARNING >/dev/null
}

# build_preset NAME [CMAKE_OPTION...]: configures and builds into build/NAME.
build_preset() {
  configure_preset "$@" && cmake --build "build/$1" -j "$cores"
}
