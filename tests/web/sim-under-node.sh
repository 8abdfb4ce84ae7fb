#!/usr/bin/env bash
# orrery-sim built for node prints what the native one prints: the narrated demo, the demo's
# dumps and call logs, --help, and the messages and statuses of bad input.
# Usage: tests/web/sim-under-node.sh NODE_SIM_JS NATIVE_SIM
set -uo pipefail
node_sim=$1 native=$2
root=$(cd "$(dirname "$0")/../.." && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
printf 'touch 195,420\npinch began 195,420 1\npinch changed 195,420 1.5\npinch ended 195,420 1.5\nframe 600\ndump\ncalls\n' >"$work/gestures.scenario"
printf 'touch 1e999,x\n' >"$work/bad.scenario"
failed=0
check() {
  local name=$1
  shift
  (cd "$work" && node "$node_sim" "$@" >node.out 2>&1; echo "status $?" >>node.out)
  (cd "$work" && "$native" "$@" >native.out 2>&1; echo "status $?" >>native.out)
  if ! cmp -s "$work/node.out" "$work/native.out"; then
    echo "differs: $name"
    diff "$work/native.out" "$work/node.out" | head -5
    failed=1
  fi
}
check "the narrated demo"
check "the demo's dumps" "$root/sim/demo.scenario"
check "gestures, frames, dump and calls" gestures.scenario
check "a line that cannot be read" bad.scenario
check "--help" --help
check "an unknown option" --bogus

# The environment names the assets, here none: a fatal stop, which ends the native program with
# SIGABRT and the node one with status 1 after two lines of emscripten's own. The same output
# otherwise, and both fail.
(cd "$work" && ORRERY_ASSET_PARENT=/nonexistent node "$node_sim" >node.out 2>&1; echo "$?" >node.status)
(cd "$work" && ORRERY_ASSET_PARENT=/nonexistent "$native" >native.out 2>&1; echo "$?" >native.status) 2>/dev/null
grep -v -e '^Aborted()$' -e '^exiting due to exception: RuntimeError: Aborted()' "$work/node.out" >"$work/node.kept"
if ! cmp -s "$work/node.kept" "$work/native.out" || [ "$(cat "$work/node.status")" = 0 ] ||
   [ "$(cat "$work/native.status")" = 0 ]; then
  echo "differs: a fatal stop on assets named by the environment"
  diff "$work/native.out" "$work/node.kept" | head -5
  failed=1
fi
exit $failed
