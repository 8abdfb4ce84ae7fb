# Prints what DeviceBuild.cmake says, for shell scripts.
#   cmake [-DROOT=<repository>] -DWHAT=sources -P print.cmake    one translation unit per line
#   cmake [-DROOT=<repository>] -DWHAT=settings -P print.cmake   NAME=value lines (lists space-separated)
include("${CMAKE_CURRENT_LIST_DIR}/DeviceBuild.cmake")
# The repository: this file's, unless ROOT names another.
if(NOT ROOT)
  set(ROOT "${CMAKE_CURRENT_LIST_DIR}/../..")
endif()
get_filename_component(ROOT "${ROOT}" REALPATH)

if(WHAT STREQUAL "sources")
  orrery_device_sources(sources "${ROOT}")
  foreach(source IN LISTS sources)
    message("${source}")
  endforeach()
elseif(WHAT STREQUAL "settings")
  foreach(name PRODUCT_NAME BUNDLE_IDENTIFIER MARKETING_VERSION BUILD_NUMBER IOS_DEPLOYMENT_TARGET
               DEVICE_FRAMEWORKS DEVICE_WARNINGS INFO_PLIST MODEL_FOLDER)
    string(REPLACE ";" " " value "${ORRERY_${name}}")
    message("${name}=${value}")
  endforeach()
else()
  message(FATAL_ERROR "WHAT must be sources or settings")
endif()
