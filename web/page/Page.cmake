# The web site, in build-web/site/ to be served as it is: index.html, orrery.js and orrery.wasm
# (the app, the renderer, the panel), orrery.data (the models, their textures and the text face,
# preloaded into the page's file system) and the user's guide the Help button opens.
set(ORRERY_WEB_ASSETS "${CMAKE_SOURCE_DIR}" CACHE PATH
  "The folder holding the art.scnassets the page ships (scripts/web-assets.sh writes one with web-suited textures)")

add_executable(orrery web/page/PageMain.cpp web/page/PageInput.cpp web/xr/XrSession.cpp web/xr/XrWorld.cpp web/xr/XrMath.cpp)
target_include_directories(orrery PRIVATE ${CMAKE_SOURCE_DIR})
target_link_libraries(orrery PRIVATE orrery_window orrery_render orrery_sim PkgConfig::IMGUI)
set(ORRERY_SITE ${CMAKE_BINARY_DIR}/site)
set_target_properties(orrery PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${ORRERY_SITE})
target_link_options(orrery PRIVATE
  -sENVIRONMENT=web
  -sMIN_WEBGL_VERSION=2 -sMAX_WEBGL_VERSION=2
  -sEXPORTED_FUNCTIONS=_main,_orrery_dump,_orrery_run,_orrery_show_panel,_orrery_locate,_orrery_history,_orrery_frame_rate,_orrery_room,_orrery_xr_enter,_orrery_xr_exit,_orrery_xr_started,_orrery_xr_frame,_orrery_xr_ended
  -sEXPORTED_RUNTIME_METHODS=ccall,cwrap,UTF8ToString,FS
  "SHELL:--js-library ${CMAKE_SOURCE_DIR}/web/xr/XrLibrary.js"
  "SHELL:--preload-file ${ORRERY_WEB_ASSETS}/art.scnassets@/orrery/art.scnassets"
  "SHELL:--preload-file ${ORRERY_TEXT_FACE}@${ORRERY_TEXT_FACE}")
# The models and the face are data of the link: a change to them links the page again.
file(GLOB_RECURSE ORRERY_PAGE_DATA CONFIGURE_DEPENDS ${ORRERY_WEB_ASSETS}/art.scnassets/*)
set_property(TARGET orrery APPEND PROPERTY LINK_DEPENDS ${ORRERY_PAGE_DATA} ${ORRERY_TEXT_FACE}
  ${CMAKE_SOURCE_DIR}/web/xr/XrLibrary.js)
configure_file(${CMAKE_SOURCE_DIR}/web/page/index.html ${ORRERY_SITE}/index.html COPYONLY)
configure_file(${CMAKE_SOURCE_DIR}/docs/guide.html ${ORRERY_SITE}/guide.html COPYONLY)

# The page's tests: headless Chromium through puppeteer-core (tests/web/page.test.mjs).
find_program(ORRERY_NODE node REQUIRED)
add_test(NAME PageInChromium COMMAND ${ORRERY_NODE} --test ${CMAKE_SOURCE_DIR}/tests/web/page.test.mjs)
set_tests_properties(PageInChromium PROPERTIES ENVIRONMENT "ORRERY_WEB_SITE=${ORRERY_SITE}" TIMEOUT 300)
# The page in an immersive-ar session: iwer (npm) emulates a phone in the simulator's room.
add_test(NAME PageInWebXR COMMAND ${ORRERY_NODE} --test ${CMAKE_SOURCE_DIR}/tests/web/xr.test.mjs)
set_tests_properties(PageInWebXR PROPERTIES ENVIRONMENT "ORRERY_WEB_SITE=${ORRERY_SITE}" TIMEOUT 300)
# Alone: Chromium draws in software on every core it finds, and two browsers at once slow each
# other's frames until a finger held for one frame becomes a long press.
set_tests_properties(PageInChromium PageInWebXR PROPERTIES RUN_SERIAL TRUE)
