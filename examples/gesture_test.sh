#!/bin/sh
# Tests what the sample service does when its wearer makes a gesture, without a wrist:
# the service runs on a sensor that lies still, and wgr inject plays gestures into it.
#
#   gesture_test.sh [SERVICE]
#
# Ends with 0 when the service reported each gesture as itself, and nothing before or
# behind it.
set -u
service=${1:-gesture-service}
folder=$(mktemp -d) || exit 2
mkfifo "$folder/sensors" || exit 2

(
  echo t,ax,ay,az,gx,gy,gz
  yes 0,0,0,9.81,0,0,0
) 2>"$folder/end" >"$folder/sensors" &
sensors=$!
LD_PRELOAD=${WGR_RECORDER-libwgr-recorder.so} WGR_RECORDER_INJECT=$folder \
  "$service" --paced "$folder/sensors" >"$folder/out" 2>>"$folder/reports" &
host=$!
trap 'kill $host $sensors; rm -rf "$folder"' EXIT

for _ in 1 2 3 4 5 6 7 8 9 10; do
  [ -S "$folder/wgr-inject-$host" ] && break
  sleep 0.2
done
failed=0
for gesture in ${GESTURES:-0 1 2 3 4}; do
  "${WGR:-wgr}" inject --socket "$folder/wgr-inject-$host" --gesture "$gesture" \
    >"$folder/injected" || failed=1
  reported=$(sed -n 's/.*: gesture \([0-9]\),.*/\1/p' "$folder/reports")
  : >"$folder/reports"
  if [ "$reported" = "$gesture" ]; then
    echo "gesture $gesture: reported"
  else
    echo "gesture $gesture: the service reported '$reported'" >&2
    failed=1
  fi
done
exit $failed
