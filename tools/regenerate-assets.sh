#!/usr/bin/env bash
# Builds the asset generator and rewrites every model and texture in art.scnassets.
# Usage: tools/regenerate-assets.sh   (from anywhere; the build goes to build-assetgen/)
set -euo pipefail

repo="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
build="$repo/build-assetgen"

cmake -S "$repo" -B "$build" -DORRERY_BENCHMARKS=OFF >/dev/null
cmake --build "$build" --target orrery-assetgen -j2

out="$(mktemp -d)"
trap 'rm -rf "$out"' EXIT
"$build/orrery-assetgen" "$out"

# Replace the whole folder so that nothing stale survives.
rm -rf "$repo/art.scnassets"
mv "$out/art.scnassets" "$repo/art.scnassets"
echo "regenerated $(find "$repo/art.scnassets" -name '*.dae' | wc -l) models in $repo/art.scnassets"
