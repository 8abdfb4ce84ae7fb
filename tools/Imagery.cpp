// Textures made from the freely licensed maps in Debian's data packages. Each source file is
// recorded with its checksum, so a changed package is refused instead of silently giving other
// pictures, and each texel is sampled through the same sphere mapping the meshes use.

#include "AssetGen.h"

#include <openssl/evp.h>
#include <stb_image.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <memory>
#include <numbers>
#include <stdexcept>

namespace assetgen {

namespace {

const std::vector<MapSource> kSources{
    {"Sun", "stellarium-data", "/usr/share/stellarium/textures/sun.png",
     "6cd4c1ea90d6deb14470e1555cbb216be6c3f7d8a89f5fc3e2c2f73ba7b90870", MapKind::globe, 512, 256},
    {"Mercury", "stellarium-data", "/usr/share/stellarium/textures/mercury.png",
     "8cc03e6c739f68189f92b6476180307b8a91a6d901a524b6461afe6f909d9b56", MapKind::globe, 512, 256},
    {"Venus", "stellarium-data", "/usr/share/stellarium/textures/venus.png",
     "05ebf0c35d9ba2b46756213f3fd36c83467064db46b79fcaf88d60ee6cc3c95f", MapKind::globe, 512, 256},
    {"Earth", "xplanet-images", "/usr/share/xplanet/images/earth.jpg",
     "d4dc80a6ef571939d0abe04a9bed3d3d1e6cd63e59514be1c5e43a6b069e6f1e", MapKind::globe, 1024, 512},
    {"EarthNight", "xplanet-images", "/usr/share/xplanet/images/night.jpg",
     "7caeb19e8a1d78ea569dde2b0f960abb3ce419d26a2e96517d588eb2579e42b8", MapKind::globe, 1024, 512},
    {"Moon", "stellarium-data", "/usr/share/stellarium/textures/moon.png",
     "ac1babed42b42f7a50b925ec87dd12c11d4ccc99364ff5724ce44a2af0661e94", MapKind::globe, 1024, 512},
    {"Mars", "stellarium-data", "/usr/share/stellarium/textures/mars.png",
     "01ba38fe108bc19041c6bdc8abcb613cafd9031380a332b365ac4e94553cae7d", MapKind::globe, 512, 256},
    {"Ceres", "stellarium-data", "/usr/share/stellarium/textures/ceres.png",
     "b297e5c1194b8e6b1526b311d5f7701ba3282264f06e59d1130d833946f53ceb", MapKind::globe, 512, 256},
    {"Jupiter", "stellarium-data", "/usr/share/stellarium/textures/jupiter.png",
     "7fd91cee3b6b8003c5268e327bcdf7188b9297132fa8ca1dc78a2da8d119c911", MapKind::globe, 512, 256},
    {"Saturn", "stellarium-data", "/usr/share/stellarium/textures/saturn.png",
     "77484ecdf29853361b27324147ae42610a47c68843b53f9d6a80fcf44f08fa5c", MapKind::globe, 512, 256},
    {"SaturnRings", "stellarium-data", "/usr/share/stellarium/textures/saturn_rings_radial.png",
     "dd291d9cbf72e88aecf2a28359b6c0dafb054a76125db972202d829b095517da", MapKind::strip, 256, 2},
    {"Uranus", "stellarium-data", "/usr/share/stellarium/textures/uranus.png",
     "296bfb7e726aacee36b0b7e3b102f14f0d618eb9181489fae4fb88ec454d4d5f", MapKind::globe, 512, 256},
    {"Neptune", "stellarium-data", "/usr/share/stellarium/textures/neptune.png",
     "b7647fd7975198a6e5a4857b13151b13cfd13224af2e2899f6ec313aca851551", MapKind::globe, 512, 256},
    {"Pluto", "stellarium-data", "/usr/share/stellarium/textures/pluto.png",
     "1322814e8b61dd7ee89ad3981c02bdde44bc1655ccb1fdd9635d20e5d134cc62", MapKind::globe, 512, 256},
    {"Haumea", "stellarium-data", "/usr/share/stellarium/textures/haumea.png",
     "ccb40bb0a7eabd37e892df53ee3a595622ceb13847a0f14b5b9eab83ae029788", MapKind::globe, 512, 256},
    {"Eris", "stellarium-data", "/usr/share/stellarium/textures/eris.png",
     "aa656cbe047b808b565cd4303ea6b3cb24e1a226591320a4c3ba64d84e95fb0a", MapKind::globe, 512, 256},
    {"Stars", "stellarium-data", "/usr/share/stellarium/textures/milkyway.png",
     "81253a296a12b327d586a52731cd7427b02ae707c9120579a54785c12fb011eb", MapKind::sky, 2048, 1024},
};

std::string readBytes(const std::string& file) {
    std::ifstream in(file, std::ios::binary);
    if (!in) return {};
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

std::string sha256Hex(const std::string& bytes) {
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned int length = 0;
    if (EVP_Digest(bytes.data(), bytes.size(), digest, &length, EVP_sha256(), nullptr) != 1)
        throw std::runtime_error("SHA-256 failed");
    std::string hex;
    char pair[3];
    for (unsigned int i = 0; i < length; ++i) {
        std::snprintf(pair, sizeof pair, "%02x", digest[i]);
        hex += pair;
    }
    return hex;
}

/// The source's bytes after checking them against the recorded checksum.
std::string checkedBytes(const MapSource& source) {
    std::string bytes = readBytes(source.file);
    if (bytes.empty()) throw std::runtime_error(source.file + " is missing: install " + source.package);
    if (sha256Hex(bytes) != source.sha256)
        throw std::runtime_error(source.file + " differs from the recorded version of " + source.package);
    return bytes;
}

Image decode(const std::string& bytes, int channels, const std::string& file) {
    int width = 0, height = 0, stored = 0;
    std::unique_ptr<stbi_uc, void (*)(void*)> pixels(
        stbi_load_from_memory(reinterpret_cast<const stbi_uc*>(bytes.data()), static_cast<int>(bytes.size()), &width,
                              &height, &stored, channels),
        stbi_image_free);
    if (!pixels) throw std::runtime_error("cannot decode " + file);
    Image image(width, height, channels);
    std::copy_n(pixels.get(), image.pixels.size(), image.pixels.begin());
    return image;
}

/// Bilinear sample of `map` at (s, t) in [0, 1), rows top to bottom; columns wrap, rows clamp.
std::array<double, 4> sample(const Image& map, double s, double t) {
    const double x = s * map.width - 0.5, y = std::clamp(t * map.height - 0.5, 0.0, map.height - 1.0);
    const double fx = std::floor(x), fy = std::floor(y);
    const double wx = x - fx, wy = y - fy;
    const int x0 = ((static_cast<int>(fx) % map.width) + map.width) % map.width, x1 = (x0 + 1) % map.width;
    const int y0 = static_cast<int>(fy), y1 = std::min(y0 + 1, map.height - 1);
    const auto texel = [&](int tx, int ty) {
        return &map.pixels[(static_cast<std::size_t>(ty) * map.width + tx) * map.channels];
    };
    std::array<double, 4> out{};
    for (int c = 0; c < map.channels; ++c) {
        const double top = texel(x0, y0)[c] * (1 - wx) + texel(x1, y0)[c] * wx;
        const double bottom = texel(x0, y1)[c] * (1 - wx) + texel(x1, y1)[c] * wx;
        out[c] = top * (1 - wy) + bottom * wy;
    }
    return out;
}

double srgbToLinear(double v) { return v <= 0.04045 ? v / 12.92 : std::pow((v + 0.055) / 1.055, 2.4); }
double linearToSrgb(double v) { return v <= 0.0031308 ? v * 12.92 : 1.055 * std::pow(v, 1 / 2.4) - 0.055; }

/// The texture of a sphere model from an equirectangular map: every texel averages the map over
/// the directions the mesh shows it at. A globe map has east to the right (seen from outside);
/// a sky map has east to the left (seen from inside), as the sky is, and is transparent where
/// the sky is dark (skyTexel).
Image sphereFromMap(const Image& map, const MapSource& source) {
    const bool inside = source.kind == MapKind::sky;
    Image out(source.width, source.height, textureChannels(source.kind));
    const int steps = std::max(1, (map.width + out.width - 1) / out.width);
    for (int y = 0; y < out.height; ++y)
        for (int x = 0; x < out.width; ++x) {
            std::array<double, 4> sum{};
            for (int j = 0; j < steps; ++j)
                for (int i = 0; i < steps; ++i) {
                    const double u = (x + (i + 0.5) / steps) / out.width, v = (y + (j + 0.5) / steps) / out.height;
                    const auto direction = inside ? insideSphereDirection(u, v) : sphereDirection(u, v);
                    const auto [east, south] = sphereTexel(direction);
                    const auto s = sample(map, inside ? 1.0 - east : east, south);
                    for (int c = 0; c < 3; ++c) sum[c] += s[c];
                }
            std::uint8_t* p = out.at(x, y);
            for (int c = 0; c < 3; ++c) sum[c] /= steps * steps;
            if (inside) {
                const auto texel = skyTexel({sum[0], sum[1], sum[2]});
                std::copy(texel.begin(), texel.end(), p);
            } else {
                for (int c = 0; c < 3; ++c) p[c] = static_cast<std::uint8_t>(std::lround(sum[c]));
            }
        }
    return out;
}

}  // namespace

std::array<std::uint8_t, 4> skyTexel(const std::array<double, 3>& srgb) {
    std::array<double, 3> linear{};
    for (int c = 0; c < 3; ++c) linear[c] = srgbToLinear(std::clamp(srgb[c] / 255.0, 0.0, 1.0));
    // The colour is divided by the opacity as stored, so that the two bytes recompose the light.
    const double alpha = std::round(std::max({linear[0], linear[1], linear[2]}) * 255) / 255;
    std::array<std::uint8_t, 4> texel{};
    for (int c = 0; c < 3; ++c) {
        const double colour = alpha > 0 ? std::min(1.0, linear[c] / alpha) : 0.0;
        texel[c] = static_cast<std::uint8_t>(std::lround(linearToSrgb(colour) * 255));
    }
    texel[3] = static_cast<std::uint8_t>(std::lround(alpha * 255));
    return texel;
}

std::array<std::uint8_t, 3> skyLight(const std::uint8_t* texel) {
    std::array<std::uint8_t, 3> light{};
    for (int c = 0; c < 3; ++c)
        light[c] = static_cast<std::uint8_t>(
            std::lround(linearToSrgb(srgbToLinear(texel[c] / 255.0) * (texel[3] / 255.0)) * 255));
    return light;
}

const std::vector<MapSource>& mapSources() { return kSources; }

const MapSource* mapSourceFor(const std::string& texture) {
    const auto it =
        std::find_if(kSources.begin(), kSources.end(), [&](const MapSource& s) { return s.texture == texture; });
    return it == kSources.end() ? nullptr : &*it;
}

std::string sourceProblem(const MapSource& source) {
    try {
        checkedBytes(source);
        return {};
    } catch (const std::exception& e) {
        return e.what();
    }
}

Image mapTexture(const MapSource& source) {
    const std::string bytes = checkedBytes(source);
    if (source.kind == MapKind::strip) {
        Image strip = decode(bytes, 4, source.file);
        if (strip.width != source.width || strip.height != source.height)
            throw std::runtime_error(source.file + " has an unexpected size");
        return strip;
    }
    return sphereFromMap(decode(bytes, 3, source.file), source);
}

}  // namespace assetgen
