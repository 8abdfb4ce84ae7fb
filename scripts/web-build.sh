#!/usr/bin/env bash
# Builds the browser build with emscripten into build-web/: the web page (index.html,
# orrery.js, orrery.wasm, orrery.data), orrery-sim for node, the units' tests; then runs the
# tests under node and the page's tests in headless Chromium (ORRERY_WEB_TESTS=0 skips them).
# Installs what it needs from Debian (emscripten, binaryen, chromium) and npm, and fetches the
# sources of the C and C++ libraries it compiles itself (scripts/web-sources.sh).
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
out=${ORRERY_WEB_BUILD_DIR:-"$root/build-web"}
bash "$root/scripts/setup.sh" emscripten binaryen googletest chromium
bash "$root/scripts/web-sources.sh" "$out/sources"
# The page's copy of the models, with textures in web-suited formats.
bash "$root/scripts/web-assets.sh" "$out/assets"
# The native orrery-sim, which the node build is compared with: from the native build folder,
# configured as scripts/build.sh configures it (nothing is rebuilt when the suite built it).
native_sim=()
if [ "${ORRERY_WEB_TESTS:-1}" != 0 ]; then
  cmake -S "$root" -B "$root/build" -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
  cmake --build "$root/build" --target orrery-sim -j "${ORRERY_JOBS:-2}"
  native_sim=(-DORRERY_NATIVE_SIM="$root/build/orrery-sim")
fi
# Debian's emscripten finds its node modules (acorn) here; optimised links fail without it.
export NODE_PATH=/usr/share/nodejs
# emscripten's toolchain file, with plain node as the emulator that runs the tests (emcmake would
# add a flag that newer node refuses).
toolchain="$(dirname "$(readlink -f "$(command -v emcc)")")/cmake/Modules/Platform/Emscripten.cmake"
cmake -S "$root" -B "$out" -DCMAKE_TOOLCHAIN_FILE="$toolchain" -DCMAKE_CROSSCOMPILING_EMULATOR="$(command -v node)" \
  -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX="$out/install" -DORRERY_WEB_SOURCES="$out/sources" \
  -DORRERY_WEB_ASSETS="$out/assets" "${native_sim[@]}" >/dev/null
cmake --build "$out" -j "${ORRERY_JOBS:-2}"
[ "${ORRERY_WEB_TESTS:-1}" = 0 ] || ctest --test-dir "$out" --output-on-failure -j "${ORRERY_JOBS:-2}"
