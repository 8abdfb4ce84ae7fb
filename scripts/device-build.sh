#!/usr/bin/env bash
# Compiles and links the app for iPhone and iPad (arm64-apple-ios) against an iOS SDK folder,
# with the same sources and flags as OrreryAR.xcodeproj and every warning an error, then
# assembles an unsigned OrreryAR.app as far as Linux can.
#   ORRERY_IOS_SDK            the SDK folder (default /opt/ios-sdk/iPhoneOS.sdk; DEVELOPERS.md says how to make one)
#   ORRERY_DEVICE_BUILD_DIR   where the objects and the app go (default build-device/)
# Without an SDK it says so in one line and succeeds, so that CI passes on machines without one.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
sdk=${ORRERY_IOS_SDK:-/opt/ios-sdk/iPhoneOS.sdk}
out=${ORRERY_DEVICE_BUILD_DIR:-"$root/build-device"}

if [ ! -f "$sdk/SDKSettings.json" ] && [ ! -f "$sdk/SDKSettings.plist" ]; then
  echo "device build: skipped (no iOS SDK at $sdk)"
  exit 0
fi

bash "$root/scripts/setup.sh" clang-16 lld-16
compiler=(clang++-16)
command -v ccache >/dev/null 2>&1 && compiler=(ccache clang++-16)

# Sources and settings come from the file that the Xcode project is generated from.
describe() { cmake -DROOT="$root" -DWHAT="$1" -P "$root/tools/xcodeproj/print.cmake" 2>&1; }
mapfile -t sources < <(describe sources)
declare -A setting
while IFS='=' read -r name value; do setting[$name]=$value; done < <(describe settings)
read -r -a warnings <<<"${setting[DEVICE_WARNINGS]}"
read -r -a frameworks <<<"${setting[DEVICE_FRAMEWORKS]}"
product=${setting[PRODUCT_NAME]}

target=(-target "arm64-apple-ios${setting[IOS_DEPLOYMENT_TARGET]}" -isysroot "$sdk")
# Xcode's CLANG_CXX_LANGUAGE_STANDARD, CLANG_ENABLE_OBJC_ARC, HEADER_SEARCH_PATHS (and no
# header map), WARNING_CFLAGS, GCC_TREAT_WARNINGS_AS_ERRORS and its Release optimisation.
flags=("${target[@]}" -std=c++20 -stdlib=libc++ -fobjc-arc -I"$root" "${warnings[@]}" -Werror -Os -g)

rm -rf "$out"
mkdir -p "$out/objects" "$out/messages"

# Compiles one translation unit; whatever the compiler says is kept, since a clean build says nothing.
compile() {
  local name=${1//\//_}
  nice "${compiler[@]}" "${flags[@]}" -c "$root/$1" -o "$out/objects/$name.o" >"$out/messages/$name.txt" 2>&1 ||
    echo "$1" >>"$out/failed.txt"
}
objects=()
for source in "${sources[@]}"; do
  while [ "$(jobs -rp | wc -l)" -ge "${ORRERY_JOBS:-2}" ]; do wait -n || true; done
  compile "$source" &
  objects+=("$out/objects/${source//\//_}.o")
done
wait

messages=$(cat "$out"/messages/*.txt)
if [ -n "$messages" ] || [ -f "$out/failed.txt" ]; then
  printf '%s\n' "$messages" >&2
  echo "device build: failed to compile: $(tr '\n' ' ' <"$out/failed.txt" 2>/dev/null)" >&2
  exit 1
fi

app="$out/$product.app"
mkdir -p "$app"
framework_flags=()
for framework in "${frameworks[@]}"; do framework_flags+=(-framework "$framework"); done
# ld64.lld takes the options of a current ld64; naming such a version makes clang pass
# -platform_version, which it needs.
link_messages=$(nice clang++-16 "${target[@]}" -stdlib=libc++ -fobjc-arc --ld-path="$(command -v ld64.lld-16)" \
  -mlinker-version=711 -Wl,-fatal_warnings "${objects[@]}" "${framework_flags[@]}" -o "$app/$product" 2>&1) || {
  printf '%s\n' "$link_messages" >&2
  echo "device build: failed to link" >&2
  exit 1
}
if [ -n "$link_messages" ]; then
  printf '%s\n' "$link_messages" >&2
  echo "device build: the linker warned" >&2
  exit 1
fi

# The property list with the build variables filled in as Xcode fills them.
declare -A variable=(
  [DEVELOPMENT_LANGUAGE]=en [EXECUTABLE_NAME]=$product [PRODUCT_NAME]=$product
  [PRODUCT_BUNDLE_IDENTIFIER]=${setting[BUNDLE_IDENTIFIER]}
  [MARKETING_VERSION]=${setting[MARKETING_VERSION]} [CURRENT_PROJECT_VERSION]=${setting[BUILD_NUMBER]}
)
plist=$(cat "$root/${setting[INFO_PLIST]}")
for name in "${!variable[@]}"; do plist=${plist//"\$($name)"/${variable[$name]}}; done
if grep -q '\$(' <<<"$plist"; then
  echo "device build: $(grep -o '\$([A-Z_]*)' <<<"$plist" | sort -u | tr '\n' ' ')not known here" >&2
  exit 1
fi
printf '%s\n' "$plist" >"$app/Info.plist"
printf 'APPL????' >"$app/PkgInfo"
cp -R "$root/${setting[MODEL_FOLDER]}" "$app/"

echo "device build: $(wc -l <<<"$(printf '%s\n' "${sources[@]}")") translation units compiled and linked with no warnings"
echo "device build: unsigned $app assembled: executable, Info.plist, ${setting[MODEL_FOLDER]} as written"
echo "device build: only Xcode adds the compiled storyboards, the compiled asset catalog (app icon)," \
  "the SceneKit conversion of the models, and the signature"
