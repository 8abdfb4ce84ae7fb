// Procedural surface textures, for the bodies no freely licensed map shows. Each body samples
// seeded noise on the unit sphere (not on the flat image), so the maps have no seam at the
// date line and no pinching at the poles.

#include "AssetGen.h"

#include <stdexcept>

namespace assetgen {

namespace {

using Dir = std::array<double, 3>;

constexpr int kBodyWidth = 512, kBodyHeight = 256;

double noiseAt(std::uint32_t seed, const Dir& d, double scale, int octaves) {
    return fbm(seed, d[0] * scale, d[1] * scale, d[2] * scale, octaves);
}

/// Makemake: reddish-brown, after its colour in telescope spectra; no map of its surface exists.
Colour makemake(const Dir& d) { return mix({0.58, 0.38, 0.26}, {0.82, 0.62, 0.46}, noiseAt(141, d, 4.0, 6)); }

}  // namespace

Image bodyTexture(const std::string& key) {
    if (key != "Makemake") throw std::invalid_argument("no procedural texture for body " + key);
    Image image(kBodyWidth, kBodyHeight, 3);
    for (int y = 0; y < image.height; ++y)
        for (int x = 0; x < image.width; ++x)
            put(image, x, y, makemake(sphereDirection((x + 0.5) / image.width, (y + 0.5) / image.height)));
    return image;
}

}  // namespace assetgen
