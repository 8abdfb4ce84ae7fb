// Procedural surface textures. Each body samples seeded noise on the unit sphere
// (not on the flat image), so the maps have no seam at the date line and no
// pinching at the poles.

#include "AssetGen.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <numbers>
#include <stdexcept>

namespace assetgen {

namespace {

using Dir = std::array<double, 3>;

constexpr int kBodyWidth = 512, kBodyHeight = 256;

double smoothstep(double a, double b, double x) {
    const double t = std::clamp((x - a) / (b - a), 0.0, 1.0);
    return t * t * (3.0 - 2.0 * t);
}

double dot(const Dir& a, const Dir& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }

double noiseAt(std::uint32_t seed, const Dir& d, double scale, int octaves) {
    return fbm(seed, d[0] * scale, d[1] * scale, d[2] * scale, octaves);
}

/// Latitude in radians (+pi/2 at the north pole).
double latitude(const Dir& d) { return std::asin(std::clamp(d[1], -1.0, 1.0)); }

/// A uniformly distributed direction from two hash values.
Dir hashedDirection(std::uint32_t seed, int index) {
    const double z = 2.0 * hash01(seed, index, 1) - 1.0;
    const double phi = 2.0 * std::numbers::pi * hash01(seed, index, 2);
    const double r = std::sqrt(std::max(0.0, 1.0 - z * z));
    return {r * std::cos(phi), z, r * std::sin(phi)};
}

Image paintSphere(const std::function<Colour(const Dir&)>& shade) {
    Image image(kBodyWidth, kBodyHeight, 3);
    for (int y = 0; y < image.height; ++y)
        for (int x = 0; x < image.width; ++x) {
            const Dir d = sphereDirection((x + 0.5) / image.width, (y + 0.5) / image.height);
            put(image, x, y, shade(d));
        }
    return image;
}

/// Crater field: darkened floors with a bright rim, sizes from a power law.
struct Craters {
    std::vector<Dir> centres;
    std::vector<double> radii;  // angular, radians
    std::vector<double> reach;  // cosine of the widest angle a crater affects

    Craters(std::uint32_t seed, int count, double smallest, double largest) {
        for (int i = 0; i < count; ++i) {
            centres.push_back(hashedDirection(seed, i));
            const double h = hash01(seed, i, 3);
            radii.push_back(smallest * std::pow(largest / smallest, h * h * h));
            reach.push_back(std::cos(radii.back() * 1.4));
        }
    }

