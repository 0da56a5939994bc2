#!/bin/sh
# Makes the Debian packages and checks what is in them, by hand and with lintian.
#
# packages_test.sh BUILD LIBDIR ARCHITECTURE; ends with 77, skipped, without the tools.
set -eu
build=$1 libdir=$2 architecture=$3
for tool in dpkg-shlibdeps dpkg-deb lintian; do
  command -v $tool >/dev/null || {
    echo "skipped: $tool is missing: apt-get install dpkg-dev lintian"
    exit 77
  }
done
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

(cd "$build" && cpack -G DEB -B "$scratch") >"$scratch/log" 2>&1 || {
  cat "$scratch/log" >&2
  exit 1
}

# expect PACKAGE ARCHITECTURE FILE...: the package is there and holds the files.
expect() {
  package=$1
  file=$scratch/$1_0.1_$2.deb
  shift 2
  dpkg-deb --contents "$file" >"$scratch/contents"
  for path in "$@"; do
    grep -q " \./$path$" "$scratch/contents" || {
      echo "$package has no $path:" >&2
      cat "$scratch/contents" >&2
      exit 1
    }
  done
}

expect libwearableinteraction "$architecture" "usr/$libdir/libWearableInteraction.so"
dpkg-deb --field "$scratch/libwearableinteraction_0.1_$architecture.deb" Depends |
  grep -q 'libc6 (>=.*libstdc++6 (>=' || {
  echo "the library's package does not depend on the C and C++ libraries" >&2
  exit 1
}
expect libwearableinteraction-dev "$architecture" usr/include/WgrInterface.h \
  usr/include/WgrTypes.h "usr/$libdir/pkgconfig/WearableInteraction.pc" \
  "usr/$libdir/cmake/WearableInteraction/WearableInteractionConfig.cmake"
models=usr/share/GestureModel
expect wearableinteraction-models all \
  $models/olvo_model_5_ow/hgr_olvo.xml $models/olvo_model_5_fb/hgr_olvo.xml \
  $models/olvo_model_5_mix/hgr_olvo.xml $models/olvo_model_5r_ow/hgr_olvo.xml \
  $models/olvo_model_5r_fb/hgr_olvo.xml $models/olvo_model_5r_mix/hgr_olvo.xml
expect wearableinteraction-recorder "$architecture" "usr/$libdir/libwgr-recorder.so" \
  "usr/$libdir/wgr-recorder/libWearableInteraction.so" \
  usr/share/doc/wearableinteraction-recorder/examples/gesture_service.c \
  usr/share/doc/wearableinteraction-recorder/examples/gesture_test.sh \
  usr/share/doc/wearableinteraction-recorder/examples/gesture-service.service \
  usr/share/doc/wearableinteraction-recorder/examples/wgr-recorder.conf
expect wearableinteraction-tools "$architecture" usr/bin/wgr
# Built for another processor, the tool comes without manual pages, which lintian warns of.
native=1
[ "$architecture" = "$(dpkg --print-architecture)" ] || native=
[ -z "$native" ] || expect wearableinteraction-tools "$architecture" \
  usr/share/bash-completion/completions/wgr usr/share/zsh/vendor-completions/_wgr \
  usr/share/man/man1/wgr.1.gz usr/share/man/man1/wgr-replay.1.gz \
  usr/share/man/man1/wgr-selfcheck.1.gz
guides=usr/share/doc/wearableinteraction-doc
expect wearableinteraction-doc all $guides/README.md $guides/docs/host-guide.md \
  $guides/docs/images/report.png
page=$(sed -n 's/^WGR_STUDIO_PAGE:FILEPATH=//p' "$build/CMakeCache.txt")
[ ! -e "$page" ] || expect wearableinteraction-doc all $guides/docs/wgr-studio.html
expect wearableinteraction-all all usr/share/doc/wearableinteraction-all/copyright

# The metapackage asks for all others, every synopsis differs, and each model is a conffile.
for file in "$scratch"/*.deb; do
  package=$(dpkg-deb --field "$file" Package)
  dpkg-deb --field "$file" Description | head -n 1 >>"$scratch/synopses"
  [ "$package" = wearableinteraction-all ] ||
    dpkg-deb --field "$scratch/wearableinteraction-all_0.1_all.deb" Depends |
    grep -qE "(^|, )$package(,|$)" || {
    echo "wearableinteraction-all does not depend on $package" >&2
    exit 1
  }
done
[ -z "$(sort "$scratch/synopses" | uniq -d)" ] || {
  echo "two packages have the same synopsis:" >&2
  sort "$scratch/synopses" >&2
  exit 1
}
dpkg-deb --ctrl-tarfile "$scratch/wearableinteraction-models_0.1_all.deb" |
  tar -xO ./conffiles | grep -c "^/$models/.*\.xml$" | grep -qx 6 || {
  echo "the models are no conffiles" >&2
  exit 1
}

lintian --allow-root --fail-on "error${native:+,warning}" "$scratch"/*.deb
