# The browser build's third-party libraries, compiled with emscripten from Debian's own sources
# (the same versions the native build links): scripts/web-sources.sh downloads them with
# `apt-get source`, which checks them against the signed archive, and unpacks them into
# ORRERY_WEB_SOURCES. Each becomes a static library under the target name the native build
# finds, so every other CMake file reads the same on both.
set(ORRERY_WEB_SOURCES "" CACHE PATH "Debian's unpacked sources of pugixml, libglu, freetype and imgui (scripts/web-sources.sh)")
foreach(folder pugixml-1.13 glu-9.0.2 freetype-2.12.1 imgui-1.86)
  if(NOT EXISTS "${ORRERY_WEB_SOURCES}/${folder}")
    message(FATAL_ERROR "web build: ${ORRERY_WEB_SOURCES}/${folder} is missing; run scripts/web-sources.sh")
  endif()
endforeach()

# Their own code is not held to the project's warnings.
function(orrery_third_party target)
  target_compile_options(${target} PRIVATE -w)
  set_target_properties(${target} PROPERTIES CXX_CLANG_TIDY "" C_CLANG_TIDY "")
endfunction()

# pugixml: one source file (MIT).
set(pugixml "${ORRERY_WEB_SOURCES}/pugixml-1.13/src")
add_library(orrery_web_pugixml STATIC "${pugixml}/pugixml.cpp")
target_include_directories(orrery_web_pugixml SYSTEM PUBLIC "${pugixml}")
orrery_third_party(orrery_web_pugixml)
add_library(pugixml::pugixml ALIAS orrery_web_pugixml)

# GLU's polygon tessellator alone (SGI Free Software License B); emscripten's GL/glu.h declares it.
enable_language(C)
set(glu "${ORRERY_WEB_SOURCES}/glu-9.0.2")
add_library(orrery_web_glu_tess STATIC
  ${glu}/src/libtess/dict.c ${glu}/src/libtess/geom.c ${glu}/src/libtess/memalloc.c ${glu}/src/libtess/mesh.c
  ${glu}/src/libtess/normal.c ${glu}/src/libtess/priorityq.c ${glu}/src/libtess/render.c ${glu}/src/libtess/sweep.c
  ${glu}/src/libtess/tess.c ${glu}/src/libtess/tessmono.c)
target_include_directories(orrery_web_glu_tess PRIVATE "${glu}/src/include" "${glu}/include")
orrery_third_party(orrery_web_glu_tess)
add_library(PkgConfig::GLU ALIAS orrery_web_glu_tess)

# FreeType with TrueType outlines only (FreeType License).
set(freetype "${ORRERY_WEB_SOURCES}/freetype-2.12.1")
add_library(orrery_web_freetype STATIC
  ${freetype}/src/base/ftsystem.c ${freetype}/src/base/ftinit.c ${freetype}/src/base/ftdebug.c
  ${freetype}/src/base/ftbase.c ${freetype}/src/base/ftbbox.c ${freetype}/src/base/ftglyph.c
  ${freetype}/src/base/ftbitmap.c ${freetype}/src/truetype/truetype.c ${freetype}/src/sfnt/sfnt.c
  ${freetype}/src/psnames/psnames.c ${freetype}/src/gzip/ftgzip.c)
target_include_directories(orrery_web_freetype SYSTEM PUBLIC "${freetype}/include")
target_include_directories(orrery_web_freetype PRIVATE "${CMAKE_CURRENT_LIST_DIR}")
target_compile_definitions(orrery_web_freetype PRIVATE FT2_BUILD_LIBRARY "FT_CONFIG_MODULES_H=<ftmodule.h>")
orrery_third_party(orrery_web_freetype)
add_library(Freetype::Freetype ALIAS orrery_web_freetype)

# Dear ImGui and its OpenGL 3 backend, which speaks OpenGL ES 3 under emscripten (MIT).
set(imgui "${ORRERY_WEB_SOURCES}/imgui-1.86")
add_library(orrery_web_imgui STATIC ${imgui}/imgui.cpp ${imgui}/imgui_draw.cpp ${imgui}/imgui_tables.cpp
  ${imgui}/imgui_widgets.cpp ${imgui}/backends/imgui_impl_opengl3.cpp)
target_include_directories(orrery_web_imgui SYSTEM PUBLIC "${imgui}")
target_compile_definitions(orrery_web_imgui PUBLIC IMGUI_IMPL_OPENGL_ES3)
orrery_third_party(orrery_web_imgui)
add_library(PkgConfig::IMGUI ALIAS orrery_web_imgui)

# Header-only libraries from Debian's packages on the build machine (nlohmann-json3-dev,
# libstb-dev): their folders alone are put on the include path, never /usr/include itself,
# whose C library headers are not emscripten's.
set(headers "${CMAKE_BINARY_DIR}/debian-headers")
file(MAKE_DIRECTORY "${headers}")
foreach(folder nlohmann stb)
  if(NOT EXISTS "/usr/include/${folder}")
    message(FATAL_ERROR "web build: /usr/include/${folder} is missing; run scripts/setup.sh")
  endif()
  file(CREATE_LINK "/usr/include/${folder}" "${headers}/${folder}" SYMBOLIC)
endforeach()
add_library(orrery_web_json INTERFACE)
target_include_directories(orrery_web_json SYSTEM INTERFACE "${headers}")
add_library(nlohmann_json::nlohmann_json ALIAS orrery_web_json)

# stb's image reader and writer (public domain): Debian ships them as a shared library, the
# browser compiles the two implementations.
file(WRITE "${CMAKE_BINARY_DIR}/stb_implementation.c"
  "#define STB_IMAGE_IMPLEMENTATION\n#include <stb/stb_image.h>\n"
  "#define STB_IMAGE_WRITE_IMPLEMENTATION\n#include <stb/stb_image_write.h>\n")
add_library(orrery_web_stb STATIC "${CMAKE_BINARY_DIR}/stb_implementation.c")
target_include_directories(orrery_web_stb SYSTEM PUBLIC "${headers}")
orrery_third_party(orrery_web_stb)
add_library(PkgConfig::STB ALIAS orrery_web_stb)
