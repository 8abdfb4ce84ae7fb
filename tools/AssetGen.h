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
/// The texture coordinate (u, v) of an outward unit direction: the inverse of `sphereDirection`.
std::array<double, 2> sphereTexel(const std::array<double, 3>& direction);
/// The direction at which a sphere seen from inside shows texture coordinate (u, v): its map is
/// mirrored so that it reads the right way round from the centre.
std::array<double, 3> insideSphereDirection(double u, double v);
/// The outward direction of the point at a latitude and east longitude (degrees) of a body whose
/// map has longitude 0 in its middle and east to the right.
std::array<double, 3> surfaceDirection(double latitudeDegrees, double longitudeDegrees);

// --- Textures from maps ------------------------------------------------------

enum class MapKind {
    globe,  ///< equirectangular surface map, north up, east to the right, longitude 0 in the middle
    sky,    ///< equirectangular sky map, north up, east to the left (the sky seen from inside);
            ///< its texture is transparent where the sky is dark (skyTexel)
    strip,  ///< an image used as it is (Saturn's ring profile: left edge inner, RGBA)
};

/// Channels of the texture made from a map of this kind: RGB for globes, RGBA otherwise.
constexpr int textureChannels(MapKind kind) { return kind == MapKind::globe ? 3 : 4; }

/// A sky texel for a colour of a map of light on black (sRGB bytes): as opaque as its
/// brightest channel in linear light, its colour that light divided by the opacity. Blended in
/// linear light over black, as the device blends, it gives the map's colour back; over the
/// camera image, the darkness between the stars lets the room through.
std::array<std::uint8_t, 4> skyTexel(const std::array<double, 3>& srgb);

/// A map in one of Debian's data packages and the texture made from it.
struct MapSource {
    std::string texture;  ///< texture key: a body key ("Earth", "Stars"...) or "SaturnRings"
    std::string package;  ///< the Debian package that installs `file`
    std::string file;
    std::string sha256;  ///< checksum of the package's version the committed texture was made from
    MapKind kind;
    int width, height;  ///< size of the written texture
};

/// Every map the generator reads.
const std::vector<MapSource>& mapSources();
/// The map behind a texture key; null for the procedural textures.
const MapSource* mapSourceFor(const std::string& texture);
/// Empty when the source file is installed with its recorded checksum; else the reason it is not.
std::string sourceProblem(const MapSource& source);
/// The texture made from the source (checked first; throws when it is missing or changed).
Image mapTexture(const MapSource& source);

// --- Procedural textures -----------------------------------------------------

/// The procedural surface texture of a body that has no map (keys as in the catalogue: "Makemake").
Image bodyTexture(const std::string& key);
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
    std::string name;  ///< node and geometry name, e.g. "SunMesh"
    Mesh mesh;
    std::string image;      ///< texture file name beside the model, e.g. "Sun.png"
    bool emissive = false;  ///< the texture also lights the surface (the Sun, the stars)
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

// --- The browser's copy ------------------------------------------------------

/// JPEG quality of the browser's copy. Above 90 stb_image_write keeps full colour resolution (no
/// chroma subsampling, which smears the Earth's coasts); at 95 every texture is within 1.6 levels
/// of its PNG on average and the copy compresses to about 1.8 MB (docs/assets.md).
constexpr int kWebJpegQuality = 95;

/// The light of a sky texel (RGBA bytes) over black, as sRGB bytes: what skyTexel made it from.
std::array<std::uint8_t, 3> skyLight(const std::uint8_t* texel);

/// One file of the browser's copy: paths relative to the two folders, and sizes in bytes.
struct WebCopyFile {
    std::string source, written;
    std::uintmax_t sourceBytes = 0, writtenBytes = 0;
};

/// Copies the asset folder `source` to `target` (which must not exist yet) for the browser,
/// where download size counts: an opaque PNG becomes `<stem>.jpg` and a sky texture (a
/// translucent one that skyTexel gives back from its light) `<stem>.sky.jpg` holding that
/// light, each when the JPEG is the smaller; every other file is copied as it is. The models
/// keep naming the PNGs; the renderer's loader reads the JPEG beside a missing PNG. Files in
/// path order, the same bytes on every run; throws on failure, leaving `target` absent.
std::vector<WebCopyFile> writeWebCopy(const std::filesystem::path& source, const std::filesystem::path& target);

}  // namespace assetgen
