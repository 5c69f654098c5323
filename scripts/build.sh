#!/usr/bin/env bash
# Configures and builds Skeda.
#   build.sh             -> build/       (RelWithDebInfo)
#   build.sh --sanitize  -> build-asan/  (AddressSanitizer + UndefinedBehaviorSanitizer)
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)

dir="$root/build"
flags=()
if [ "${1:-}" = "--sanitize" ]; then
  dir="$root/build-asan"
  # Benchmarks measure the build that ships; nothing runs them here.
  flags+=(-DSKEDA_SANITIZE=ON -DSKEDA_BUILD_BENCH=OFF)
fi

generator=()
[ -f "$dir/CMakeCache.txt" ] || generator=(-G Ninja)
cmake -S "$root" -B "$dir" "${generator[@]}" -DCMAKE_BUILD_TYPE=RelWithDebInfo "${flags[@]}" >/dev/null
cmake --build "$dir" --parallel "$(nproc)"
