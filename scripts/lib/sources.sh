# shellcheck shell=bash
# For what compiles libraries itself, as for WebAssembly; sourced from the project's root.

# unpack_sources PACKAGE...: unpacks Debian's source packages into build/sources, each in a
# folder of its own name without the version.
unpack_sources() {
  local root=$PWD/build/sources archive
  [ "$(cat "$root/complete" 2>/dev/null)" != "$*" ] || return 0
  rm -rf "$root"
  mkdir -p "$root/apt/lists/partial" "$root/apt/cache/archives/partial"
  # Lists of its own: neither root's rights nor the machine's configuration are touched.
  printf '%s\n' 'Types: deb-src' 'URIs: http://deb.debian.org/debian' 'Suites: bookworm' \
    'Components: main' 'Signed-By: /usr/share/keyrings/debian-archive-keyring.gpg' \
    >"$root/apt/debian.sources"
  local apt=(apt-get -q -o "Dir::Etc::sourcelist=$root/apt/debian.sources"
             -o Dir::Etc::sourceparts=- -o "Dir::State::lists=$root/apt/lists"
             -o "Dir::Cache=$root/apt/cache" -o Acquire::Languages=none)
  say "Unpacking the sources of $*"
  (cd "$root/apt" && "${apt[@]}" update && "${apt[@]}" --download-only source "$@") \
    >"$root/log" 2>&1 || {
    cat "$root/log" >&2
    echo "$0: cannot download the sources of $*; see above" >&2
    return 1
  }
  for archive in "$root"/apt/*.orig.tar.*z*; do
    [[ $archive != *.asc ]] || continue
    local folder=$root/${archive##*/}
    folder=${folder%%_*}
    mkdir -p "$folder" && tar -xf "$archive" -C "$folder" --strip-components 1 || return 1
  done
  rm -rf "$root/apt"
  echo "$*" >"$root/complete"
}
