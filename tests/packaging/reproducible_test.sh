#!/bin/sh
# Builds the library again, from a copy of its sources in another folder and at another
# time, and compares it with the one that is there, byte by byte.
#
# reproducible_test.sh SOURCE LIBRARY CMAKE_OPTION...
set -eu
source=$1 library=$2
shift 2
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
copy=$scratch/copy/of/the/sources
mkdir -p "$copy"
cp -R "$source/CMakeLists.txt" "$source/cmake" "$source/include" "$source/src" \
  "$source/recorder" "$copy"
mkdir -p "$copy/models"

cmake -S "$copy" -B "$scratch/build" -DBUILD_TESTING=OFF -DWGR_BUILD_TOOLS=OFF "$@" \
  >"$scratch/log" 2>&1 &&
  cmake --build "$scratch/build" -j 2 --target WearableInteraction >>"$scratch/log" 2>&1 || {
  cat "$scratch/log" >&2
  exit 1
}
cmp "$library" "$scratch/build/libWearableInteraction.so"
