# The browser build, configured by scripts/web-build.sh with emscripten (emcmake): the units
# that need neither a window system nor EGL, compiled for WebAssembly with the project's
# warnings-as-errors flags, and their tests run under node (emscripten's toolchain makes node
# the emulator, so ctest runs them as it runs native ones).
include(${CMAKE_CURRENT_LIST_DIR}/third_party/ThirdParty.cmake)

# Exceptions are off in emscripten unless asked for; tests read the real file system.
add_compile_options(-fexceptions)
add_link_options(-fexceptions -sALLOW_MEMORY_GROWTH=1)
set(ORRERY_NODE_LINK_OPTIONS -sNODERAWFS=1 -sEXIT_RUNTIME=1 -sWASM_ASYNC_COMPILATION=0)

# GoogleTest from Debian's sources (googletest package), built like the rest.
set(gtest_disable_pthreads ON CACHE BOOL "" FORCE)
add_subdirectory(/usr/src/googletest ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL)
foreach(library gtest gmock gtest_main)
  target_compile_options(${library} PRIVATE -w)
  if(NOT TARGET GTest::${library})
    add_library(GTest::${library} ALIAS ${library})
  endif()
endforeach()

set(ORRERY_TEXT_FACE "${CMAKE_CURRENT_SOURCE_DIR}/platform/memory/text/fonts/DejaVuSans.ttf")
orrery_unit(orrery_numbers platform/memory/numbers)
orrery_unit(orrery_geometry platform/memory/geometry PRIVATE PkgConfig::GLU)
orrery_unit(orrery_text platform/memory/text LINK orrery_geometry PRIVATE Freetype::Freetype)
target_compile_definitions(orrery_text PRIVATE ORRERY_TEXT_FACE="${ORRERY_TEXT_FACE}")
orrery_unit(orrery_scene platform/memory/scene LINK orrery_platform orrery_geometry orrery_text)
orrery_unit(orrery_collada platform/memory/collada LINK orrery_scene orrery_geometry orrery_text PRIVATE pugixml::pugixml orrery_numbers)
orrery_unit(orrery_memory platform/memory LINK orrery_scene orrery_collada orrery_numbers nlohmann_json::nlohmann_json)
target_compile_definitions(orrery_memory PUBLIC ORRERY_SOURCE_DIR="${CMAKE_CURRENT_SOURCE_DIR}")
orrery_unit(orrery_sim sim LINK orrery_logic orrery_memory orrery_text orrery_numbers)

# Units that draw, without what only a desktop has: render/ without its EGL contexts
# (Snapshot.cpp: the page draws into its own WebGL 2 context), window/ without SDL (SdlInput.cpp,
# Window.cpp: the page has its own events).
function(orrery_web_unit name folder)
  cmake_parse_arguments(PARSE_ARGV 2 UNIT "" "" "WITHOUT;LINK;PRIVATE")
  orrery_unit(${name} ${folder} LINK ${UNIT_LINK} PRIVATE ${UNIT_PRIVATE})
  get_target_property(sources ${name} SOURCES)
  foreach(file IN LISTS UNIT_WITHOUT)
    list(REMOVE_ITEM sources ${CMAKE_CURRENT_SOURCE_DIR}/${folder}/${file})
  endforeach()
  set_target_properties(${name} PROPERTIES SOURCES "${sources}")
endfunction()
orrery_web_unit(orrery_render render WITHOUT Snapshot.cpp LINK orrery_scene orrery_text orrery_geometry PRIVATE PkgConfig::STB)
orrery_web_unit(orrery_window window WITHOUT SdlInput.cpp Window.cpp LINK orrery_sim orrery_render PkgConfig::IMGUI)

# orrery-sim for node: scenarios, dumps and call logs as the native program prints them; no
# window and no pictures (no display and no GL under node).
add_executable(orrery-sim cli/main.cpp)
target_link_libraries(orrery-sim PRIVATE orrery_sim orrery_window)
target_compile_definitions(orrery-sim PRIVATE ORRERY_WITHOUT_DISPLAY)
target_link_options(orrery-sim PRIVATE ${ORRERY_NODE_LINK_OPTIONS}
  "SHELL:--pre-js ${CMAKE_CURRENT_SOURCE_DIR}/web/node-environment.js")
set_property(TARGET orrery-sim APPEND PROPERTY LINK_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/web/node-environment.js)
# Compared with a native one where scripts/web-build.sh names it (it always does when it tests).
set(ORRERY_NATIVE_SIM "" CACHE FILEPATH "A native orrery-sim that the node one is compared with")
if(ORRERY_NATIVE_SIM)
  add_test(NAME SimulatorUnderNode COMMAND bash ${CMAKE_SOURCE_DIR}/tests/web/sim-under-node.sh
    $<TARGET_FILE:orrery-sim> ${ORRERY_NATIVE_SIM})
