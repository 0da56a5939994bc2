# shellcheck shell=bash
# For scripts that build for another processor; sourced from the project's root.

# unpack_foreign TRIPLET ARCHITECTURE PACKAGE...: unpacks Debian packages of another
# architecture into build/packages-TRIPLET, where the toolchain files look. Installing
# them beside the machine's own would need both architectures at the very same versions.
unpack_foreign() {
  local root=$PWD/build/packages-$1 architecture=$2 package
  shift 2
  [ "$(cat "$root/complete" 2>/dev/null)" != "$*" ] || return 0
  rm -rf "$root"
  mkdir -p "$root/apt/lists/partial" "$root/apt/cache/archives/partial"
  # Lists of its own: neither root's rights nor the machine's configuration are touched.
  local apt=(apt-get -q -o "APT::Architectures::=$architecture"
             -o "Dir::State::lists=$root/apt/lists" -o "Dir::Cache=$root/apt/cache"
             -o Acquire::Languages=none)
  say "Unpacking for $architecture: $*"
  # A mirror may lack an index that is not needed; the download shows it.
  (cd "$root/apt" && { "${apt[@]}" update || true; } &&
     "${apt[@]}" download "${@/%/:$architecture}") >"$root/log" 2>&1 || {
    cat "$root/log" >&2
    echo "$0: cannot download $* for $architecture; see above" >&2
    return 1
  }
  for package in "$root"/apt/*.deb; do
    dpkg-deb --extract "$package" "$root" || return 1
  done
  rm -rf "$root/apt"
  echo "$*" >"$root/complete"
}
