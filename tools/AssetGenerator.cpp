// orrery-assetgen OUTDIR [FONT]: writes every model and texture under OUTDIR/art.scnassets.
// The output depends on nothing but the program and the font, so running it twice
// gives the same bytes.

#include "AssetGen.h"

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
/// Saturn's rings in planet radii.
constexpr double kRingInner = 1.24, kRingOuter = 2.27;
/// Button slab: 2 x 0.5 face with a little thickness so it stands out as a key.
constexpr double kButtonWidth = 2.0, kButtonDepth = 0.5, kButtonThickness = 0.08;

const char* const kDefaultFont = "/usr/share/fonts/truetype/dejavu/DejaVuSans-Bold.ttf";

const std::vector<std::string> kBodies{"Stars",   "Sun",    "Mercury", "Venus",   "Earth", "EarthNight",
                                       "Moon",    "Mars",   "Ceres",   "Jupiter", "Saturn", "Uranus",
                                       "Neptune", "Pluto",  "Haumea",  "Makemake", "Eris"};

struct ButtonSpec {
    std::string key, label;
};
const std::vector<ButtonSpec> kButtons{
    {"SolarSystem", "Solar System"}, {"Help", "Help"},       {"Sun", "Sun"},         {"Mercury", "Mercury"},
    {"Venus", "Venus"},              {"Earth", "Earth"},     {"EarthNight", "Earth Night"},
    {"Moon", "Moon"},                {"Mars", "Mars"},       {"Ceres", "Ceres"},     {"Jupiter", "Jupiter"},
    {"Saturn", "Saturn"},            {"Uranus", "Uranus"},   {"Neptune", "Neptune"}, {"Pluto", "Pluto"},
    {"Haumea", "Haumea"},            {"Makemake", "Makemake"}, {"Eris", "Eris"},
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

void writeBody(const std::filesystem::path& assets, const std::string& key) {
    const std::filesystem::path folder = assets / bodyFolder(key);
    std::filesystem::create_directories(folder);
    const bool stars = key == "Stars";
    Model model{key + "Body", {}};
    MeshPart sphere{key + "Mesh", uvSphere(stars ? kStarsRadius : kBodyRadius, kSegments, kRings, stars), key + ".png"};
    sphere.emissive = stars || key == "Sun";
    model.parts.push_back(std::move(sphere));
    writeImage(folder / (key + ".png"), bodyTexture(key));
    if (key == "Saturn") {
        MeshPart rings{"SaturnRingsMesh", annulus(kBodyRadius * kRingInner, kBodyRadius * kRingOuter, 64),
                       "SaturnRings.png"};
        rings.transparent = true;
        model.parts.push_back(std::move(rings));
        writeImage(folder / "SaturnRings.png", ringTexture());
    }
    writeText(folder / (key + ".dae"), colladaDocument(model));
}

void writeButton(const std::filesystem::path& assets, const ButtonSpec& button, const std::filesystem::path& font) {
    const std::filesystem::path folder = assets / "Buttons" / buttonFolder(button.key);
    std::filesystem::create_directories(folder);
    const std::string name = button.key + "Button";
    const Image face = buttonTexture(button.label, font);
    // The slab's edges sample the frame colour in the middle of the left border.
    const double edgeU = 4.0 / face.width, edgeV = 0.5;
    Model model{name + "Panel", {}};
    model.parts.push_back({name + "Mesh", slab(kButtonWidth, kButtonThickness, kButtonDepth, edgeU, edgeV), name + ".png"});
    writeImage(folder / (name + ".png"), face);
    writeText(folder / (name + ".dae"), colladaDocument(model));
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 2 || argc > 3) {
        std::fprintf(stderr, "usage: orrery-assetgen OUTDIR [FONT]\n");
        return 2;
    }
    try {
        const std::filesystem::path assets = std::filesystem::path(argv[1]) / "art.scnassets";
        const std::filesystem::path font = argc == 3 ? argv[2] : kDefaultFont;
        // Check the font before writing anything, so a bad call leaves no half-written tree.
        if (!std::filesystem::is_regular_file(font)) {
            std::fprintf(stderr, "orrery-assetgen: no font at %s\n", font.string().c_str());
            return 2;
        }
        for (const auto& key : kBodies) writeBody(assets, key);
        for (const auto& button : kButtons) writeButton(assets, button, font);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "orrery-assetgen: %s\n", e.what());
        return 1;
    }
    return 0;
}
