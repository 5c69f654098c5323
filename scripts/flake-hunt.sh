#!/usr/bin/env bash
# Runs the whole suite again and again on a loaded machine, to find tests
# that fail only sometimes (docs/reliability.md, "How the tests wait").
#
#   scripts/flake-hunt.sh [RUNS] [BUILD_DIR]
#
# RUNS (default 10) times `ctest -j2` over every test in BUILD_DIR (default
# build/, which scripts/build.sh makes; build-asan/ for the sanitizer build),
# with one CPU-bound process beside it. Each run's output is kept in
# BUILD_DIR/flake-hunt/run-N.log, failures with their output; the last line
# is "flake hunt: P of R runs passed". Not part of scripts/test.sh: ten runs
# take over an hour on two cores.
set -uo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
runs=${1:-10}
dir=${2:-$root/build}
[ -f "$dir/CTestTestfile.cmake" ] || { echo "flake hunt: no test build in $dir" >&2; exit 2; }
mkdir -p "$dir/flake-hunt"

sh -c 'while :; do :; done' &
hog=$!
trap 'kill $hog 2>/dev/null' EXIT

passed=0
for run in $(seq 1 "$runs"); do
  log="$dir/flake-hunt/run-$run.log"
  start=$SECONDS
  if (cd "$dir" && ctest -j2 --output-on-failure --timeout 900) >"$log" 2>&1; then
    passed=$((passed + 1))
  fi
  echo "run $run: $(grep -E 'tests passed' "$log") in $((SECONDS - start)) s"
  grep -E '\((Failed|Timeout|SEGFAULT|Subprocess aborted)\)' "$log" | sed 's/^/    /'
done
echo "flake hunt: $passed of $runs runs passed"
[ "$passed" -eq "$runs" ]
