#pragma once
// OpenGL for everything that draws: libepoxy on desktops, which resolves the functions of
// whichever context is current (GLX, EGL), and the OpenGL ES 3.0 headers in the browser, where
// WebGL 2 is that API. Code that draws includes this header and uses only what OpenGL 3.3 core
// and OpenGL ES 3.0 share.

#if defined(__EMSCRIPTEN__)
#include <GLES3/gl3.h>
#else
#include <epoxy/gl.h>
#endif

namespace orrery::render::gl {

/// Whether the current context is desktop OpenGL rather than OpenGL ES.
inline bool isDesktop() {
#if defined(__EMSCRIPTEN__)
    return false;
#else
    return epoxy_is_desktop_gl();
#endif
}

/// The current context's version as major * 10 + minor (33 for OpenGL 3.3).
inline int version() {
#if defined(__EMSCRIPTEN__)
    GLint major = 0, minor = 0;
    glGetIntegerv(GL_MAJOR_VERSION, &major);
    glGetIntegerv(GL_MINOR_VERSION, &minor);
    return major * 10 + minor;
#else
    return epoxy_gl_version();
#endif
}

/// Lets vertex shaders set the size of points (gl_PointSize): a switch on desktops, always so
/// in OpenGL ES.
inline void enableProgramPointSize() {
#if !defined(__EMSCRIPTEN__)
    if (isDesktop()) glEnable(GL_PROGRAM_POINT_SIZE);
#endif
}

}  // namespace orrery::render::gl
