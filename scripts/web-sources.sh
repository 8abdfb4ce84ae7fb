#!/usr/bin/env bash
# Fetches Debian's sources of the C and C++ libraries the browser build compiles itself
# (pugixml, GLU's tessellator from libglu, FreeType, Dear ImGui) and unpacks them into DIR
# (default build-web/sources). `apt-get source` checks every file against the signed archive;
# nothing else is downloaded. Does nothing when they are already there.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
dest=${1:-"$root/build-web/sources"}
folders=(pugixml-1.13 glu-9.0.2 freetype-2.12.1 imgui-1.86)

have_all() { for f in "${folders[@]}"; do [ -d "$dest/$f" ] || return 1; done; }
have_all && exit 0

sudo=()
[ "$(id -u)" -eq 0 ] || sudo=(sudo)
# Source packages need a deb-src entry beside the binary ones: bookworm's main component.
if ! apt-get indextargets 2>/dev/null | grep -q '^Created-By: Sources'; then
  printf '%s\n' 'Types: deb-src' 'URIs: http://deb.debian.org/debian' 'Suites: bookworm' 'Components: main' \
    'Signed-By: /usr/share/keyrings/debian-archive-keyring.gpg' |
    "${sudo[@]}" tee /etc/apt/sources.list.d/orrery-web-src.sources >/dev/null
  "${sudo[@]}" apt-get update -qq
fi

download="$dest/download"
mkdir -p "$download"
cd "$download"
for package in pugixml freetype libglu imgui; do
  # libglu's Debian diff is missing from the archive (404); the original tarball, which is all
  # that is used, downloads and is checked all the same.
  apt-get source --download-only -qq "$package" 2>/dev/null || true
done
for archive in pugixml_1.13.orig.tar.gz libglu_9.0.2.orig.tar.gz freetype_2.12.1+dfsg.orig.tar.xz imgui_1.86+ds.orig.tar.xz; do
  [ -f "$archive" ] || { echo "web-sources: $archive did not download" >&2; exit 1; }
  tar -xf "$archive" -C "$dest"
done
have_all || { echo "web-sources: unexpected folders in $dest" >&2; exit 1; }
echo "web-sources: ${folders[*]} in $dest"
