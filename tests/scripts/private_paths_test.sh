#!/bin/sh
# Checks scripts/private-paths: what the program sees, and what it leaves behind.
#
# usage: private_paths_test.sh LAUNCHER
# Words of lines are joined by echo, and programs are given texts to expand themselves.
# shellcheck disable=SC2005,SC2010,SC2016,SC2046
set -u
launcher=$1
models=/usr/share/GestureModel
home=/home/app
scratch=$(mktemp -d) || exit 1
failures=0
trap 'rm -rf "$scratch"' EXIT
chmod 755 "$scratch"

# expect WHAT WANTED GOT
expect() {
  if [ "$2" = "$3" ]; then
    echo "ok: $1"
  else
    printf 'FAILED: %s\n  wanted: %s\n  got:    %s\n' "$1" "$2" "$3"
    failures=$((failures + 1))
  fi
}

# A listing of the machine's own two places, absent ones included, to compare with.
machine() { ls -laR --time-style=full-iso "$models" "$home" 2>&1; }
# Everything else below the two parents.
others() { ls -1 /home /usr/share | grep -vx -e app -e GestureModel; }
# Runs a command with the keyboard's interrupt as a terminal has it; a shell's background
# commands ignore it otherwise.
interruptible() { exec env --default-signal=INT --default-signal=QUIT "$@"; }
# await FILE: until the program has made it.
await() {
  tries=0
  until [ -e "$1" ] || [ $tries = 100 ]; do sleep 0.05; tries=$((tries + 1)); done
}

before=$(machine)

# check_run HOW LAUNCH...: what every program that LAUNCH starts can rely on.
check_run() {
  how=$1
  shift
  expect "$how: both places are there and empty" "0" \
    "$("$@" sh -c "ls -A $models $home | grep -vc -e : -e '^\$'")"
  expect "$how: both places can be written" "a b" \
    "$("$@" sh -c "echo a >$models/a && echo b >$home/b && echo \$(cat $models/a $home/b)")"
  expect "$how: a second run finds nothing of the first" "" "$("$@" ls $models $home |
    grep -v -e : -e '^$')"
  expect "$how: the program can find out" "1" "$("$@" sh -c 'echo $WGR_PRIVATE_PATHS')"
  expect "$how: the program keeps its user" "$(id -u):$(id -g)" \
    "$("$@" sh -c 'echo $(id -u):$(id -g)')"
  expect "$how: standard input reaches the program" "in" "$(echo in | "$@" cat)"
  expect "$how: the two outputs stay apart" "out" "$("$@" sh -c 'echo out; echo e >&2' 2>"$scratch/said")"
  expect "$how: arguments stay as they are" "<a b><><*><--home>" \
    "$("$@" printf '<%s>' 'a b' '' '*' --home)"
  "$@" sh -c 'exit 7'
  expect "$how: the exit status is the program's" 7 $?
  for signal in KILL:137 TERM:143; do
    ("$@" sh -c "kill -${signal%:*} \$\$") >"$scratch/out" 2>&1
    expect "$how: a program that SIG${signal%:*} ends" "${signal#*:}" $?
  done
  "$@" /nonexistent/program 2>"$scratch/said"
  expect "$how: a program that is not there" 127 $?
  expect "$how: and is named" yes "$(grep -q /nonexistent/program "$scratch/said" && echo yes)"
}

