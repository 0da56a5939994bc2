#!/bin/bash
# The manual pages have every subcommand and option that --help lists, man(1) has nothing
# against them, and bash completes by the file that is made beside them.
#
# manual_test.sh BUILD
set -u
build=$1
wgr=$build/wgr
manual=$build/manual
failed=0

fail() {
  echo "$*" >&2
  failed=1
}

# page NAME: its text, as it is read.
page() {
  gzip -dc "$manual/man1/$1.1.gz" | MANWIDTH=100 LC_ALL=C.UTF-8 man -l - 2>/dev/null | col -b
}

# check_page PAGE WORD...: the page has all that `wgr WORD... --help` lists.
check_page() {
  local text name
  text=$(page "$1" | tr -d '\n' | sed 's/‐ *//g')
  [ -n "$text" ] || fail "there is no page $1"
  while read -r name; do
    [[ $text == *"$name"* ]] || fail "$1 has no $name"
  done < <("$wgr" "${@:2}" --help | sed -nE 's/^  (-.,)?(--[a-z-]+).*/\2/p')
}

# Exits with 77 where man cannot be asked, as in an image without it.
command -v man col >/dev/null || {
  echo "skipped: man is missing: apt-get install man-db bsdextrautils"
  exit 77
}

subcommands=$("$wgr" --help | sed -nE '/^Subcommands:/,/^$/s/^  ([a-z]+) .*/\1/p')
[ "$(wc -w <<<"$subcommands")" -ge 12 ] || fail "--help lists few subcommands: $subcommands"
check_page wgr
for name in $subcommands; do
  check_page "wgr-$name" "$name"
  page wgr | grep -q "wgr-$name(1)" || fail "wgr.1 does not lead to wgr-$name"
  for inner in $("$wgr" "$name" --help | sed -nE '/^Subcommands:/,/^$/s/^  ([a-z]+) .*/\1/p')
  do
    check_page "wgr-$name" "$name" "$inner"
  done
done
page wgr-replay | grep -q '^EXIT STATUS' || fail "wgr-replay.1 has no exit status"
# An example can be copied: its hyphens are hyphens, its quotes straight.
page wgr-replay | grep -qF "wgr replay --bias 0.4,-0.2,0.1 --json walk.csv | jq 'select(" ||
  fail "an example of wgr-replay.1 is not what a shell takes"

# The pages have the day of their version, as the packages' changelog does.
day=$(date -u -d "$(sed -n 's/^ -- .*>  //p' "$build/changelog")" +%F)
for file in "$manual"/man1/*.1.gz; do
  gzip -dc "$file" | grep -q "^\.TH [a-z-]* 1 \"$day\" " || fail "$file: not dated $day"
  warnings=$(gzip -dc "$file" |
    LC_ALL=C.UTF-8 MANROFFSEQ='' MANWIDTH=80 man --warnings -E UTF-8 -l -Tutf8 -Z - 2>&1 >/dev/null)
  [ -z "$warnings" ] || fail "$file: $warnings"
done

# completes EXPECTED WORD...: the last word is being typed.
completes() {
  COMP_WORDS=("${@:2}")
  COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
  _wgr
  [ "${COMPREPLY[*]}" = "$1" ] || fail "${*:2}: bash offers '${COMPREPLY[*]}', not '$1'"
}
# shellcheck disable=SC1091  # made by the build
. "$manual/wgr.bash"
completes explain wgr expl
completes --sample-rate wgr replay --sam
completes '0 1' wgr replay --wearer ''
completes '1' wgr replay --wearer = 1
completes 'cut csv' wgr capture c
completes --from wgr capture cut --fr
completes '' wgr capture cut walk
completes '' wgr replay --model m
completes 'subject session' wgr eval set --leave-out s

grep -q "'--wearer\[.*\]:0|1:(0 1)'" "$manual/_wgr" || fail "zsh does not get the wrists"
exit $failed
