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
# Debian's emscripten finds its node modules (acorn) here; optimised links fail without it.
export NODE_PATH=/usr/share/nodejs
# emscripten's toolchain file, with plain node as the emulator that runs the tests (emcmake would
# add a flag that newer node refuses).
toolchain="$(dirname "$(readlink -f "$(command -v emcc)")")/cmake/Modules/Platform/Emscripten.cmake"
cmake -S "$root" -B "$out" -DCMAKE_TOOLCHAIN_FILE="$toolchain" -DCMAKE_CROSSCOMPILING_EMULATOR="$(command -v node)" \
  -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX="$out/install" -DORRERY_WEB_SOURCES="$out/sources" >/dev/null
cmake --build "$out" -j "${ORRERY_JOBS:-2}"
[ "${ORRERY_WEB_TESTS:-1}" = 0 ] || ctest --test-dir "$out" --output-on-failure -j "${ORRERY_JOBS:-2}"
