// Headless rendering through EGL on Mesa's surfaceless platform.

#include "render/Snapshot.h"

#include <epoxy/egl.h>
#include <epoxy/gl.h>

#if defined(__SANITIZE_ADDRESS__)
#include <dlfcn.h>
#include <link.h>
#endif

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <string>

namespace orrery::render {

namespace {

bool hasExtension(const char* list, const char* name) {
    if (!list) return false;
    const std::size_t length = std::strlen(name);
    for (const char* p = list; (p = std::strstr(p, name)); p += length)
        if ((p == list || p[-1] == ' ') && (p[length] == ' ' || p[length] == '\0')) return true;
    return false;
}

[[noreturn]] void fail(const std::string& what) { throw std::runtime_error("headless rendering: " + what); }

}  // namespace

struct HeadlessRenderer::Context {
    EGLDisplay display = EGL_NO_DISPLAY;
    EGLContext context = EGL_NO_CONTEXT;
    std::unique_ptr<Renderer> renderer;
    std::unique_ptr<OffscreenPicture> picture;

    Context() {
        if (!hasExtension(eglQueryString(EGL_NO_DISPLAY, EGL_EXTENSIONS), "EGL_MESA_platform_surfaceless"))
            fail("EGL offers no surfaceless platform (EGL_MESA_platform_surfaceless); install Mesa's EGL "
                 "(libegl-mesa0)");
        display = eglGetPlatformDisplayEXT(EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY, nullptr);
        if (display == EGL_NO_DISPLAY) fail("no surfaceless EGL display");
        EGLint major = 0, minor = 0;
        if (!eglInitialize(display, &major, &minor)) fail("eglInitialize failed");
        try {
            makeContext();
            keepDriversLoadedForLeakReports();
            renderer = std::make_unique<Renderer>();
        } catch (...) {
            release();
            throw;
        }
    }

    // eglTerminate unloads Mesa's driver; what it keeps for the life of the process would then be
    // reported from an unknown module, which no suppression can name. Pinning the driver keeps
    // its name in the reports. Only sanitizer builds do this.
    static void keepDriversLoadedForLeakReports() {
#if defined(__SANITIZE_ADDRESS__)
        dl_iterate_phdr(
            [](dl_phdr_info* info, std::size_t, void*) {
                const char* path = info->dlpi_name;
                if (path &&
                    (std::strstr(path, "/dri/") || std::strstr(path, "libgallium") || std::strstr(path, "libLLVM")))
                    dlopen(path, RTLD_NOW | RTLD_NOLOAD | RTLD_NODELETE);
                return 0;
            },
            nullptr);
#endif
    }

    void makeContext() {
        const EGLint configAttributes[] = {EGL_RENDERABLE_TYPE, EGL_OPENGL_BIT, EGL_NONE};
        EGLConfig config = nullptr;
        EGLint count = 0;
        const bool haveConfig = eglChooseConfig(display, configAttributes, &config, 1, &count) && count > 0;
        if (eglBindAPI(EGL_OPENGL_API)) {
            const EGLint core[] = {EGL_CONTEXT_MAJOR_VERSION,
                                   3,
                                   EGL_CONTEXT_MINOR_VERSION,
                                   3,
                                   EGL_CONTEXT_OPENGL_PROFILE_MASK,
                                   EGL_CONTEXT_OPENGL_CORE_PROFILE_BIT,
                                   EGL_NONE};
            context = eglCreateContext(display, haveConfig ? config : EGL_NO_CONFIG_KHR, EGL_NO_CONTEXT, core);
        }
        if (context == EGL_NO_CONTEXT && eglBindAPI(EGL_OPENGL_ES_API)) {
            const EGLint es[] = {EGL_CONTEXT_MAJOR_VERSION, 3, EGL_NONE};
            context = eglCreateContext(display, EGL_NO_CONFIG_KHR, EGL_NO_CONTEXT, es);
        }
        if (context == EGL_NO_CONTEXT) fail("no OpenGL 3.3 core or OpenGL ES 3.0 context");
        if (!eglMakeCurrent(display, EGL_NO_SURFACE, EGL_NO_SURFACE, context)) fail("cannot make the context current");
    }

    void makeCurrent() {
        if (eglGetCurrentContext() != context && !eglMakeCurrent(display, EGL_NO_SURFACE, EGL_NO_SURFACE, context))
            fail("cannot make the context current");
    }

    void release() {
        if (context != EGL_NO_CONTEXT) {
            makeCurrent();
            picture.reset();
            renderer.reset();
            eglMakeCurrent(display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
            eglDestroyContext(display, context);
            context = EGL_NO_CONTEXT;
        }
        if (display != EGL_NO_DISPLAY) eglTerminate(display);
        display = EGL_NO_DISPLAY;
    }

    ~Context() { release(); }
};

HeadlessRenderer::HeadlessRenderer(int samples) : context_(std::make_unique<Context>()) {
    context_->picture = std::make_unique<OffscreenPicture>(samples);
}
HeadlessRenderer::~HeadlessRenderer() = default;

Image HeadlessRenderer::render(const memory::SceneFrame& frame, int widthPx, int heightPx,
                               const RenderOptions& options) {
    Context& c = *context_;
    c.makeCurrent();
    return c.picture->draw(*c.renderer, frame, widthPx, heightPx, options);
}

void snapshot(const memory::SceneFrame& frame, const std::filesystem::path& path, int widthPx, int heightPx,
              const RenderOptions& options) {
    thread_local std::unique_ptr<HeadlessRenderer> headless;
    if (!headless) headless = std::make_unique<HeadlessRenderer>();
    writePng(headless->render(frame, widthPx, heightPx, options), path);
}

}  // namespace orrery::render
