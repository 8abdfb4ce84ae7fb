#pragma once
// Shared pieces of the asset generator: images, seeded noise, textures, label
// rendering and the COLLADA writer. Everything here is deterministic: no clock,
// no global random state, fixed number formatting.

#include <array>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace assetgen {

/// An 8-bit image, rows top to bottom, `channels` bytes per pixel (3 RGB or 4 RGBA).
struct Image {
    int width = 0, height = 0, channels = 3;
    std::vector<std::uint8_t> pixels;

    Image() = default;
    Image(int w, int h, int c) : width(w), height(h), channels(c), pixels(static_cast<std::size_t>(w) * h * c, 0) {}
    std::uint8_t* at(int x, int y) { return &pixels[(static_cast<std::size_t>(y) * width + x) * channels]; }
};

struct Colour {
    double r = 0, g = 0, b = 0;
};

Colour mix(Colour a, Colour b, double t);
/// Stores a colour (components 0..1, clamped) into a pixel.
void put(Image& image, int x, int y, Colour c, double alpha = 1.0);

/// Writes `image` as PNG; false on I/O failure.
bool writePng(const std::filesystem::path& file, const Image& image);

// --- Noise -------------------------------------------------------------------

/// Integer hash of up to four coordinates and a seed, uniform in [0, 1).
double hash01(std::uint32_t seed, std::int32_t a, std::int32_t b = 0, std::int32_t c = 0, std::int32_t d = 0);
/// Smooth value noise in [0, 1) at a 3-D point.
double valueNoise(std::uint32_t seed, double x, double y, double z);
/// Sum of `octaves` value-noise layers, each twice the frequency and half the weight; result in [0, 1).
double fbm(std::uint32_t seed, double x, double y, double z, int octaves);

// --- Sphere mapping ----------------------------------------------------------

/// The outward unit direction that texture coordinate (u, v) maps to; v = 0 is the north pole,
/// u = 0.5 faces +z. Shared by the sphere mesh and the textures so they line up.
std::array<double, 3> sphereDirection(double u, double v);

// --- Textures ----------------------------------------------------------------

/// The surface texture of a body (keys as in the catalogue: "Sun", "Earth", "EarthNight", "Stars"...).
Image bodyTexture(const std::string& key);
/// Saturn's ring texture: u runs from the inner to the outer edge; RGBA.
Image ringTexture();
/// A button face with its label centred on it.
Image buttonTexture(const std::string& label, const std::filesystem::path& fontFile);

// --- Geometry and COLLADA ----------------------------------------------------

struct Vertex {
    std::array<double, 3> position, normal;
    std::array<double, 2> uv;  ///< texture coordinate, t = 0 at the bottom of the image
};

struct Mesh {
    std::vector<Vertex> vertices;
    std::vector<std::array<std::uint32_t, 3>> triangles;  ///< counter-clockwise seen from the front
};

/// UV sphere; `inward` turns triangles and normals to face the centre.
Mesh uvSphere(double radius, int segments, int rings, bool inward);
/// Flat annulus in the x-z plane, both faces; u runs from the inner to the outer edge.
Mesh annulus(double innerRadius, double outerRadius, int segments);
/// A thin slab centred on the origin: `width` along x, `thickness` along y, `depth` along z.
/// Its top face (+y) shows the whole texture, read with the top of the image towards -z;
/// the other faces sample the texture's border at (`edgeU`, `edgeV`).
Mesh slab(double width, double thickness, double depth, double edgeU, double edgeV);

/// One textured mesh node of a model.
struct MeshPart {
    std::string name;      ///< node and geometry name, e.g. "SunMesh"
    Mesh mesh;
    std::string image;     ///< texture file name beside the model, e.g. "Sun.png"
    bool emissive = false; ///< the texture also lights the surface (the Sun, the stars)
    bool transparent = false;
};

/// One model file: a single top node holding the mesh nodes.
struct Model {
    std::string topNode;  ///< e.g. "SunBody"
    std::vector<MeshPart> parts;
};

/// The COLLADA 1.4.1 document text of a model.
std::string colladaDocument(const Model& model);

/// A number in the fixed format used in the documents: up to five decimals, no trailing zeros, no "-0".
std::string formatNumber(double value);

} // namespace assetgen
