#!/usr/bin/env bash
# Builds and runs the benchmarks on a virtual 1920x1080 X server and prints
# their figures. Arguments choose benchmarks: pen, eraser, board and history
# (the skeda-bench executable; SKEDA_BENCH_BOARDS="0 100 1000 5000" chooses
# the boards of board, SKEDA_BENCH_HISTORY_STROKES the board of history), and
# session (a whole drawing session of the launcher with real pointer input,
# scripts/session-bench.sh). None runs all.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)

"$root/scripts/install-deps.sh"
"$root/scripts/build.sh"

benches=()
session=0
for arg in "$@"; do
  if [ "$arg" = session ]; then session=1; else benches+=("$arg"); fi
done
if [ $# -eq 0 ] || [ ${#benches[@]} -gt 0 ]; then
  "$root/scripts/with-xvfb.sh" --size 1920x1080 -- "$root/build/bin/skeda-bench" "${benches[@]}"
fi
if [ $# -eq 0 ] || [ "$session" = 1 ]; then
  "$root/scripts/session-bench.sh"
fi
