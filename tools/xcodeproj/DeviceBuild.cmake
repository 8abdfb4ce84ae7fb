# What the app on iPhone and iPad is made of, in one place. Read by CMakeLists.txt (the logic
# that the Linux build shares), by the Xcode project generator (generate.cmake) and, through
# print.cmake, by scripts/device-build.sh.

# The logic and the platform interface: built on Linux and on the device alike.
set(ORRERY_LOGIC_PATTERNS app/*.cpp content/*.cpp modes/*.cpp interaction/*.cpp platform/*.cpp)
# The device adapter and the shell: Objective-C++, built for the device only.
set(ORRERY_DEVICE_PATTERNS app/*.mm platform/device/*.mm)
# Headers shown in the Xcode project next to the sources (not compiled on their own).
set(ORRERY_DEVICE_HEADER_PATTERNS app/*.h content/*.h modes/*.h interaction/*.h platform/*.h platform/device/*.h)

set(ORRERY_PRODUCT_NAME OrreryAR)
set(ORRERY_BUNDLE_IDENTIFIER org.orreryar.OrreryAR)
set(ORRERY_MARKETING_VERSION 1.0)
set(ORRERY_BUILD_NUMBER 1)
set(ORRERY_IOS_DEPLOYMENT_TARGET 15.0)
set(ORRERY_DEVICE_FRAMEWORKS Foundation UIKit SceneKit ARKit)
# Added to the compiler's defaults on the device; every warning is an error there too.
set(ORRERY_DEVICE_WARNINGS -Wall -Wextra -Wpedantic)

# Resources copied into the app, relative to the repository root. The storyboards live in
# app/Base.lproj; art.scnassets is converted by Xcode's SceneKit asset step.
set(ORRERY_INFO_PLIST app/Info.plist)
set(ORRERY_STORYBOARDS Main LaunchScreen)
set(ORRERY_ASSET_CATALOG app/Assets.xcassets)
set(ORRERY_MODEL_FOLDER art.scnassets)

# orrery_glob(<out> <root> <pattern>...): the files matching the patterns below `root`, as
# sorted paths relative to it.
function(orrery_glob out root)
  set(files)
  foreach(pattern IN LISTS ARGN)
    if(CMAKE_SCRIPT_MODE_FILE)
      file(GLOB found RELATIVE "${root}" "${root}/${pattern}")
    else()
      file(GLOB found RELATIVE "${root}" CONFIGURE_DEPENDS "${root}/${pattern}")
    endif()
    list(APPEND files ${found})
  endforeach()
  list(SORT files)
  set(${out} ${files} PARENT_SCOPE)
endfunction()

# orrery_device_sources(<out> <root>): every translation unit of the app on the device.
function(orrery_device_sources out root)
  orrery_glob(files "${root}" ${ORRERY_LOGIC_PATTERNS} ${ORRERY_DEVICE_PATTERNS})
  set(${out} ${files} PARENT_SCOPE)
endfunction()
