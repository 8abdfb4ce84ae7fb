#!/usr/bin/env bash
# Writes the browser's copy of the assets to OUTDIR/art.scnassets: the models as they are, the
# opaque textures as JPEG and the star field's sky as its light (orrery-assetgen --web-copy;
# docs/assets.md). Builds the generator natively in build-assetgen/ first, as
# tools/regenerate-assets.sh does; a copy already in OUTDIR is replaced.
# Usage: scripts/web-assets.sh OUTDIR
set -euo pipefail
if [ $# -ne 1 ]; then
  echo "usage: scripts/web-assets.sh OUTDIR" >&2
  exit 2
fi
root=$(cd "$(dirname "$0")/.." && pwd)
build="$root/build-assetgen"
out=$(realpath -m "$1")
case "$out/" in
  "$root/" | "$root/art.scnassets/"*)
    echo "web-assets: OUTDIR must be outside the asset folder and not the repository itself" >&2
    exit 2
    ;;
esac
mkdir -p "$out"

bash "$root/scripts/setup.sh"
cmake -S "$root" -B "$build" -DORRERY_BENCHMARKS=OFF >/dev/null
cmake --build "$build" --target orrery-assetgen -j "${ORRERY_JOBS:-2}"

# Made beside the old copy and swapped in, so a failed run leaves the last good copy.
fresh=$(mktemp -d "$out/.web-assets.XXXXXX")
trap 'rm -rf "$fresh"' EXIT
"$build/orrery-assetgen" --web-copy "$root/art.scnassets" "$fresh"
rm -rf "$out/art.scnassets"
mv "$fresh/art.scnassets" "$out/art.scnassets"
echo "web-assets: wrote $out/art.scnassets"
