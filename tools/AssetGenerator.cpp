// orrery-assetgen [--without-maps] OUTDIR [FONT]: writes every model and texture under
// OUTDIR/art.scnassets; --without-maps leaves out the textures made from the data packages' maps.
// orrery-assetgen --check-maps: tells whether every map is installed as recorded.
// orrery-assetgen --map-packages: the Debian packages that hold the maps.
// orrery-assetgen --web-copy SRC OUTDIR: copies the asset folder SRC to OUTDIR/art.scnassets for
// the browser, opaque textures as JPEG (writeWebCopy).
// The output depends on nothing but the program, the font and the recorded maps, so running it
// twice gives the same bytes.

#include "AssetGen.h"

#include <algorithm>
#include <cstdio>
#include <exception>
#include <fstream>
#include <string>
#include <vector>

namespace {

using namespace assetgen;

/// Common size of the bodies: one unit across at scale 1.
constexpr double kBodyRadius = 0.5;
/// The star sphere: 2.5 units in radius, 50 m once the scene shows it at twenty times its size.
constexpr double kStarsRadius = 2.5;
constexpr int kSegments = 32, kRings = 16;
/// Saturn's rings in planet radii: the span of the ring profile (74510 to 140390 km) over the
/// equatorial radius (60268 km), so the profile's gaps fall where they are.
constexpr double kRingInner = 74510.0 / 60268.0, kRingOuter = 140390.0 / 60268.0;
/// Button slab: 2 x 0.5 face with a little thickness so it stands out as a key.
constexpr double kButtonWidth = 2.0, kButtonDepth = 0.5, kButtonThickness = 0.08;

const char* const kDefaultFont = "/usr/share/fonts/truetype/dejavu/DejaVuSans-Bold.ttf";

const std::vector<std::string> kBodies{"Stars",   "Sun",   "Mercury", "Venus",    "Earth",  "EarthNight",
                                       "Moon",    "Mars",  "Ceres",   "Jupiter",  "Saturn", "Uranus",
                                       "Neptune", "Pluto", "Haumea",  "Makemake", "Eris"};

struct ButtonSpec {
    std::string key, label;
};
const std::vector<ButtonSpec> kButtons{
    {"SolarSystem", "Solar System"},
    {"Help", "Help"},
    {"Sun", "Sun"},
    {"Mercury", "Mercury"},
    {"Venus", "Venus"},
    {"Earth", "Earth"},
    {"EarthNight", "Earth Night"},
    {"Moon", "Moon"},
    {"Mars", "Mars"},
    {"Ceres", "Ceres"},
    {"Jupiter", "Jupiter"},
    {"Saturn", "Saturn"},
    {"Uranus", "Uranus"},
    {"Neptune", "Neptune"},
    {"Pluto", "Pluto"},
    {"Haumea", "Haumea"},
    {"Makemake", "Makemake"},
    {"Eris", "Eris"},
};

/// The folder of a model inside the asset folder: the night-side Earth shares the Earth's.
std::string bodyFolder(const std::string& key) { return key == "EarthNight" ? "Earth" : key; }
std::string buttonFolder(const std::string& key) { return key == "EarthNight" ? "EarthButton" : key + "Button"; }

void writeText(const std::filesystem::path& file, const std::string& text) {
    std::ofstream out(file, std::ios::binary);
    out << text;
    if (!out) throw std::runtime_error("cannot write " + file.string());
}

void writeImage(const std::filesystem::path& file, const Image& image) {
    if (!writePng(file, image)) throw std::runtime_error("cannot write " + file.string());
}

/// Writes a body's texture from its map or, when it has none, procedurally; with `withMaps` false
/// the textures that need a map are left out.
void writeTexture(const std::filesystem::path& file, const std::string& key, bool withMaps) {
    if (const MapSource* source = mapSourceFor(key)) {
        if (withMaps) writeImage(file, mapTexture(*source));
    } else {
        writeImage(file, bodyTexture(key));
    }
}

void writeBody(const std::filesystem::path& assets, const std::string& key, bool withMaps) {
    const std::filesystem::path folder = assets / bodyFolder(key);
    std::filesystem::create_directories(folder);
    const bool stars = key == "Stars";
    Model model{key + "Body", {}};
    MeshPart sphere{key + "Mesh", uvSphere(stars ? kStarsRadius : kBodyRadius, kSegments, kRings, stars), key + ".png"};
    sphere.emissive = stars || key == "Sun";
    model.parts.push_back(std::move(sphere));
    writeTexture(folder / (key + ".png"), key, withMaps);
    if (key == "Saturn") {
        MeshPart rings{"SaturnRingsMesh", annulus(kBodyRadius * kRingInner, kBodyRadius * kRingOuter, 64),
                       "SaturnRings.png"};
        rings.transparent = true;
        model.parts.push_back(std::move(rings));
        writeTexture(folder / "SaturnRings.png", "SaturnRings", withMaps);
    }
    writeText(folder / (key + ".dae"), colladaDocument(model));
}

/// Prints one line per map ("ok", or the problem); true when all are usable.
bool checkMaps() {
    bool ok = true;
    for (const auto& source : mapSources()) {
        const std::string problem = sourceProblem(source);
        std::printf("%s\n", problem.empty() ? ("ok " + source.file).c_str() : problem.c_str());
        ok = ok && problem.empty();
    }
    return ok;
}

void printMapPackages() {
    std::vector<std::string> packages;
    for (const auto& source : mapSources())
        if (std::find(packages.begin(), packages.end(), source.package) == packages.end())
            packages.push_back(source.package);
    for (const auto& package : packages) std::printf("%s\n", package.c_str());
}

void writeButton(const std::filesystem::path& assets, const ButtonSpec& button, const std::filesystem::path& font) {
    const std::filesystem::path folder = assets / "Buttons" / buttonFolder(button.key);
    std::filesystem::create_directories(folder);
    const std::string name = button.key + "Button";
    const Image face = buttonTexture(button.label, font);
    // The slab's edges sample the frame colour in the middle of the left border.
    const double edgeU = 4.0 / face.width, edgeV = 0.5;
    Model model{name + "Panel", {}};
    model.parts.push_back(
        {name + "Mesh", slab(kButtonWidth, kButtonThickness, kButtonDepth, edgeU, edgeV), name + ".png"});
    writeImage(folder / (name + ".png"), face);
    writeText(folder / (name + ".dae"), colladaDocument(model));
}

/// Writes the browser's copy and prints what became of each texture; the exit status.
int webCopy(const std::filesystem::path& source, const std::filesystem::path& target) {
    if (!std::filesystem::is_directory(source)) {
        std::fprintf(stderr, "orrery-assetgen: %s is not a folder\n", source.string().c_str());
        return 2;
    }
    if (std::filesystem::exists(target)) {
        std::fprintf(stderr, "orrery-assetgen: %s exists already\n", target.string().c_str());
        return 2;
    }
    try {
        std::uintmax_t before = 0, after = 0;
        for (const auto& file : writeWebCopy(source, target)) {
            before += file.sourceBytes;
            after += file.writtenBytes;
            if (file.written != file.source)
                std::printf("%s -> %s: %ju -> %ju bytes\n", file.source.c_str(), file.written.c_str(), file.sourceBytes,
                            file.writtenBytes);
        }
        std::printf("%s: %ju -> %ju bytes\n", target.string().c_str(), before, after);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "orrery-assetgen: %s\n", e.what());
        return 1;
    }
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    std::vector<std::string> arguments(argv + 1, argv + argc);
    if (arguments.size() == 1 && arguments[0] == "--check-maps") return checkMaps() ? 0 : 1;
    if (arguments.size() == 1 && arguments[0] == "--map-packages") {
        printMapPackages();
        return 0;
    }
    if (!arguments.empty() && arguments[0] == "--web-copy") {
        if (arguments.size() != 3) {
            std::fprintf(stderr, "usage: orrery-assetgen --web-copy SRC_SCNASSETS OUTDIR\n");
            return 2;
        }
        return webCopy(arguments[1], std::filesystem::path(arguments[2]) / "art.scnassets");
    }
    const bool withMaps = arguments.empty() || arguments[0] != "--without-maps";
    if (!withMaps) arguments.erase(arguments.begin());
    if (arguments.empty() || arguments.size() > 2 || arguments[0].starts_with("--")) {
        std::fprintf(stderr, "usage: orrery-assetgen [--without-maps] OUTDIR [FONT] | --check-maps | --map-packages"
                             " | --web-copy SRC_SCNASSETS OUTDIR\n");
        return 2;
    }
    try {
        const std::filesystem::path assets = std::filesystem::path(arguments[0]) / "art.scnassets";
        const std::filesystem::path font = arguments.size() == 2 ? arguments[1] : kDefaultFont;
        // Check the inputs before writing anything, so a bad call leaves no half-written tree.
        if (!std::filesystem::is_regular_file(font)) {
            std::fprintf(stderr, "orrery-assetgen: no font at %s\n", font.string().c_str());
            return 2;
        }
        if (withMaps)
            for (const auto& source : mapSources())
                if (const std::string problem = sourceProblem(source); !problem.empty()) {
                    std::fprintf(stderr, "orrery-assetgen: %s (tools/regenerate-assets.sh installs the maps)\n",
                                 problem.c_str());
                    return 2;
                }
        for (const auto& key : kBodies) writeBody(assets, key, withMaps);
        for (const auto& button : kButtons) writeButton(assets, button, font);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "orrery-assetgen: %s\n", e.what());
        return 1;
    }
    return 0;
}
