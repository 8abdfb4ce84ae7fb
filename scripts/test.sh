#!/usr/bin/env bash
# Sets everything up, builds, and runs every test.
# With --sanitize, builds into build-sanitize with AddressSanitizer and UndefinedBehaviorSanitizer.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
bash "$root/scripts/setup.sh"
if [ "${1:-}" = "--sanitize" ]; then
  dir="$root/build-sanitize"
  bash "$root/scripts/build.sh" "$dir" -DORRERY_SANITIZE=ON -DORRERY_BENCHMARKS=OFF
else
  dir="$root/build"
  bash "$root/scripts/build.sh" "$dir"
fi
cd "$dir"
ctest --output-on-failure -j2
