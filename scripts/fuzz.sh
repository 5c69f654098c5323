#!/usr/bin/env bash
# Fuzzes the board's geometry with libFuzzer (docs/reliability.md).
#
#   scripts/fuzz.sh [SECONDS] [TARGET...]
#
# Builds the fuzz targets with clang in build-fuzz/ (AddressSanitizer,
# UndefinedBehaviorSanitizer without recovery, libFuzzer's coverage in the
# targets and in libSkeda), then runs each target for SECONDS (default 600)
# from its stored corpus (tests/fuzz/corpus/TARGET/). What a run adds is kept
# in build-fuzz/corpus/TARGET/, so the next run goes on from there.
#
# Targets (default: all): earsepath polygon cutters cutstroke pentail
# commonuitool. A run fails on a crash, a sanitizer report, a broken property
# (the target aborts), an input that runs longer than 10 s (an endless loop)
# or a run that needs more than 2 GB; the input is written to
# build-fuzz/artifacts/ and can be replayed with
#   build-fuzz/bin/fuzz_TARGET build-fuzz/artifacts/TARGET-crash-...
#
# The last line is "fuzz: P passed, F failed" (one per target); the exit
# status is non-zero when a target failed or the build did.
#
# The full run, about an hour on two cores:   scripts/fuzz.sh 600
# The short run in scripts/test.sh:           scripts/fuzz.sh 15
set -uo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
dir="$root/build-fuzz"

seconds=${1:-600}
[ $# -gt 0 ] && shift
all=(earsepath polygon cutters cutstroke pentail commonuitool)
targets=("$@")
[ ${#targets[@]} -gt 0 ] || targets=("${all[@]}")

summary() {
  echo "fuzz: $1 passed, $2 failed"
}

if ! command -v clang++ >/dev/null 2>&1; then
  echo "fuzz: clang++ is missing (scripts/install-deps.sh installs it)"
  summary 0 "${#targets[@]}"
  exit 1
fi

echo "== fuzz build (clang, libFuzzer, ASan, UBSan) in $dir"
generator=()
[ -f "$dir/CMakeCache.txt" ] || generator=(-G Ninja)
if ! cmake -S "$root" -B "$dir" "${generator[@]}" -DCMAKE_BUILD_TYPE=RelWithDebInfo \
       -DCMAKE_CXX_COMPILER=clang++ -DSKEDA_SANITIZE=ON -DSKEDA_FUZZ=ON \
       -DSKEDA_BUILD_BENCH=OFF >/dev/null ||
   ! cmake --build "$dir" --target skeda_fuzzers --parallel "$(nproc)"; then
  echo "fuzz: the build failed"
  summary 0 "${#targets[@]}"
  exit 1
fi

mkdir -p "$dir/artifacts"
export ASAN_OPTIONS="detect_leaks=1:abort_on_error=0"
export UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1"

passed=0
failed=0
for t in "${targets[@]}"; do
  binary="$dir/bin/fuzz_$t"
  if [ ! -x "$binary" ]; then
    echo "fuzz $t: no such target"
    failed=$((failed + 1))
    continue
  fi
  mkdir -p "$dir/corpus/$t"
  log="$dir/artifacts/$t.log"
  "$binary" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -print_final_stats=1 \
    -artifact_prefix="$dir/artifacts/$t-" "$dir/corpus/$t" "$root/tests/fuzz/corpus/$t" \
    >"$log" 2>&1
  status=$?
  runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -n1)
  speed=$(sed -n 's/^stat::average_exec_per_sec: *//p' "$log" | tail -n1)
  cov=$(grep -o 'cov: [0-9]*' "$log" | tail -n1)
  corpus=$(find "$dir/corpus/$t" -type f | wc -l)
  if [ $status -eq 0 ]; then
    echo "fuzz $t: passed, ${runs:-?} runs in $seconds s (${speed:-?}/s), ${cov:-cov: ?}, $corpus new inputs kept"
    passed=$((passed + 1))
  else
    echo "fuzz $t: FAILED (exit $status), log $log:"
    grep -E 'ERROR|SUMMARY|fuzz check|runtime error|Test unit written' "$log" | head -n 12
    failed=$((failed + 1))
  fi
done

summary "$passed" "$failed"
[ "$failed" -eq 0 ]
