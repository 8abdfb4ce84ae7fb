#!/usr/bin/env bash
# Paints the app icon from art.scnassets and writes the asset catalog's icon set.
# Usage: tools/app-icon/make-app-icon.sh   (from anywhere; needs libstb-dev, which scripts/setup.sh installs)
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
root=$(cd "$here/../.." && pwd)
set_dir="$root/app/Assets.xcassets/AppIcon.appiconset"

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
c++ -std=c++20 -O2 -Wall -Wextra -Wpedantic -Werror "$here/AppIcon.cpp" -o "$work/app-icon" -lm
mkdir -p "$set_dir"
"$work/app-icon" "$root/art.scnassets" "$set_dir/AppIcon.png"

# One 1024-point image serves every size (Xcode 14 and later scale it).
cat >"$set_dir/Contents.json" <<'JSON'
{
  "images" : [
    {
      "filename" : "AppIcon.png",
      "idiom" : "universal",
      "platform" : "ios",
      "size" : "1024x1024"
    }
  ],
  "info" : {
    "author" : "xcode",
    "version" : 1
  }
}
JSON
cat >"$root/app/Assets.xcassets/Contents.json" <<'JSON'
{
  "info" : {
    "author" : "xcode",
    "version" : 1
  }
}
JSON
echo "app icon written to $set_dir"
