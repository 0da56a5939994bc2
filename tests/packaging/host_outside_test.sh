#!/bin/sh
# Builds a C host outside of the tree against the installed library, by CMake and by
# pkg-config, and runs it.
#
# host_outside_test.sh SOURCE BUILD LIBDIR TOOLCHAIN COMPILER FLAGS RUNNER...
# TOOLCHAIN may be empty; RUNNER runs a program with the models at their place.
set -eu
source=$1 build=$2 libdir=$3 toolchain=$4 compiler=$5 flags=$6
shift 6
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

cmake --install "$build" --prefix "$scratch/first" --component library >/dev/null
cmake --install "$build" --prefix "$scratch/first" --component development >/dev/null
# Nothing installed may know where it was installed first.
mv "$scratch/first" "$scratch/stage"
! grep -rlF -e "$scratch/first" -e "$source" -e "$build" "$scratch/stage" || {
  echo "the files above name a folder of the build" >&2
  exit 1
}
cp -R "$source/tests/packaging/host" "$scratch/host"

# expect_host HOW RUNNER... PROGRAM: the host runs and says the library's version.
expect_host() {
  how=$1
  shift
  said=$("$@" | tail -n 1) || true
  [ "$said" = "host 0.1" ] || {
    echo "the host built by $how said \"$said\", not \"host 0.1\"" >&2
    exit 1
  }
}

cmake -S "$scratch/host" -B "$scratch/by-cmake" -DCMAKE_PREFIX_PATH="$scratch/stage" \
  ${toolchain:+-DCMAKE_TOOLCHAIN_FILE="$toolchain"} -DCMAKE_C_COMPILER="$compiler" \
  >"$scratch/log" 2>&1 && cmake --build "$scratch/by-cmake" >>"$scratch/log" 2>&1 || {
  cat "$scratch/log" >&2
  exit 1
}
expect_host CMake "$@" "$scratch/by-cmake/host"

PKG_CONFIG_LIBDIR=$scratch/stage/$libdir/pkgconfig
export PKG_CONFIG_LIBDIR
pkg-config --exact-version=0.1 WearableInteraction
# shellcheck disable=SC2046,SC2086  # lists of options
"$compiler" -std=c11 $flags $(pkg-config --cflags WearablePreflight) \
  "$scratch/host/host.c" $(pkg-config --libs WearablePreflight) \
  -Wl,-rpath,"$scratch/stage/$libdir" -o "$scratch/by-pkg-config"
expect_host pkg-config "$@" "$scratch/by-pkg-config"