# check_interrupts HOW LAUNCH...: signals to the launcher's process reach the program.
check_interrupts() {
  how=$1
  shift
  for signal in INT:130 TERM:143 HUP:129; do
    rm -f "$scratch/started"
    (interruptible "$@" sh -c "echo >$scratch/started; exec sleep 30") 2>"$scratch/said" &
    await "$scratch/started"
    kill -"${signal%:*}" $!
    wait $! 2>/dev/null
    expect "$how: SIG${signal%:*} ends the program" "${signal#*:}" $?
  done
  rm -f "$scratch/started"
  (interruptible "$@" sh -c "trap 'exit 9' TERM; echo >$scratch/started
    while :; do sleep 0.05; done") 2>"$scratch/said" &
  await "$scratch/started"
  kill -TERM $!
  wait $! 2>/dev/null
  expect "$how: a program that handles a signal ends as it likes" 9 $?
}

# check_options HOW LAUNCH...
check_options() {
  how=$1
  shift
  rm -rf "$scratch/models" "$scratch/kept dir"
  mkdir "$scratch/models" "$scratch/kept dir"
  echo model >"$scratch/models/m.xml"
  expect "$how: --models shows a directory" model \
    "$("$@" --models "$scratch/models" cat $models/m.xml)"
  "$@" --home "$scratch/kept dir" sh -c "echo line >>$home/log" 2>"$scratch/said"
  "$@" --home "$scratch/kept dir" sh -c "echo line >>$home/log" 2>"$scratch/said"
  expect "$how: what is written to --home stays" "line line" \
    "$(echo $(cat "$scratch/kept dir/log"))"
  expect "$how: both options, relative" "m.xml log" "$(cd "$scratch" &&
    "$@" --home 'kept dir' --models models sh -c "echo \$(ls $models) \$(ls $home)")"
  expect "$how: a run inside a run gets places of its own" "m.xml" \
    "$("$@" --home "$scratch/kept dir" "$launcher" --models "$scratch/models" \
      sh -c "echo \$(ls $models) \$(ls $home)")"
  expect "$how: and leaves the outer one's alone" "log" \
    "$("$@" --home "$scratch/kept dir" sh -c "'$launcher' touch $home/x; ls $home")"
  expect "$how: its models can be shown again" "m.xml" \
    "$("$@" --models "$scratch/models" "$launcher" --models $models ls $models)"
}

# check_bad_calls: answered with status 2 and a reason.
check_bad_calls() {
  for call in "" "--models" "--models /nonexistent true" "--home /etc/passwd true" \
              "--unknown true"; do
    # shellcheck disable=SC2086  # split on purpose
    "$launcher" $call >"$scratch/out" 2>"$scratch/said"
    expect "private-paths $call: status" 2 $?
    expect "private-paths $call: a reason" yes "$([ -s "$scratch/said" ] && echo yes)"
  done
  expect "--help goes to standard output" yes \
    "$("$launcher" --help | grep -q '^usage: private-paths' && echo yes)"
}

# The fallback: a failing unshare stands for a kernel that forbids namespaces.
check_fallback() {
  mkdir "$scratch/bin"
  printf '#!/bin/sh\nexit 1\n' >"$scratch/bin/unshare"
  chmod +x "$scratch/bin/unshare"
  PATH=$scratch/bin:$PATH
  if [ "$(id -u)" != 0 ]; then
    "$launcher" true 2>"$scratch/said"
    expect "no namespaces and no root: status" 2 $?
    expect "and a reason" yes "$(grep -q forbidden "$scratch/said" && echo yes)"
    return
  elif [ -e $models ] || [ -e $home ]; then
    "$launcher" true 2>"$scratch/said"
    expect "the fallback leaves what is there alone" 2 $?
    return
  fi
  # The launcher without its notice.
  quiet() {
    "$launcher" "$@" 2>"$scratch/err"
    quiet_status=$?
    tee -a "$scratch/notices" <"$scratch/err" | grep -v 'namespaces are forbidden' >&2
    return $quiet_status
  }
  check_run fallback quiet
  check_interrupts fallback "$launcher"
  check_options fallback quiet
  expect "the fallback announces itself" yes \
    "$(grep -q 'making the real' "$scratch/notices" && echo yes)"
  rm -f "$scratch/started"
  "$launcher" sh -c "echo >$home/mine; echo >$scratch/started; sleep 0.5" 2>"$scratch/said" &
  await "$scratch/started"
  expect "two at once take turns" "" "$(quiet ls $home)"
  wait
  expect "the fallback leaves nothing" "" "$(ls -d $models $home 2>"$scratch/said")"
  mkdir "$home" && echo mine >"$home/log"
  "$launcher" true 2>"$scratch/said"
  expect "the fallback refuses where a place exists" 2 $?
  expect "and names it" yes "$(grep -q "$home" "$scratch/said" && echo yes)"
  expect "and leaves it as it was" mine "$(cat "$home/log")"
  expect "and makes no other" "" "$(ls -d $models 2>"$scratch/said")"
  rm -r "$home"
}

if [ "${2-}" = --fallback ]; then
  check_fallback
  exit $((failures > 0))
fi

check_bad_calls

# In a namespace, where there can be one. A notice of the fallback says that there is none.
if "$launcher" true 2>&1 | grep -q .; then
  echo "skipped: no namespaces here; the fallback alone is checked"
