// Headless rendering through EGL on Mesa's surfaceless platform, and PNG files through stb.

#include "render/Snapshot.h"

#include <epoxy/egl.h>
#include <epoxy/gl.h>
#include <stb/stb_image.h>
#include <stb/stb_image_write.h>

#if defined(__SANITIZE_ADDRESS__)
#include <dlfcn.h>
#include <link.h>
#endif

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <string>

namespace orrery::render {

void writePng(const Image& image, const std::filesystem::path& path) {
    if (image.width <= 0 || image.height <= 0 ||
        image.rgba.size() != static_cast<std::size_t>(image.width) * static_cast<std::size_t>(image.height) * 4)
        throw std::runtime_error("writePng: the image is empty or its size does not match its pixels");
    if (!stbi_write_png(path.c_str(), image.width, image.height, 4, image.rgba.data(), image.width * 4))
        throw std::runtime_error("cannot write '" + path.string() + "'");
}

Image readPng(const std::filesystem::path& path) {
    Image image;
    int channels = 0;
    stbi_uc* pixels = stbi_load(path.c_str(), &image.width, &image.height, &channels, 4);
    if (!pixels) throw std::runtime_error("cannot read '" + path.string() + "' as an image");
    image.rgba.assign(pixels,
                      pixels + static_cast<std::size_t>(image.width) * static_cast<std::size_t>(image.height) * 4);
    stbi_image_free(pixels);
    return image;
}

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

struct OffscreenPicture::Buffers {
    GLuint multisampledFramebuffer = 0, colourSamples = 0, depthSamples = 0;
    GLuint resolvedFramebuffer = 0, resolvedColour = 0;
    int width = 0, height = 0;
    int requestedSamples = kDeviceSamples;

    void resize(int w, int h) {
        if (w == width && h == height) return;
        releaseFramebuffers();
        GLint maxSamples = 0;
        glGetIntegerv(GL_MAX_SAMPLES, &maxSamples);
        // Zero samples is a plain framebuffer; one would still be a multisampled one.
        const GLsizei samples = requestedSamples > 1 ? std::min(requestedSamples, static_cast<int>(maxSamples)) : 0;
        glGenRenderbuffers(1, &colourSamples);
        glBindRenderbuffer(GL_RENDERBUFFER, colourSamples);
        glRenderbufferStorageMultisample(GL_RENDERBUFFER, samples, GL_RGBA8, w, h);
        glGenRenderbuffers(1, &depthSamples);
        glBindRenderbuffer(GL_RENDERBUFFER, depthSamples);
        glRenderbufferStorageMultisample(GL_RENDERBUFFER, samples, GL_DEPTH_COMPONENT24, w, h);
        glGenFramebuffers(1, &multisampledFramebuffer);
        glBindFramebuffer(GL_FRAMEBUFFER, multisampledFramebuffer);
        glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, colourSamples);
        glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_DEPTH_ATTACHMENT, GL_RENDERBUFFER, depthSamples);
        if (glCheckFramebufferStatus(GL_FRAMEBUFFER) != GL_FRAMEBUFFER_COMPLETE)
            throw std::runtime_error("offscreen picture: multisampled framebuffer incomplete");

        glGenRenderbuffers(1, &resolvedColour);
        glBindRenderbuffer(GL_RENDERBUFFER, resolvedColour);
        glRenderbufferStorage(GL_RENDERBUFFER, GL_RGBA8, w, h);
        glGenFramebuffers(1, &resolvedFramebuffer);
        glBindFramebuffer(GL_FRAMEBUFFER, resolvedFramebuffer);
        glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, resolvedColour);
        if (glCheckFramebufferStatus(GL_FRAMEBUFFER) != GL_FRAMEBUFFER_COMPLETE)
            throw std::runtime_error("offscreen picture: framebuffer incomplete");
        glBindRenderbuffer(GL_RENDERBUFFER, 0);
        width = w;
        height = h;
    }

    void releaseFramebuffers() {
        const GLuint framebuffers[] = {multisampledFramebuffer, resolvedFramebuffer};
        const GLuint renderbuffers[] = {colourSamples, depthSamples, resolvedColour};
        glDeleteFramebuffers(2, framebuffers);
        glDeleteRenderbuffers(3, renderbuffers);
        multisampledFramebuffer = resolvedFramebuffer = colourSamples = depthSamples = resolvedColour = 0;
        width = height = 0;
    }

    ~Buffers() { releaseFramebuffers(); }
};

OffscreenPicture::OffscreenPicture(int samples) : buffers_(std::make_unique<Buffers>()) {
    buffers_->requestedSamples = std::max(1, samples);
}
OffscreenPicture::~OffscreenPicture() = default;

Image OffscreenPicture::draw(Renderer& renderer, const memory::SceneFrame& frame, int widthPx, int heightPx,
                             const RenderOptions& options) {
    if (widthPx <= 0 || heightPx <= 0)
        throw std::runtime_error("headless rendering: the picture needs a positive size");
    Buffers& c = *buffers_;
    GLint previousFramebuffer = 0;
    glGetIntegerv(GL_FRAMEBUFFER_BINDING, &previousFramebuffer);
    c.resize(widthPx, heightPx);
    glBindFramebuffer(GL_FRAMEBUFFER, c.multisampledFramebuffer);
    renderer.draw(frame, widthPx, heightPx, options);
    glBindFramebuffer(GL_READ_FRAMEBUFFER, c.multisampledFramebuffer);
    glBindFramebuffer(GL_DRAW_FRAMEBUFFER, c.resolvedFramebuffer);
    glBlitFramebuffer(0, 0, widthPx, heightPx, 0, 0, widthPx, heightPx, GL_COLOR_BUFFER_BIT, GL_NEAREST);
    glBindFramebuffer(GL_READ_FRAMEBUFFER, c.resolvedFramebuffer);
    Image image;
    image.width = widthPx;
    image.height = heightPx;
    const std::size_t stride = static_cast<std::size_t>(widthPx) * 4;
    std::vector<std::uint8_t> bottomUp(stride * static_cast<std::size_t>(heightPx));
    glPixelStorei(GL_PACK_ALIGNMENT, 1);
    glReadPixels(0, 0, widthPx, heightPx, GL_RGBA, GL_UNSIGNED_BYTE, bottomUp.data());
    glBindFramebuffer(GL_FRAMEBUFFER, static_cast<GLuint>(previousFramebuffer));
    image.rgba.resize(bottomUp.size());
    for (int y = 0; y < heightPx; ++y)
        std::copy_n(bottomUp.data() + static_cast<std::size_t>(heightPx - 1 - y) * stride, stride,
                    image.rgba.data() + static_cast<std::size_t>(y) * stride);
    // A screen is opaque, whatever blending left in the alpha channel.
    for (std::size_t i = 3; i < image.rgba.size(); i += 4) image.rgba[i] = 255;
    return image;
}

void snapshot(const memory::SceneFrame& frame, const std::filesystem::path& path, int widthPx, int heightPx,
              const RenderOptions& options) {
    thread_local std::unique_ptr<HeadlessRenderer> headless;
    if (!headless) headless = std::make_unique<HeadlessRenderer>();
    writePng(headless->render(frame, widthPx, heightPx, options), path);
}

}  // namespace orrery::render
