#!/usr/bin/env bash
# Sets everything up and runs the simulator: with no arguments, the demo session.
# Arguments are passed to orrery-sim (see `scripts/run.sh --help`).
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
bash "$root/scripts/setup.sh"
bash "$root/scripts/build.sh" "$root/build" >&2
exec "$root/build/orrery-sim" "$@"
