#!/usr/bin/env bash
# A whole drawing session, measured as the user's machine pays for it: the
# launcher on its own virtual 1920x1080 X server with a compositor, a fixed
# sequence of strokes sent as real pointer input with xdotool (40 points
# each, 6 to 10 pixels apart, gently curving), and the launcher's CPU time
# per stroke for batches of the session: strokes 0-50, 50-200, 200-500 and
# 500-1000 on the board. A board whose cost does not grow with what is on
# it gives the same figure for every batch.
#
#   session-bench.sh [STROKES]   (default 1000; the batch ends that lie
#                                 beyond STROKES are left out)
#
# A shared machine's speed drifts during a session by more than the board's
# own cost changes, so the session is run SKEDA_SESSION_RUNS times (default
# 3), each on a fresh X server with a fresh launcher; after every run's
# figures come the median of each batch over the runs ("session_median")
# and the highest of those medians against the lowest.
#
# Runs inside scripts/bench.sh's build; SKEDA_LAUNCHER names another
# launcher to measure.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
strokes=${1:-1000}
launcher=${SKEDA_LAUNCHER:-$root/build/bin/skeda}
runs=${SKEDA_SESSION_RUNS:-3}
log=$(mktemp)
trap 'rm -f "$log"' EXIT

one_session() {
"$root/scripts/with-xvfb.sh" --size 1920x1080 --compositor -- bash -c '
  set -euo pipefail
  launcher=$1
  strokes=$2
  work=$(mktemp -d)
  "$launcher" >/dev/null 2>&1 &
  pid=$!
  trap "kill $pid 2>/dev/null || true; wait $pid 2>/dev/null || true; rm -rf $work" EXIT
  xdotool search --sync --onlyvisible --class skeda >/dev/null

  # The launcher'"'"'s CPU time (user and system) in clock ticks.
  cpu() { awk "{ print \$14 + \$15 }" "/proc/$pid/stat"; }
  # Waits until the launcher has done everything it was sent: its CPU time
  # stops moving for a while.
  idle() {
    local before after
    before=$(cpu)
    while :; do
      sleep 0.3
      after=$(cpu)
      [ "$after" = "$before" ] && break
      before=$after
    done
  }
  hz=$(getconf CLK_TCK)
  idle

  # The strokes: the same for every run (awk'"'"'s generator with a fixed
  # seed), each one xdotool call that presses, moves and releases.
  awk -v n="$strokes" "BEGIN {
    srand(2026);
    for (s = 0; s < n; ++s) {
      x = 120 + rand() * 1680; y = 60 + rand() * 760;
      h = rand() * 6.2832; turn = rand() * 0.3 - 0.15;
      line = sprintf(\"mousemove %d %d mousedown 1\", x, y);
      for (i = 1; i < 40; ++i) {
        h += turn + rand() * 0.2 - 0.1;
        step = 6 + rand() * 4;
        nx = x + cos(h) * step; ny = y + sin(h) * step;
        if (nx < 100 || nx > 1820 || ny < 40 || ny > 840) { h += 3.1416; nx = x + cos(h) * step; ny = y + sin(h) * step; }
        x = nx; y = ny;
        line = line sprintf(\" sleep 0.002 mousemove %d %d\", x, y);
      }
      print line \" mouseup 1\";
    }
  }" > "$work/strokes"

  drawn=0
  previous=0
  results=""
  for end in 50 200 500 1000; do
    [ "$end" -le "$strokes" ] || break
    start=$(cpu)
    while [ "$drawn" -lt "$end" ]; do
      drawn=$((drawn + 1))
      xdotool $(sed -n "${drawn}p" "$work/strokes")
    done
    idle
    used=$(( $(cpu) - start ))
    per=$(awk -v t="$used" -v hz="$hz" -v n=$((end - previous)) "BEGIN { printf \"%.1f\", t * 1000 / hz / n }")
    echo "session strokes=${previous}-${end} cpu_ms_per_stroke=$per"
    results="$results $per"
    previous=$end
  done
  echo "$results" | awk "{ lo = \$1; hi = \$1; for (i = 2; i <= NF; ++i) { if (\$i < lo) lo = \$i; if (\$i > hi) hi = \$i } if (lo > 0) printf \"session growth_highest_to_lowest=%.2fx\n\", hi / lo }"
' session "$launcher" "$strokes"
}

for ((run = 1; run <= runs; ++run)); do
  echo "session run=$run of $runs"
  one_session | tee -a "$log"
done

# The median of each batch over the runs, batches in the order of the session.
medians=""
for batch in $(grep -o "strokes=[0-9]*-[0-9]*" "$log" | sort -u -t= -k2,2n); do
  median=$(grep "^session $batch " "$log" | sed "s/.*cpu_ms_per_stroke=//" | sort -g |
    awk '{ v[NR] = $1 } END { if (NR % 2) print v[(NR + 1) / 2]; else printf "%.2f\n", (v[NR / 2] + v[NR / 2 + 1]) / 2 }')
  echo "session_median $batch cpu_ms_per_stroke=$median runs=$runs"
  medians="$medians $median"
done
echo "$medians" | awk '{ lo = $1; hi = $1; for (i = 2; i <= NF; ++i) { if ($i < lo) lo = $i; if ($i > hi) hi = $i } if (NF > 0 && lo > 0) printf "session_median growth_highest_to_lowest=%.2fx\n", hi / lo }'
