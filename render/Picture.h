#pragma once
// Pictures of the renderer read back from the OpenGL context current now (a window's, a
// page's, a headless one), and PNG files.

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

}  // namespace orrery::render
