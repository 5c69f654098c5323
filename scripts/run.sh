#!/usr/bin/env bash
# Installs what is missing, builds, and opens the board.
# With no display (a headless machine, CI) the board is shown on a virtual
# 1920x1080 X server instead, and a screenshot of it is saved.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)

"$root/scripts/install-deps.sh"
"$root/scripts/build.sh"
launcher="$root/build/bin/skeda"

if [ -n "${DISPLAY:-}" ] && xdpyinfo >/dev/null 2>&1; then
  exec "$launcher" "$@"
fi

echo "run.sh: no display; showing the board on a virtual 1920x1080 X server"
shots="$root/screenshots"
mkdir -p "$shots"
shot="$shots/board-$(date +%Y%m%d-%H%M%S).png"
# A compositor, so the transparent board shows the desktop through it as it
# would on a real session.
"$root/scripts/with-xvfb.sh" --size 1920x1080 --compositor -- \
  bash -c '
    "$1" >"$2.log" 2>&1 &
    pid=$!
    xdotool search --sync --onlyvisible --class skeda >/dev/null
    sleep 1
    import -window root "$2"
    kill $pid; wait $pid 2>/dev/null || true
  ' run "$launcher" "$shot"
echo "$shot"