    /// Brightness change at `d`: negative on floors, positive on rims.
    double relief(const Dir& d) const {
        double sum = 0;
        for (std::size_t i = 0; i < centres.size(); ++i) {
            const double c = dot(d, centres[i]);
            if (c < reach[i]) continue;
            const double t = std::acos(std::min(1.0, c)) / radii[i];
            sum += t < 1.0 ? -0.16 * (1.0 - t * t) : 0.0;
            sum += 0.08 * std::exp(-((t - 1.0) * (t - 1.0)) / 0.008);
        }
        return sum;
    }
};

Colour shaded(Colour c, double k) { return {c.r * k, c.g * k, c.b * k}; }

/// Land mask of the generated Earth, shared by the day and night maps: 0 sea, 1 land.
double earthLand(const Dir& d) {
    const double n = noiseAt(701, d, 2.1, 6);
    return smoothstep(0.515, 0.535, n);
}

double earthIce(const Dir& d) {
    const double lat = std::abs(latitude(d)) * 180.0 / std::numbers::pi;
    return smoothstep(66.0, 72.0, lat + (noiseAt(709, d, 6.0, 3) - 0.5) * 10.0);
}

Colour sun(const Dir& d) {
    const double granules = noiseAt(11, d, 24.0, 3);
    const double cells = noiseAt(12, d, 5.0, 4);
    Colour c = mix({1.0, 0.42, 0.04}, {1.0, 0.86, 0.38}, std::clamp(0.35 * granules + 0.75 * cells - 0.1, 0.0, 1.0));
    const double lat = std::abs(latitude(d));
    const double spots = smoothstep(0.74, 0.8, noiseAt(13, d, 7.0, 3)) * smoothstep(0.75, 0.2, lat);
    return mix(c, {0.35, 0.12, 0.02}, spots * 0.85);
}

Colour mercury(const Dir& d) {
    static const Craters craters(21, 260, 0.015, 0.22);
    const double base = noiseAt(22, d, 3.0, 6);
    Colour c = mix({0.38, 0.36, 0.34}, {0.66, 0.63, 0.6}, base);
    return shaded(c, 1.0 + craters.relief(d));
}

Colour venus(const Dir& d) {
    const double warp = noiseAt(31, d, 2.5, 4);
    const double lat = latitude(d);
    const double bands = 0.5 + 0.5 * std::sin(lat * 9.0 + warp * 7.0);
    const double swirl = noiseAt(32, {d[0] + warp, d[1], d[2] - warp}, 4.0, 5);
    return mix({0.78, 0.62, 0.36}, {0.97, 0.9, 0.7}, std::clamp(0.55 * bands + 0.6 * swirl - 0.1, 0.0, 1.0));
}

Colour earth(const Dir& d) {
    const double land = earthLand(d);
    const double depth = noiseAt(702, d, 2.1, 6);
    const Colour sea = mix({0.02, 0.08, 0.3}, {0.08, 0.3, 0.6}, smoothstep(0.38, 0.515, depth));
    const double latDeg = std::abs(latitude(d)) * 180.0 / std::numbers::pi;
    const double dry = smoothstep(0.45, 0.65, noiseAt(703, d, 3.0, 4)) * smoothstep(40.0, 20.0, std::abs(latDeg - 24.0));
    Colour ground = mix({0.12, 0.36, 0.1}, {0.3, 0.45, 0.16}, noiseAt(704, d, 8.0, 4));
    ground = mix(ground, {0.72, 0.6, 0.38}, dry);
    Colour c = mix(sea, ground, land);
    c = mix(c, {0.95, 0.97, 1.0}, earthIce(d));
    const double clouds = smoothstep(0.56, 0.72, noiseAt(705, {d[0] * 1.6, d[1] * 3.0, d[2] * 1.6}, 3.0, 6));
    return mix(c, {1.0, 1.0, 1.0}, clouds * 0.8);
}

Colour earthNight(const Dir& d) {
    const double land = earthLand(d);
    const double ice = earthIce(d);
    Colour c = mix({0.004, 0.01, 0.035}, {0.035, 0.04, 0.05}, land);
    // Cities cluster in patches of land away from the ice; within a patch single bright points
    // sit on a dimmer glow.
    const double region = smoothstep(0.5, 0.68, noiseAt(711, d, 4.0, 5));
    const double towns = smoothstep(0.45, 0.8, noiseAt(712, d, 40.0, 2));
    const double sparkle = noiseAt(713, d, 160.0, 1);
    const double light = land * (1.0 - ice) * region * (0.45 * towns + 0.9 * smoothstep(0.62, 0.8, sparkle) * towns);
    return mix(c, {1.0, 0.8, 0.32}, std::clamp(light * 1.6, 0.0, 1.0));
}

Colour moon(const Dir& d) {
    static const Craters craters(51, 320, 0.012, 0.25);
    const double maria = smoothstep(0.55, 0.62, noiseAt(52, d, 1.6, 5));
    Colour c = mix({0.6, 0.6, 0.58}, {0.76, 0.75, 0.73}, noiseAt(53, d, 6.0, 5));
    c = mix(c, {0.32, 0.32, 0.33}, maria * 0.85);
    return shaded(c, 1.0 + craters.relief(d));
}

Colour mars(const Dir& d) {
    static const Craters craters(61, 90, 0.015, 0.12);
    const double dark = smoothstep(0.5, 0.62, noiseAt(62, d, 2.2, 6));
    Colour c = mix({0.76, 0.38, 0.18}, {0.86, 0.52, 0.3}, noiseAt(63, d, 7.0, 4));
    c = mix(c, {0.4, 0.2, 0.12}, dark * 0.8);
    c = shaded(c, 1.0 + 0.6 * craters.relief(d));
    const double cap = smoothstep(0.9, 0.93, std::abs(d[1]) + (noiseAt(64, d, 8.0, 3) - 0.5) * 0.06);
    return mix(c, {0.96, 0.95, 0.93}, cap);
}

Colour ceres(const Dir& d) {
    static const Craters craters(71, 220, 0.02, 0.3);
    Colour c = mix({0.3, 0.29, 0.28}, {0.45, 0.44, 0.42}, noiseAt(72, d, 4.0, 5));
    c = shaded(c, 1.0 + craters.relief(d));
    // The bright salt spots in one crater.
    const double spot = smoothstep(0.9993, 0.9998, dot(d, {0.2, 0.35, 0.915}));
    return mix(c, {0.95, 0.95, 0.92}, spot);
}

/// Banded atmosphere: `palette` colours are cycled across latitude, bent by turbulence.
Colour bands(const Dir& d, std::uint32_t seed, const std::vector<Colour>& palette, double count, double turbulence) {
    const double warp = noiseAt(seed, d, 3.0, 5) - 0.5;
    const double lat = latitude(d) / std::numbers::pi + 0.5;  // 0 south .. 1 north
    double s = (lat + warp * turbulence) * count;
    s -= std::floor(s / palette.size()) * palette.size();
    const auto i = static_cast<std::size_t>(s) % palette.size();
    const double t = smoothstep(0.0, 1.0, s - std::floor(s));
    Colour c = mix(palette[i], palette[(i + 1) % palette.size()], t);
    const double fine = noiseAt(seed + 1, {d[0] * 0.7, d[1] * 6.0, d[2] * 0.7}, 6.0, 4);
    return shaded(c, 0.9 + 0.2 * fine);
}

/// An elliptical storm at latitude/longitude (degrees), with angular half-width and half-height.
double storm(const Dir& d, double latDeg, double lonDeg, double halfWidth, double halfHeight) {
    const double lat = latitude(d);
    const double lon = std::atan2(d[0], d[2]);
    const double dl = (lat - latDeg * std::numbers::pi / 180.0) / halfHeight;
    double dn = lon - lonDeg * std::numbers::pi / 180.0;
    dn = std::remainder(dn, 2.0 * std::numbers::pi) / halfWidth;
    return smoothstep(1.0, 0.6, std::sqrt(dl * dl + dn * dn));
}

Colour jupiter(const Dir& d) {
    Colour c = bands(d, 81,
                     {{0.93, 0.88, 0.78}, {0.76, 0.6, 0.44}, {0.9, 0.82, 0.68}, {0.6, 0.43, 0.32}, {0.96, 0.92, 0.84},
                      {0.72, 0.55, 0.4}},
                     14.0, 0.18);
    return mix(c, {0.78, 0.36, 0.2}, storm(d, -22.0, 30.0, 0.28, 0.12));
}

Colour saturn(const Dir& d) {
    return bands(d, 91, {{0.91, 0.82, 0.6}, {0.82, 0.7, 0.48}, {0.95, 0.88, 0.68}, {0.86, 0.76, 0.55}}, 12.0, 0.06);
}

Colour uranus(const Dir& d) {
    return bands(d, 101, {{0.62, 0.85, 0.88}, {0.58, 0.8, 0.85}, {0.66, 0.88, 0.9}}, 7.0, 0.03);
}

Colour neptune(const Dir& d) {
    Colour c = bands(d, 111, {{0.24, 0.4, 0.86}, {0.2, 0.33, 0.76}, {0.3, 0.47, 0.9}}, 9.0, 0.08);
    c = mix(c, {0.1, 0.16, 0.45}, storm(d, -20.0, -40.0, 0.22, 0.1));
    const double streaks = smoothstep(0.72, 0.8, noiseAt(112, {d[0] * 0.5, d[1] * 8.0, d[2] * 0.5}, 4.0, 3));
    return mix(c, {0.92, 0.95, 1.0}, streaks * 0.7);
}

Colour pluto(const Dir& d) {
    Colour c = mix({0.72, 0.6, 0.46}, {0.86, 0.76, 0.62}, noiseAt(121, d, 4.0, 5));
    const double dark = smoothstep(0.5, 0.6, noiseAt(122, d, 2.0, 5)) * smoothstep(0.6, 0.1, std::abs(d[1]));
    c = mix(c, {0.38, 0.22, 0.14}, dark * 0.85);
    // A pale heart-shaped plain: two overlapping lobes facing the viewer.
    const double lobeA = smoothstep(0.93, 0.96, dot(d, {-0.22, 0.3, 0.93}));
    const double lobeB = smoothstep(0.94, 0.97, dot(d, {0.12, 0.22, 0.97}));
    return mix(c, {0.97, 0.93, 0.88}, std::max(lobeA, lobeB));
}

Colour haumea(const Dir& d) {
    Colour c = mix({0.78, 0.78, 0.8}, {0.92, 0.92, 0.93}, noiseAt(131, d, 5.0, 5));
    return mix(c, {0.55, 0.2, 0.18}, smoothstep(0.96, 0.985, dot(d, {0.5, -0.1, 0.86})));
}

Colour makemake(const Dir& d) {
    return mix({0.58, 0.38, 0.26}, {0.82, 0.62, 0.46}, noiseAt(141, d, 4.0, 6));
}

Colour eris(const Dir& d) {
    return mix({0.84, 0.84, 0.83}, {0.97, 0.97, 0.96}, noiseAt(151, d, 5.0, 5));
}

Image starField() {
    // Wider than the bodies: the sphere is seen from inside at twenty times its size.
    Image image(1024, 512, 3);
    std::vector<Colour> light(static_cast<std::size_t>(image.width) * image.height);
    auto add = [&](int x, int y, Colour c, double k) {
        x = (x % image.width + image.width) % image.width;
        if (y < 0 || y >= image.height) return;
        Colour& p = light[static_cast<std::size_t>(y) * image.width + x];
        p = {p.r + c.r * k, p.g + c.g * k, p.b + c.b * k};
    };
    const Dir galacticPole{0.35, 0.8, 0.48};
    const double poleLength = std::sqrt(dot(galacticPole, galacticPole));
    for (int y = 0; y < image.height; ++y)
        for (int x = 0; x < image.width; ++x) {
            const double v = (y + 0.5) / image.height;
            const Dir d = sphereDirection((x + 0.5) / image.width, v);
            const double g = dot(d, galacticPole) / poleLength;
            const double band = std::exp(-g * g / 0.018) * noiseAt(161, d, 5.0, 5);
            add(x, y, {0.55, 0.6, 0.75}, 0.22 * band * band);
            // Per-pixel chance weighted by the pixel's area on the sphere, denser in the band.
            const double area = std::sin(v * std::numbers::pi);
            if (hash01(162, x, y) >= 0.011 * area * (1.0 + 2.0 * band)) continue;
            const double b = std::pow(hash01(163, x, y), 3.0);
            const double tint = hash01(164, x, y);
            const Colour c = tint < 0.15 ? Colour{0.7, 0.8, 1.0}
                           : tint < 0.8  ? Colour{1.0, 1.0, 1.0}
                           : tint < 0.93 ? Colour{1.0, 0.92, 0.72}
                                         : Colour{1.0, 0.72, 0.6};
            add(x, y, c, 0.25 + 0.75 * b);
            if (b > 0.35) {
                const double halo = 0.45 * b;
                add(x - 1, y, c, halo);
                add(x + 1, y, c, halo);
                add(x, y - 1, c, halo);
                add(x, y + 1, c, halo);
            }
        }
    for (int y = 0; y < image.height; ++y)
        for (int x = 0; x < image.width; ++x) put(image, x, y, light[static_cast<std::size_t>(y) * image.width + x]);
    return image;
}

} // namespace

Image bodyTexture(const std::string& key) {
    if (key == "Stars") return starField();
    static const std::vector<std::pair<std::string, Colour (*)(const Dir&)>> shaders{
        {"Sun", sun},         {"Mercury", mercury}, {"Venus", venus},     {"Earth", earth},
        {"EarthNight", earthNight}, {"Moon", moon}, {"Mars", mars},       {"Ceres", ceres},
        {"Jupiter", jupiter}, {"Saturn", saturn},   {"Uranus", uranus},   {"Neptune", neptune},
        {"Pluto", pluto},     {"Haumea", haumea},   {"Makemake", makemake}, {"Eris", eris},
    };
    for (const auto& [name, shader] : shaders)
        if (name == key) return paintSphere(shader);
    throw std::invalid_argument("no texture for body " + key);
}

Image ringTexture() {
    // Radii in planet radii: C ring, B ring, Cassini division, A ring with the Encke gap.
    constexpr double inner = 1.24, outer = 2.27;
    Image image(512, 16, 4);
    for (int x = 0; x < image.width; ++x) {
        const double r = inner + (outer - inner) * (x + 0.5) / image.width;
        double alpha = r < 1.53 ? 0.25 + 0.2 * smoothstep(1.24, 1.53, r)
                     : r < 1.95 ? 0.85
                     : r < 2.03 ? 0.06
                                : 0.62;
        if (std::abs(r - 2.214) < 0.008) alpha = 0.05;
        alpha *= smoothstep(outer, outer - 0.02, r) * smoothstep(inner, inner + 0.02, r);
        // Fine ringlets.
        const double ringlets = fbm(171, r * 60.0, 0.5, 0.5, 3);
        alpha = std::clamp(alpha * (0.75 + 0.5 * ringlets), 0.0, 1.0);
        const Colour c = shaded(r < 1.53 ? Colour{0.62, 0.56, 0.48} : Colour{0.88, 0.8, 0.64}, 0.85 + 0.3 * ringlets);
        for (int y = 0; y < image.height; ++y) put(image, x, y, c, alpha);
    }
    return image;
}

} // namespace assetgen