endif()

# The page (web/page/).
include(${CMAKE_CURRENT_LIST_DIR}/page/Page.cmake)

# What cannot run under node, in one place; the native build runs all of it. By file, each
# program's EXCEPT below; where only some cases of a file could not run, they were split into a
# file of their own (StartSceneDeathTest.cpp, LiveClockTest.cpp, ControlsTest.cpp), so what is
# left out is left out whole and said here.
set(ORRERY_NOT_UNDER_NODE
  # Death tests: node has no fork and no signals to watch a process stop (gtest offers no
  # EXPECT_EXIT there).
  tests/platform/FatalTest.cpp tests/app/FatalStopTest.cpp tests/content/StartSceneDeathTest.cpp
  # Tests that start another program (tests/support/Programs.h): no posix_spawn.
  tests/sim/SimulatorTest.cpp tests/window/WindowCommandTest.cpp
  # Tests that draw through EGL (render/Snapshot.cpp is the desktop's) or start orrery-sim to draw.
  tests/render/RendererTest.cpp tests/render/XrViewTest.cpp tests/render/GoldenImageTest.cpp
  # SDL's events, EGL pictures and orrery-sim replaying the recording.
  tests/window/LiveSessionTest.cpp
  # orrery-sim's window under an X11 server (Xvfb, xdotool).
  tests/window/WindowX11Test.cpp)
# Not built here at all: tests/tools (the asset generator links OpenSSL, the project's tests
# libplist, neither compiled for the browser; most of them start programs).
orrery_tests(orrery_logic_tests SOURCES tests/app/ProcessStateTest.cpp tests/content/BodyCatalogTest.cpp LINK orrery_logic)
orrery_tests(orrery_app_tests SOURCES tests/app/*.cpp tests/content/*.cpp tests/modes/*.cpp tests/interaction/*.cpp
  EXCEPT tests/app/ProcessStateTest.cpp tests/content/BodyCatalogTest.cpp ${ORRERY_NOT_UNDER_NODE} LINK orrery_sim)
orrery_tests(orrery_numbers_tests SOURCES tests/platform/memory/numbers/*.cpp LINK orrery_numbers)
orrery_tests(orrery_geometry_tests SOURCES tests/platform/memory/geometry/*.cpp LINK orrery_geometry)
orrery_tests(orrery_text_tests SOURCES tests/platform/memory/text/*.cpp LINK orrery_text Freetype::Freetype)
orrery_tests(orrery_scene_tests SOURCES tests/platform/memory/scene/*.cpp LINK orrery_scene)
# pugixml: ColladaTransformsTest.cpp reads XML itself (natively its header is on the system's path).
orrery_tests(orrery_collada_tests SOURCES tests/platform/memory/collada/*.cpp LINK orrery_collada orrery_logic pugixml::pugixml)
orrery_tests(orrery_memory_tests SOURCES tests/platform/memory/*.cpp LINK orrery_memory)
# stb: TextureFallbackTest.cpp writes and reads pictures itself.
orrery_tests(orrery_render_tests SOURCES tests/render/*.cpp EXCEPT ${ORRERY_NOT_UNDER_NODE}
  LINK orrery_render orrery_memory PkgConfig::STB)
orrery_tests(orrery_sim_tests SOURCES tests/sim/*.cpp EXCEPT ${ORRERY_NOT_UNDER_NODE} LINK orrery_sim)
orrery_tests(orrery_window_tests SOURCES tests/window/*.cpp EXCEPT ${ORRERY_NOT_UNDER_NODE} LINK orrery_window)
orrery_tests(orrery_layout_tests SOURCES tests/layout/*.cpp)
# The page's WebXR geometry (web/xr/XrMath.cpp needs no browser; the rest of web/xr/ is tested in
# the page, tests/web/xr.test.mjs).
orrery_tests(orrery_xr_tests SOURCES tests/web/xr/*.cpp web/xr/XrMath.cpp LINK orrery_scene)
# The stack is emscripten's default (5 MB); the deepest test, a COLLADA model of nodes nested
# 1000 and 1024 deep, needs between 768 and 896 KB of it, every other program less than 64 KB.
# Checked on every call, so that a stack too small fails the test that overflows it instead of
# overwriting static data in silence.
foreach(name orrery_logic_tests orrery_app_tests orrery_numbers_tests orrery_geometry_tests orrery_text_tests
    orrery_scene_tests orrery_collada_tests orrery_memory_tests orrery_render_tests orrery_sim_tests
    orrery_window_tests orrery_layout_tests orrery_xr_tests)
  target_link_options(${name} PRIVATE ${ORRERY_NODE_LINK_OPTIONS} -sSTACK_OVERFLOW_CHECK=2)
endforeach()
