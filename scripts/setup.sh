#!/usr/bin/env bash
# Installs every Debian package the project needs (build, tests, simulator, asset tools, benchmarks),
# then the npm packages of package-lock.json (tools the tests run).
# Safe to run again: it does nothing when everything is present.
# Extra package names as arguments are installed the same way (scripts/device-build.sh uses it).
set -euo pipefail

packages=(
  build-essential cmake pkg-config git
  libpugixml-dev libgtest-dev libgmock-dev libbenchmark-dev nlohmann-json3-dev
  libassimp-dev libstb-dev libfreetype-dev fonts-dejavu-core
  libepoxy-dev libegl-dev libegl-mesa0 libgl1-mesa-dri libsdl2-dev libimgui-dev
  libglu1-mesa-dev libssl-dev assimp-utils libplist-dev nodejs
  xvfb xauth xdotool
  "$@"
)
root=$(cd "$(dirname "$0")/.." && pwd)

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
# Debian's nodejs comes without npm; a Node.js from elsewhere may bring its own.
command -v npm >/dev/null 2>&1 || missing+=(npm)

install_npm_packages() {
  # From the registry only, exactly as locked; nothing else is downloaded.
  if [ ! -x "$root/node_modules/.bin/action-validator" ] ||
     [ "$root/package-lock.json" -nt "$root/node_modules/.package-lock.json" ]; then
    (cd "$root" && npm ci --no-audit --no-fund --loglevel=error)
  fi
}

if [ ${#missing[@]} -eq 0 ]; then
  install_npm_packages
  exit 0
fi

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
install_npm_packages
