#pragma once
// Pictures without a display: the renderer in a headless OpenGL context made through EGL
// on Mesa's surfaceless platform (software rendering when no GPU is present).

#include "render/Picture.h"

#include <filesystem>
#include <memory>

namespace orrery::render {

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
