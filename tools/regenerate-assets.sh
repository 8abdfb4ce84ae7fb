#!/usr/bin/env bash
# Builds the asset generator, installs the Debian data packages that hold the planetary maps
# (about 250 MB to download; only this script needs them), and rewrites every model and texture
# in art.scnassets.
# Usage: tools/regenerate-assets.sh   (from anywhere; the build goes to build-assetgen/)
set -euo pipefail

repo="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
build="$repo/build-assetgen"

bash "$repo/scripts/setup.sh"
cmake -S "$repo" -B "$build" -DORRERY_BENCHMARKS=OFF >/dev/null
cmake --build "$build" --target orrery-assetgen -j2
generator="$build/orrery-assetgen"

mapfile -t packages < <("$generator" --map-packages)
bash "$repo/scripts/setup.sh" "${packages[@]}"
if ! "$generator" --check-maps >/dev/null; then
  "$generator" --check-maps >&2 || true
  echo "regenerate-assets: the installed maps differ from the recorded ones (see above)" >&2
  exit 1
fi

out="$(mktemp -d)"
trap 'rm -rf "$out"' EXIT
"$generator" "$out"

# Replace the generated files, keeping the hand-written credits; nothing stale survives.
cp "$repo/art.scnassets/CREDITS.md" "$out/art.scnassets/CREDITS.md"
rm -rf "$repo/art.scnassets"
mv "$out/art.scnassets" "$repo/art.scnassets"
echo "regenerated $(find "$repo/art.scnassets" -name '*.dae' | wc -l) models in $repo/art.scnassets"
