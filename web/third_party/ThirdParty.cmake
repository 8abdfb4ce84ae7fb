# The browser build's third-party libraries, compiled with emscripten from Debian's own sources
# (the same versions the native build links): scripts/web-sources.sh downloads them with
# `apt-get source`, which checks them against the signed archive, and unpacks them into
# ORRERY_WEB_SOURCES. Each becomes a static library under the target name the native build
# finds, so every other CMake file reads the same on both.
set(ORRERY_WEB_SOURCES "" CACHE PATH "Debian's unpacked sources of pugixml, libglu and freetype (scripts/web-sources.sh)")
foreach(folder pugixml-1.13 glu-9.0.2 freetype-2.12.1)
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
