#!/usr/bin/env bash
# Installs what is missing, builds everything and runs every test twice: in
# the normal build and in the sanitizer build (AddressSanitizer with leak
# checks, UndefinedBehaviorSanitizer); then fuzzes the geometry for a short
# while (SKEDA_FUZZ_SECONDS per target, default 15). Exits non-zero on any
# failure.
set -uo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)

"$root/scripts/install-deps.sh" || exit 1

passed=0
failed=0
status=0
run_suite() {
  local name=$1 dir=$2
  shift 2
  echo "== $name build"
  local start=$SECONDS
  "$root/scripts/build.sh" "$@" || { echo "== $name build failed"; status=1; return; }
  echo "== $name build took $((SECONDS - start)) s"
  echo "== $name tests"
  start=$SECONDS
  local log
  log=$(mktemp)
  (cd "$dir" && ctest --output-on-failure -j2 --timeout 600) | tee "$log"
  [ "${PIPESTATUS[0]}" -eq 0 ] || status=1
  local total bad
  total=$(sed -n 's/.*tests failed out of \([0-9]*\).*/\1/p' "$log" | tail -n1)
  bad=$(sed -n 's/.* \([0-9]*\) tests failed out of.*/\1/p' "$log" | tail -n1)
  [ -n "$total" ] || { total=0; bad=0; status=1; }
  passed=$((passed + total - bad))
  failed=$((failed + bad))
  rm -f "$log"
  echo "== $name tests took $((SECONDS - start)) s"
}

run_suite normal "$root/build"
run_suite sanitizer "$root/build-asan" --sanitize

# A short fuzz run of each geometry target (clang, libFuzzer, sanitizers);
# every target counts as one test. scripts/fuzz.sh documents the long run.
fuzz_seconds=${SKEDA_FUZZ_SECONDS:-15}
echo "== fuzzing, $fuzz_seconds s per target"
start=$SECONDS
log=$(mktemp)
"$root/scripts/fuzz.sh" "$fuzz_seconds" | tee "$log"
[ "${PIPESTATUS[0]}" -eq 0 ] || status=1
fuzz_passed=$(sed -n 's/^fuzz: \([0-9]*\) passed, \([0-9]*\) failed$/\1/p' "$log" | tail -n1)
fuzz_failed=$(sed -n 's/^fuzz: \([0-9]*\) passed, \([0-9]*\) failed$/\2/p' "$log" | tail -n1)
[ -n "$fuzz_passed" ] || { fuzz_passed=0; fuzz_failed=1; status=1; }
passed=$((passed + fuzz_passed))
failed=$((failed + fuzz_failed))
rm -f "$log"
echo "== fuzzing took $((SECONDS - start)) s"

echo "tests: $passed passed, $failed failed"
exit $status
