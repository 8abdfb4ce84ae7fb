#!/usr/bin/env bash
# Runs the simulator's model loader over every COLLADA file (.dae) under the given folders and
# prints, per file, its outcome (loads / loads with warnings / refused, with the triangles it read)
# beside Assimp's (reads meshes / reads no meshes / fails, with its face count), then a summary.
# Usage: scripts/compare-collada.sh [--sim PATH] FOLDER...
# Needs a built orrery-sim (default build/orrery-sim) and Assimp's command-line tool
# (Debian package assimp-utils, installed by scripts/setup.sh).
set -uo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
sim="$root/build/orrery-sim"
if [ "${1:-}" = "--sim" ]; then sim=$2; shift 2; fi
[ $# -gt 0 ] || { echo "usage: $0 [--sim PATH] FOLDER..." >&2; exit 2; }
[ -x "$sim" ] || { echo "$0: no simulator at $sim (build it with scripts/build.sh)" >&2; exit 2; }
command -v assimp >/dev/null || { echo "$0: Assimp's command-line tool is missing (apt-get install assimp-utils)" >&2; exit 2; }

declare -A table
files=0
printf '%-70s %-20s %8s  %-16s %8s\n' FILE ORRERY-SIM TRIANGLES ASSIMP FACES
while IFS= read -r -d '' file; do
  files=$((files + 1))
  out=$(timeout 60 "$sim" --check-model "$file" 2>/dev/null)
  status=$?
  ours=$(printf '%s\n' "$out" | head -n 1 | sed 's/.*: //')
  [ $status -le 2 ] || ours="crashed($status)"
  triangles=$(printf '%s\n' "$out" | sed -n 's/^ *mesh: \([0-9]*\) triangles.*/\1/p' | awk '{s += $1} END {print s + 0}')
  info=$(cd "$(dirname "$file")" && timeout 60 assimp info "$(basename "$file")" 2>&1 | tr -d '\r')
  meshes=$(printf '%s\n' "$info" | sed -n 's/^Meshes: *\([0-9]*\)$/\1/p' | head -n 1)
  faces=$(printf '%s\n' "$info" | sed -n 's/^Faces: *\([0-9]*\)$/\1/p' | head -n 1)
  # Without geometry, Assimp's tool shows a stand-in mesh of the node skeleton instead.
  if printf '%s\n' "$info" | grep -q "'SkeletonMaterial'"; then meshes=0; fi
  if [ -z "$meshes" ]; then theirs="fails"; faces="-"
  elif [ "$meshes" -gt 0 ]; then theirs="reads meshes"
  else theirs="reads no meshes"; fi
  [ "$ours" = "loads" ] && [ "$triangles" -eq 0 ] && ours="loads (empty)"
  [ "$ours" = "loads with warnings" ] && [ "$triangles" -eq 0 ] && ours="loads with warnings (empty)"
  name=$file; [ ${#name} -le 70 ] || name="...${file: -67}"
  printf '%-70s %-20s %8s  %-16s %8s\n' "$name" "$ours" "$triangles" "$theirs" "$faces"
  key="$ours|$theirs"
  table[$key]=$(( ${table[$key]:-0} + 1 ))
done < <(find "$@" -type f -iname '*.dae' -print0 | sort -z)

echo
echo "Summary over $files files (orrery-sim outcome | Assimp outcome: count):"
for key in "${!table[@]}"; do printf '  %-45s %5d\n' "$key" "${table[$key]}"; done | sort
