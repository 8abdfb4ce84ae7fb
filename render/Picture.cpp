// Offscreen framebuffers in the current context, read back; PNG files through stb.

#include "render/Picture.h"

#include "render/Gl.h"

#include <stb/stb_image.h>
#include <stb/stb_image_write.h>

#include <algorithm>
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

}  // namespace orrery::render
