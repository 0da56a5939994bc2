#!/bin/sh
# Whether the recorder exports the interface's functions and nothing else, and under the
# library's name its variable too. symbols_test.sh RECORDED RECORDER PROXY
set -eu

# exported LIBRARY: kind and name of all.
exported() {
  readelf --dyn-syms --wide "$1" |
    awk '$7 ~ /^[0-9]+$/ && ($5 == "GLOBAL" || $5 == "WEAK") { print $4, $8 }' | LC_ALL=C sort
}

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
awk '$1 == "FUNC" { print $1, $3 }' "$1" | LC_ALL=C sort >"$scratch/functions"
awk '$1 == "FUNC" || $3 == "WearableVersion" { print $1, $3 }' "$1" |
  LC_ALL=C sort >"$scratch/all"
exported "$2" | diff -u "$scratch/functions" -
exported "$3" | diff -u "$scratch/all" -
