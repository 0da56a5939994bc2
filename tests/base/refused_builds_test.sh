#!/bin/sh
# Every source that computes refuses to be compiled with flags that change results, and
# says which flags mend it.
#
# refused_builds_test.sh SOURCE COMPILER [FLAG...]
set -eu
source=$1 compiler=$2
shift 2
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
echo 'int nothing;' >"$scratch/nothing.cpp"

# These compute nothing.
exempt='base/held_signals.cpp base/printing.cpp context/WgrLog.cpp classifier/line_reader.cpp'

# preprocess FILE FLAG...: what the compiler says goes to $scratch/said.
preprocess() {
  "$compiler" -std=gnu++17 -I"$source/include" -I"$source/src" -E "$@" >/dev/null \
    2>"$scratch/said"
}

# refused WRONG MENDING FLAG...: the flag WRONG is, where the compiler knows it.
refused() {
  wrong=$1 mending=$2
  shift 2
  preprocess "$scratch/nothing.cpp" "$@" "$wrong" || {
    echo "$compiler does not know $wrong"
    return 0
  }
  for file in "$source"/src/*/*.cpp; do
    case " $exempt " in *" ${file#"$source"/src/} "*) continue ;; esac
    ! preprocess "$file" "$@" "$wrong" || {
      echo "$file can be compiled with $wrong" >&2
      exit 1
    }
    grep -q -e "error.*: compile with.* $mending" "$scratch/said" || {
      echo "$file is refused with $wrong, but not with a word on $mending:" >&2
      cat "$scratch/said" >&2
      exit 1
    }
  done
  echo "refused: $wrong"
}

refused -mfpmath=387 -mfpmath=sse "$@"
refused -ffast-math -fno-fast-math "$@"
