// Paints the app icon from the project's own textures: the Earth, lit from the upper left,
// in front of the star field. Deterministic: the same textures give the same image.
//   app-icon <art.scnassets folder> <output.png>
// The image is 1024 by 1024 and opaque, as the App Store icon must be.

#define STB_IMAGE_IMPLEMENTATION
#define STB_IMAGE_WRITE_IMPLEMENTATION
#include <stb/stb_image.h>
#include <stb/stb_image_write.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

namespace {

constexpr int iconSize = 1024;
constexpr int samplesPerAxis = 4;  // 16 samples a pixel smooth the sphere's edge
constexpr double pi = 3.14159265358979323846;

using Colour = std::array<double, 3>;

struct Texture {
    int width = 0, height = 0;
    std::vector<unsigned char> rgb;

    static Texture load(const std::string& path) {
        Texture t;
        int channels = 0;
        unsigned char* pixels = stbi_load(path.c_str(), &t.width, &t.height, &channels, 3);
        if (!pixels) return t;
        t.rgb.assign(pixels, pixels + std::size_t(t.width) * t.height * 3);
        stbi_image_free(pixels);
        return t;
    }
    bool empty() const { return rgb.empty(); }

    /// Bilinear sample at texture coordinates (u wraps around, v is clamped), channels 0..1.
    Colour sample(double u, double v) const {
        double x = (u - std::floor(u)) * width - 0.5, y = std::clamp(v, 0.0, 1.0) * (height - 1);
        int x0 = int(std::floor(x)), y0 = int(std::floor(y));
        double fx = x - x0, fy = y - y0;
        Colour out{};
        for (int dy = 0; dy < 2; ++dy)
            for (int dx = 0; dx < 2; ++dx) {
                int px = ((x0 + dx) % width + width) % width, py = std::min(y0 + dy, height - 1);
                double w = (dx ? fx : 1 - fx) * (dy ? fy : 1 - fy);
                for (int c = 0; c < 3; ++c) out[c] += w * rgb[(std::size_t(py) * width + px) * 3 + c] / 255.0;
            }
        return out;
    }
};

/// The colour of one point of the icon, in units of the icon's width (0..1 across and down).
Colour shade(const Texture& earth, const Texture& stars, double x, double y) {
    // The star field's middle band, widened to fill the square, darkened to stay behind the Earth.
    Colour sky = stars.sample(0.35 + 0.3 * x, 0.3 + 0.4 * y);
    for (double& c : sky) c *= 0.8;

    const double cx = 0.5, cy = 0.5, radius = 0.36;
    double nx = (x - cx) / radius, ny = (cy - y) / radius;
    double r2 = nx * nx + ny * ny;
    if (r2 > 1) {
        // A faint blue halo just outside the limb.
        double glow = std::exp(-(std::sqrt(r2) - 1) * 18) * 0.35;
        return {sky[0] + glow * 0.3, sky[1] + glow * 0.55, sky[2] + glow};
    }
    double nz = std::sqrt(1 - r2);
    // Turn the globe 23 degrees about the view axis and spin it so the Atlantic faces the viewer.
    const double tilt = 23.0 * pi / 180.0;
    double tx = nx * std::cos(tilt) - ny * std::sin(tilt), ty = nx * std::sin(tilt) + ny * std::cos(tilt);
    double longitude = std::atan2(tx, nz) + 0.6, latitude = std::asin(std::clamp(ty, -1.0, 1.0));
    Colour surface = earth.sample(longitude / (2 * pi) + 0.5, 0.5 - latitude / pi);

    // Light from the upper left and a little in front; a soft terminator and some ambient light.
    double lx = -0.55, ly = 0.45, lz = 0.7, length = std::sqrt(lx * lx + ly * ly + lz * lz);
    double diffuse = std::max(0.0, (nx * lx + ny * ly + nz * lz) / length);
    double light = 0.08 + 0.95 * std::pow(diffuse, 0.8);
    double rim = std::pow(1 - nz, 3) * 0.25;  // atmosphere towards the limb
    return {surface[0] * light + rim * 0.3, surface[1] * light + rim * 0.55, surface[2] * light + rim};
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: app-icon <art.scnassets folder> <output.png>\n");
        return 2;
    }
    const std::string assets = argv[1];
    Texture earth = Texture::load(assets + "/Earth/Earth.png"), stars = Texture::load(assets + "/Stars/Stars.png");
    if (earth.empty() || stars.empty()) {
        std::fprintf(stderr, "app-icon: cannot read Earth/Earth.png and Stars/Stars.png in %s\n", assets.c_str());
        return 1;
    }
    std::vector<unsigned char> image(std::size_t(iconSize) * iconSize * 3);
    for (int py = 0; py < iconSize; ++py)
        for (int px = 0; px < iconSize; ++px) {
            Colour sum{};
            for (int sy = 0; sy < samplesPerAxis; ++sy)
                for (int sx = 0; sx < samplesPerAxis; ++sx) {
                    Colour c = shade(earth, stars, (px + (sx + 0.5) / samplesPerAxis) / iconSize,
                                     (py + (sy + 0.5) / samplesPerAxis) / iconSize);
                    for (int k = 0; k < 3; ++k) sum[k] += c[k];
                }
            for (int k = 0; k < 3; ++k) {
                double v = sum[k] / (samplesPerAxis * samplesPerAxis);
                image[(std::size_t(py) * iconSize + px) * 3 + k] =
                    static_cast<unsigned char>(std::lround(std::clamp(v, 0.0, 1.0) * 255));
            }
        }
    if (!stbi_write_png(argv[2], iconSize, iconSize, 3, image.data(), iconSize * 3)) {
        std::fprintf(stderr, "app-icon: cannot write %s\n", argv[2]);
        return 1;
    }
    return 0;
}
