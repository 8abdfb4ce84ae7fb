#!/usr/bin/env bash
# Installs every Debian package the project needs (build, tests, simulator, asset tools, benchmarks).
# Safe to run again: it does nothing when all packages are present.
# Extra package names as arguments are installed the same way (scripts/device-build.sh uses it).
set -euo pipefail

packages=(
  build-essential cmake pkg-config git
  libpugixml-dev libgtest-dev libgmock-dev libbenchmark-dev nlohmann-json3-dev
  libassimp-dev libstb-dev libfreetype-dev fonts-dejavu-core
  libepoxy-dev libegl-dev libegl-mesa0 libgl1-mesa-dri libsdl2-dev libimgui-dev
  libglu1-mesa-dev libfontconfig-dev libssl-dev assimp-utils
  "$@"
)

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0

if [ "$(id -u)" -eq 0 ]; then
  sudo=()
elif command -v sudo >/dev/null 2>&1; then
  sudo=(sudo)
else
  echo "setup: missing packages (${missing[*]}) and neither root nor sudo is available" >&2
  exit 1
fi

echo "setup: installing ${missing[*]}" >&2
"${sudo[@]}" apt-get update
DEBIAN_FRONTEND=noninteractive "${sudo[@]}" apt-get install -y --no-install-recommends "${missing[@]}"