else
  check_run namespace "$launcher"
  check_interrupts namespace "$launcher"
  check_options namespace "$launcher"
  expect "the rest of both parents stays" "$(others)" \
    "$("$launcher" sh -c 'ls -1 /home /usr/share' | grep -vx -e app -e GestureModel)"
  expect "files below them stay readable" "$(cksum /usr/share/common-licenses/GPL-3)" \
    "$("$launcher" cksum /usr/share/common-licenses/GPL-3)"
  "$launcher" --models "$scratch/models" touch "$models/x" 2>"$scratch/said"
  expect "--models cannot be written" 1 $?
  expect "nor can what it shows" "m.xml" "$(ls "$scratch/models")"
  expect "the program takes the launcher's process" "same" \
    "$("$launcher" sh -c 'echo $$ >'"$scratch"'/pid' & wait $!
       [ "$(cat "$scratch/pid")" = $! ] && echo same)"
  # While one program runs, another one and the machine see nothing of it.
  rm -f "$scratch/started"
  "$launcher" sh -c "echo >$home/mine; echo >$scratch/started; sleep 1" &
  await "$scratch/started"
  expect "programs at the same time have their own places" "" "$("$launcher" ls $home)"
  expect "the machine sees nothing meanwhile" "$before" "$(machine)"
  wait $!
fi

# Below /home, as in a newcomer's clone. Only root can make a place there for the test;
# it makes it in a private /home of its own, with names that are hard to carry over.
if [ "$(id -u)" = 0 ] && ! "$launcher" true 2>&1 | grep -q .; then
  cp "$launcher" "$scratch/private-paths"
  cat >"$scratch/below_home.sh" <<'END'
mount -n -t tmpfs tmpfs /home || exit 1
mkdir -p "/home/a user/clone" /home/back\\slash /home/.hidden '/home/#x' || exit 1
ln -s "a user" /home/link
echo text >"/home/one file"
cp "$1" "/home/a user/clone/private-paths"
cd /home/link/clone || exit 1
./private-paths sh -c 'pwd -P; ls -A /home; readlink /home/link; cat "/home/one file"
  echo new >made' || exit 1
cat made
ls -A /home | grep -c private-paths
cd /home/.hidden && "/home/a user/clone/private-paths" pwd -P
END
  expect "a program below /home keeps its directory and its neighbours" \
    "/home/a user/clone|#x|.hidden|a user|app|back\\slash|link|one file|a user|text|new|0|/home/.hidden" \
    "$("$launcher" sh "$scratch/below_home.sh" "$scratch/private-paths" 2>&1 | tr '\n' '|' | sed 's/|$//')"
  cat >"$scratch/present.sh" <<'END'
mount -n -t tmpfs tmpfs /home && mkdir /home/app && echo old >/home/app/log || exit 1
"$1" sh -c 'ls /home/app; echo new >/home/app/log'
"$1" --home /home/app cat /home/app/log
cat /home/app/log
END
  expect "places that the machine has are hidden, and stay as they are" "old old" \
    "$(echo $("$launcher" sh "$scratch/present.sh" "$launcher"))"
  cat >"$scratch/link.sh" <<'END'
mount -n -t tmpfs tmpfs /home && ln -s /nowhere /home/app || exit 1
"$1" sh -c 'echo new >/home/app/log; ls /home/app'
readlink /home/app
END
  expect "so is a link in a place's way" "log /nowhere" \
    "$(echo $("$launcher" sh "$scratch/link.sh" "$launcher"))"
fi

# Root checks the fallback below private parents where it can: real places that come and
# go would pull the private ones off other programs that run at this moment.
if [ "$(id -u)" = 0 ] && ! "$launcher" true 2>&1 | grep -q .; then
  "$launcher" sh -c 'unset WGR_PRIVATE_PATHS; for place in '"$models $home"'; do
      umount "$place" && { rmdir "$place" 2>/dev/null || :; } || exit 1
    done; exec "$@"' sh "$0" "$launcher" --fallback || failures=$((failures + 1))
else
  check_fallback
fi

# Once more as an ordinary user, whose way is a user namespace.
if [ "$(id -u)" = 0 ]; then
  mkdir "$scratch/user"
  cp "$0" "$launcher" "$scratch/user"
  chown 65534:65534 "$scratch/user"
  (cd "$scratch/user" && TMPDIR=$scratch/user setpriv --reuid 65534 --regid 65534 \
    --clear-groups sh "./${0##*/}" "$scratch/user/private-paths")
  expect "the same as an ordinary user" 0 $?
fi

expect "the machine's own places are as before" "$before" "$(machine)"
[ $failures = 0 ] && echo "all passed" || { echo "$failures failed"; exit 1; }
