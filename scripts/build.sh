#!/usr/bin/env bash
# Configures and builds the project into a build folder (default: build).
# Usage: scripts/build.sh [BUILD_DIR] [extra cmake arguments...]
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
dir=${1:-"$root/build"}
shift || true
jobs=${ORRERY_JOBS:-2}
cmake -S "$root" -B "$dir" -DCMAKE_BUILD_TYPE=RelWithDebInfo "$@" >/dev/null
cmake --build "$dir" -j"$jobs"
