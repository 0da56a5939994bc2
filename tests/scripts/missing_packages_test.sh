#!/bin/bash
# What configuring says where libraries are not installed.
set -euo pipefail
root=$1
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

fail() {
  echo "FAILED: $*" >&2
  cat "$folder/log" >&2
  exit 1
}

# configure NAME OPTION...: into a folder of its own; what is said goes to the log.
configure() {
  env -u CMAKE_GENERATOR cmake -S "$root" -B "$folder/$1" "${@:2}" >"$folder/log" 2>&1
}

hide=-DCMAKE_DISABLE_FIND_PACKAGE
! configure all "${hide}_CLI11=ON" "${hide}_nlohmann_json=ON" "${hide}_ZLIB=ON" \
    "${hide}_fmt=ON" "${hide}_libmd=ON" "${hide}_utf8cpp=ON" ||
  fail "configured without the libraries that the tool is built with"
for word in "CLI11: apt-get install libcli11-dev, or -DWGR_BUILD_TOOLS=OFF" \
    "nlohmann_json: apt-get install nlohmann-json3-dev" "ZLIB: apt-get install zlib1g-dev" \
    "fmt: apt-get install libfmt-dev" "libmd: apt-get install libmd-dev" \
    "utf8cpp: apt-get install libutfcpp-dev" \
    "-DBUILD_TESTING=OFF"; do
  grep -qF -e "$word" "$folder/log" || fail "not said: $word"
done
[ "$(grep -c "CMake Error" "$folder/log")" = 1 ] || fail "more than one error"

configure library "${hide}_CLI11=ON" "${hide}_GTest=ON" -DWGR_BUILD_TOOLS=OFF \
  -DBUILD_TESTING=OFF || fail "the library alone needs neither CLI11 nor GoogleTest"

if [ ! -e /usr/src/googletest/CMakeLists.txt ]; then
  ! configure tests "${hide}_GTest=ON" || fail "configured without GoogleTest"
  grep -qF "GTest: apt-get install libgtest-dev libgmock-dev" "$folder/log" ||
    fail "GoogleTest's packages are not named"
fi

echo "all as it should be"
