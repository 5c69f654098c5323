#!/usr/bin/env bash
# Builds and runs the benchmarks on a virtual 1920x1080 X server and prints
# their figures. Arguments choose benchmarks (pen, eraser); none runs all.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)

"$root/scripts/install-deps.sh"
"$root/scripts/build.sh"
"$root/scripts/with-xvfb.sh" --size 1920x1080 -- "$root/build/bin/skeda-bench" "$@"
