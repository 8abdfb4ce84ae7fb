#include "render/TextureLevels.h"

#include "render/GlMath.h"

#include <stb/stb_image.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <filesystem>
#include <memory>

namespace orrery::render {

namespace {

const std::array<float, 256>& linearOfByte() {
    static const std::array<float, 256> table = [] {
        std::array<float, 256> t{};
        for (int i = 0; i < 256; ++i) t[static_cast<std::size_t>(i)] = srgbToLinear(static_cast<float>(i) / 255.0f);
        return t;
    }();
    return table;
}

std::uint8_t byteOf(float unit) {
    return static_cast<std::uint8_t>(std::lround(std::clamp(unit, 0.0f, 1.0f) * 255.0f));
}

using Pixels = std::unique_ptr<stbi_uc, void (*)(void*)>;

Pixels readRgba(const std::string& path, int& width, int& height) {
    int channels = 0;
    return {stbi_load(path.c_str(), &width, &height, &channels, 4), stbi_image_free};
}

/// Turns texels holding a sky's light over black into the sky's texels, as the asset generator
/// made them: each as opaque as its brightest channel in linear light, its colour that light
/// divided by the opacity. Light too faint for an opacity of one byte (sRGB 6 and below) is clear,
/// so compression noise in the dark does not veil the room.
void skyFromLight(stbi_uc* rgba, std::size_t texels) {
    const auto& linear = linearOfByte();
    for (stbi_uc* texel = rgba; texel != rgba + texels * 4; texel += 4) {
        const float brightest = std::max({linear[texel[0]], linear[texel[1]], linear[texel[2]]});
        const float alpha = std::round(brightest * 255.0f) / 255.0f;
        for (std::size_t c = 0; c < 3; ++c)
            texel[c] = alpha > 0 ? byteOf(linearToSrgb(std::min(1.0f, linear[texel[c]] / alpha))) : 0;
        texel[3] = byteOf(alpha);
    }
}

}  // namespace

TextureLevel halfLevel(const TextureLevel& level) {
    const auto& linear = linearOfByte();
    TextureLevel out;
    out.width = std::max(1, level.width / 2);
    out.height = std::max(1, level.height / 2);
    out.rgba.resize(static_cast<std::size_t>(out.width) * static_cast<std::size_t>(out.height) * 4);
    // Each smaller texel covers a block of the level above: 2 x 2, or 1 along a side of length 1.
    const int spanX = level.width > 1 ? 2 : 1, spanY = level.height > 1 ? 2 : 1;
    for (int y = 0; y < out.height; ++y)
        for (int x = 0; x < out.width; ++x) {
            std::array<float, 4> sum{};
            for (int dy = 0; dy < spanY; ++dy)
                for (int dx = 0; dx < spanX; ++dx) {
                    const std::size_t at =
                        (static_cast<std::size_t>(y * spanY + dy) * static_cast<std::size_t>(level.width) +
                         static_cast<std::size_t>(x * spanX + dx)) *
                        4;
                    for (std::size_t c = 0; c < 3; ++c) sum[c] += linear[level.rgba[at + c]];
                    sum[3] += static_cast<float>(level.rgba[at + 3]) / 255.0f;
                }
            const float count = static_cast<float>(spanX * spanY);
            std::uint8_t* texel = &out.rgba[(static_cast<std::size_t>(y) * static_cast<std::size_t>(out.width) +
                                             static_cast<std::size_t>(x)) *
                                            4];
            for (std::size_t c = 0; c < 3; ++c) texel[c] = byteOf(linearToSrgb(sum[c] / count));
            texel[3] = byteOf(sum[3] / count);
        }
    return out;
}

TextureImage loadTexture(const std::string& path) {
    TextureImage image;
    int width = 0, height = 0;
    Pixels pixels = readRgba(path, width, height);
    // The browser's copy of the assets ships a JPEG beside each PNG it leaves out: `<stem>.jpg`,
    // or for a sky `<stem>.sky.jpg`, its light over black (tools/WebCopy.cpp).
    if (!pixels) pixels = readRgba(std::filesystem::path(path).replace_extension(".jpg").string(), width, height);
    if (!pixels) {
        pixels = readRgba(std::filesystem::path(path).replace_extension(".sky.jpg").string(), width, height);
        if (pixels) skyFromLight(pixels.get(), static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
    }
    if (!pixels) return image;  // an unreadable image leaves the material's white
    TextureLevel top;
    top.width = width;
    top.height = height;
    const std::size_t stride = static_cast<std::size_t>(width) * 4;
    top.rgba.resize(stride * static_cast<std::size_t>(height));
    // Texture coordinates put t = 0 at the bottom of the image: rows go up from the last.
    for (int y = 0; y < height; ++y)
        std::copy_n(pixels.get() + static_cast<std::size_t>(height - 1 - y) * stride, stride,
                    top.rgba.data() + static_cast<std::size_t>(y) * stride);
    for (std::size_t i = 3; i < top.rgba.size() && !image.translucent; i += 4) image.translucent = top.rgba[i] < 255;
    image.levels.push_back(std::move(top));
    while (image.levels.back().width > 1 || image.levels.back().height > 1)
        image.levels.push_back(halfLevel(image.levels.back()));
    return image;
}

}  // namespace orrery::render
