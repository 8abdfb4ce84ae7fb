#pragma once
// Pictures without a display: the renderer in a headless OpenGL context made through EGL
// on Mesa's surfaceless platform (software rendering when no GPU is present), and PNG files.

#include "render/Renderer.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <vector>

namespace orrery::render {

/// An 8-bit RGBA picture, rows from the top, sRGB-encoded.
struct Image {
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> rgba;  ///< width * height * 4 bytes
};

/// Writes `image` as a PNG file. Throws std::runtime_error when the file cannot be written.
void writePng(const Image& image, const std::filesystem::path& path);
/// Reads a PNG file as RGBA. Throws std::runtime_error when it cannot be read.
Image readPng(const std::filesystem::path& path);

/// The app's scene view draws with 4x multisampling (SCNAntialiasingModeMultisampling4X).
inline constexpr int kDeviceSamples = 4;

/// A picture drawn by a renderer into framebuffers of its own in the OpenGL context current
/// now (a window's, for instance) and read back, leaving the framebuffer bound before as it
/// was. Make, use and destroy it with that context current.
class OffscreenPicture {
public:
    explicit OffscreenPicture(int samples = kDeviceSamples);
    ~OffscreenPicture();
    OffscreenPicture(const OffscreenPicture&) = delete;
    OffscreenPicture& operator=(const OffscreenPicture&) = delete;

    /// `frame` drawn by `renderer` (made in the same context) at widthPx x heightPx.
    Image draw(Renderer& renderer, const memory::SceneFrame& frame, int widthPx, int heightPx,
               const RenderOptions& options = {});

private:
    struct Buffers;
    std::unique_ptr<Buffers> buffers_;
};

/// A headless OpenGL context (EGL surfaceless) with its own Renderer, drawing into an
/// offscreen framebuffer: 4x multisampled by default, as the app's scene view draws
/// (snapshots and golden images), or with one sample a pixel, as the live window draws.
///
/// Making the context takes a while; keep one for many pictures. Throws std::runtime_error
/// when no EGL display or OpenGL 3.3 core / OpenGL ES 3.0 context can be had.
class HeadlessRenderer {
public:
    explicit HeadlessRenderer(int samples = kDeviceSamples);
    ~HeadlessRenderer();
    HeadlessRenderer(const HeadlessRenderer&) = delete;
    HeadlessRenderer& operator=(const HeadlessRenderer&) = delete;

    /// `frame` at widthPx x heightPx (see Renderer::draw).
    Image render(const memory::SceneFrame& frame, int widthPx, int heightPx, const RenderOptions& options = {});

private:
    struct Context;
    std::unique_ptr<Context> context_;
};

/// Renders `frame` headless and writes it as a PNG file: a HeadlessRenderer made for the
/// occasion and kept for later calls on the same thread.
void snapshot(const memory::SceneFrame& frame, const std::filesystem::path& path, int widthPx, int heightPx,
              const RenderOptions& options = {});

}  // namespace orrery::render
