#!/usr/bin/env bash
# Sets everything up and runs the simulator: with no arguments, the demo session.
# Arguments are passed to orrery-sim (see `scripts/run.sh --help`).
# `scripts/run.sh --web [PORT]` builds the web page instead (scripts/web-build.sh, without its
# tests) and serves it on http://localhost:PORT (default 8000) until Ctrl+C.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
if [ "${1:-}" = "--web" ]; then
  ORRERY_WEB_TESTS=0 bash "$root/scripts/web-build.sh" >&2
  exec node "$root/web/serve.mjs" "${ORRERY_WEB_BUILD_DIR:-$root/build-web}/site" "${2:-8000}"
fi
bash "$root/scripts/setup.sh"
bash "$root/scripts/build.sh" "$root/build" >&2
exec "$root/build/orrery-sim" "$@"
