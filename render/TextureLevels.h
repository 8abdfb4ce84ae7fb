#pragma once
// Texture images made ready for drawing in sRGB-encoded space.
//
// The renderer samples colour textures as plain 8-bit data and writes the samples unchanged:
// under the scene's neutral light an untinted texture's colour passes through lighting as it
// is, so decoding to linear light and encoding again would change nothing but the cost. Only
// the smaller levels need linear light: each averages four texels of the level above as light
// (sRGB decoded, averaged, encoded again), as an sRGB texture's generated mipmaps do.

#include <cstdint>
#include <string>
#include <vector>

namespace orrery::render {

/// One level of a texture: RGBA, rows from the bottom (t = 0 at the bottom, as materials read).
struct TextureLevel {
    int width = 0, height = 0;
    std::vector<std::uint8_t> rgba;
};

/// A texture from an image file: every level down to 1 x 1, and whether any texel is less
/// than opaque. No levels when the file cannot be read.
struct TextureImage {
    std::vector<TextureLevel> levels;
    bool translucent = false;
};

/// The texture of the image at `path`; when that cannot be read, of the JPEG the browser's copy
/// of the assets put in its place, under the same name with `.jpg` (an opaque texture) or
/// `.sky.jpg` (a sky: its light over black, made translucent again here as the asset generator's
/// skyTexel does) for the extension. The models keep naming the PNG either way.
TextureImage loadTexture(const std::string& path);

/// The next smaller level: half the size (at least 1), each texel the average in linear light
/// of the texels it covers (alpha averaged as it is).
TextureLevel halfLevel(const TextureLevel& level);

}  // namespace orrery::render
