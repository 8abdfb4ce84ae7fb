#include "AssetGen.h"

#include <stb_image_write.h>

#include <algorithm>
#include <cmath>
#include <numbers>

namespace assetgen {

namespace {

std::uint32_t mix32(std::uint32_t h) {
    h ^= h >> 16;
    h *= 0x7feb352dU;
    h ^= h >> 15;
    h *= 0x846ca68bU;
    h ^= h >> 16;
    return h;
}

double fade(double t) { return t * t * (3.0 - 2.0 * t); }

}  // namespace

Colour mix(Colour a, Colour b, double t) {
    return {a.r + (b.r - a.r) * t, a.g + (b.g - a.g) * t, a.b + (b.b - a.b) * t};
}

void put(Image& image, int x, int y, Colour c, double alpha) {
    auto byte = [](double v) { return static_cast<std::uint8_t>(std::lround(std::clamp(v, 0.0, 1.0) * 255.0)); };
    std::uint8_t* p = image.at(x, y);
    p[0] = byte(c.r);
    p[1] = byte(c.g);
    p[2] = byte(c.b);
    if (image.channels == 4) p[3] = byte(alpha);
}

bool writePng(const std::filesystem::path& file, const Image& image) {
    stbi_write_png_compression_level = 9;
    return stbi_write_png(file.string().c_str(), image.width, image.height, image.channels, image.pixels.data(),
                          image.width * image.channels) != 0;
}

double hash01(std::uint32_t seed, std::int32_t a, std::int32_t b, std::int32_t c, std::int32_t d) {
    std::uint32_t h = mix32(seed * 0x9e3779b9U + static_cast<std::uint32_t>(a) * 0x85ebca6bU);
    h = mix32(h ^ (static_cast<std::uint32_t>(b) * 0xc2b2ae35U) ^ (static_cast<std::uint32_t>(c) * 0x27d4eb2fU) ^
              (static_cast<std::uint32_t>(d) * 0x165667b1U));
    return static_cast<double>(h >> 8) * (1.0 / 16777216.0);
}

double valueNoise(std::uint32_t seed, double x, double y, double z) {
    const double fx = std::floor(x), fy = std::floor(y), fz = std::floor(z);
    const auto ix = static_cast<std::int32_t>(fx), iy = static_cast<std::int32_t>(fy),
               iz = static_cast<std::int32_t>(fz);
    const double tx = fade(x - fx), ty = fade(y - fy), tz = fade(z - fz);
    auto corner = [&](int dx, int dy, int dz) { return hash01(seed, ix + dx, iy + dy, iz + dz); };
    auto lerp = [](double a, double b, double t) { return a + (b - a) * t; };
    const double x00 = lerp(corner(0, 0, 0), corner(1, 0, 0), tx);
    const double x10 = lerp(corner(0, 1, 0), corner(1, 1, 0), tx);
    const double x01 = lerp(corner(0, 0, 1), corner(1, 0, 1), tx);
    const double x11 = lerp(corner(0, 1, 1), corner(1, 1, 1), tx);
    return lerp(lerp(x00, x10, ty), lerp(x01, x11, ty), tz);
}

double fbm(std::uint32_t seed, double x, double y, double z, int octaves) {
    double sum = 0, weight = 1, total = 0, frequency = 1;
    for (int i = 0; i < octaves; ++i) {
        // Offset each octave so the lattices do not line up at the origin.
        sum += weight * valueNoise(seed + static_cast<std::uint32_t>(i) * 1013U, x * frequency + i * 17.31,
                                   y * frequency - i * 9.77, z * frequency + i * 5.13);
        total += weight;
        weight *= 0.5;
        frequency *= 2.0;
    }
    return sum / total;
}

std::array<double, 3> sphereDirection(double u, double v) {
    const double theta = v * std::numbers::pi;
    const double phi = u * 2.0 * std::numbers::pi - std::numbers::pi;
    return {std::sin(theta) * std::sin(phi), std::cos(theta), std::sin(theta) * std::cos(phi)};
}

std::array<double, 2> sphereTexel(const std::array<double, 3>& d) {
    const double longitude = std::atan2(d[0], d[2]);
    const double colatitude = std::acos(std::clamp(d[1], -1.0, 1.0));
    double u = (longitude + std::numbers::pi) / (2.0 * std::numbers::pi);
    if (u >= 1.0) u -= 1.0;
    return {u, colatitude / std::numbers::pi};
}

std::array<double, 3> insideSphereDirection(double u, double v) { return sphereDirection(1.0 - u, v); }

std::array<double, 3> surfaceDirection(double latitudeDegrees, double longitudeDegrees) {
    return sphereDirection(0.5 + longitudeDegrees / 360.0, 0.5 - latitudeDegrees / 180.0);
}

}  // namespace assetgen
