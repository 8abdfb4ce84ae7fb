#!/usr/bin/env bash
# Remakes every picture from the current code and assets: the golden images the tests compare
# with (tests/render/golden, from tests/render/scenes) and the pictures in the README and the
# user's guide (docs/images, from docs/pictures). Run it after the models, textures or the
# renderer change, look at the pictures, and commit them.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
bash "$root/scripts/setup.sh"
bash "$root/scripts/build.sh" "$root/build" >&2
export LIBGL_ALWAYS_SOFTWARE=1
(cd "$root/build" && ORRERY_UPDATE_GOLDENS=1 ./orrery_tests --gtest_filter='Scenes/GoldenImage.*' >/dev/null)
mkdir -p "$root/docs/images"
for scenario in "$root"/docs/pictures/*.scenario; do
  (cd "$root/docs/images" && "$root/build/orrery-sim" "$scenario")
done
echo "pictures remade: tests/render/golden, docs/images" >&2
