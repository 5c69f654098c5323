#!/usr/bin/env bash
# Runs a command against a private Xvfb, so that tests see a real X server.
#
#   with-xvfb.sh [--size WxH] [--compositor] -- command [args...]
#
# --size        screen size (default 1920x1080), depth 24
# --compositor  run xcompmgr so that translucent windows show what lies below
set -euo pipefail

size=1920x1080
compositor=0
while [ $# -gt 0 ]; do
  case "$1" in
    --size) size=$2; shift 2 ;;
    --compositor) compositor=1; shift ;;
    --) shift; break ;;
    *) echo "with-xvfb.sh: unknown option $1" >&2; exit 2 ;;
  esac
done
[ $# -gt 0 ] || { echo "with-xvfb.sh: no command given" >&2; exit 2; }

workdir=$(mktemp -d)
pids=()
cleanup() {
  for ((i=${#pids[@]}-1; i>=0; i--)); do kill "${pids[$i]}" 2>/dev/null || true; done
  for ((i=${#pids[@]}-1; i>=0; i--)); do wait "${pids[$i]}" 2>/dev/null || true; done
  rm -rf "$workdir"
}
trap cleanup EXIT

# Xvfb picks a free display itself and writes its number to the given fd.
Xvfb -displayfd 3 -screen 0 "${size}x24" -nolisten tcp -noreset \
  3>"$workdir/display" >"$workdir/xvfb.log" 2>&1 &
pids+=($!)
for _ in $(seq 1 200); do
  [ -s "$workdir/display" ] && break
  kill -0 "${pids[0]}" 2>/dev/null || { cat "$workdir/xvfb.log" >&2; exit 1; }
  sleep 0.05
done
[ -s "$workdir/display" ] || { echo "with-xvfb.sh: Xvfb did not start" >&2; cat "$workdir/xvfb.log" >&2; exit 1; }
export DISPLAY=":$(tr -d '[:space:]' <"$workdir/display")"
unset WAYLAND_DISPLAY QT_QPA_PLATFORM

if [ "$compositor" = 1 ]; then
  xcompmgr >"$workdir/xcompmgr.log" 2>&1 &
  pids+=($!)
  sleep 0.3
fi

set +e
"$@"
status=$?
set -e
exit $status
