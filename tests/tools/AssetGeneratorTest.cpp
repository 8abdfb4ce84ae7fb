// The asset generator reproduces the committed models and textures exactly, and the textures
// made from maps put every place where it is on the sphere.

#include "AssetGen.h"

#include "tests/support/Programs.h"

#include <gtest/gtest.h>
#include <stb_image.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace {

namespace fs = std::filesystem;

const fs::path kAssets = fs::path(ORRERY_SOURCE_DIR) / "art.scnassets";
const std::string kGenerator = ORRERY_ASSETGEN_BINARY;

using orrery::testing::filesBelow;
using orrery::testing::readFile;

class AssetGenerator : public ::testing::Test {
protected:
    /// Runs the generator with `arguments`; its exit status.
    int run(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), kGenerator);
        return orrery::testing::runProgram(arguments, scratch_.path).status;
    }
    orrery::testing::TempDir scratch_;
    const fs::path& out_ = scratch_.path;
};

TEST_F(AssetGenerator, OutputMatchesCommittedAssets) {
    // With the data packages installed as recorded, every file is compared. Without them (the
    // usual case: they are large), every file that needs no map is; the tests below check the
    // committed map textures themselves.
    const bool mapsInstalled = run({"--check-maps"}) == 0;
    ASSERT_EQ(mapsInstalled ? run({out_.string()}) : run({"--without-maps", out_.string()}), 0);
    if (!mapsInstalled) std::printf("note: the map packages are not installed; map textures were not regenerated\n");
    const auto generated = filesBelow(out_ / "art.scnassets");
    auto committed = filesBelow(kAssets);
    committed.erase("CREDITS.md");
    int models = 0, textures = 0;
    for (const auto& [name, path] : committed) {
        models += path.extension() == ".dae";
        textures += path.extension() == ".png";
        if (!mapsInstalled && path.extension() == ".png" && assetgen::mapSourceFor(path.stem().string())) {
            EXPECT_FALSE(generated.contains(name)) << name << " was made without its map";
            continue;
        }
        EXPECT_TRUE(generated.contains(name)) << name << " is committed but no longer generated";
    }
    for (const auto& [name, path] : generated) {
        SCOPED_TRACE(name);
        ASSERT_TRUE(committed.contains(name)) << "generated but not committed";
        EXPECT_TRUE(readFile(path) == readFile(committed.at(name)))
            << "differs from the committed file: run tools/regenerate-assets.sh";
    }
    // 35 models with one texture each, plus Saturn's rings.
    EXPECT_EQ(std::pair(models, textures), std::pair(35, 36));
}

/// The committed texture with this file name (each name is used once in the folder).
fs::path committedTexture(const std::string& fileName) {
    for (const auto& [name, path] : filesBelow(kAssets))
        if (path.filename() == fileName) return path;
    return {};
}

TEST(AssetFiles, MapTexturesHaveTheirRecordedFormats) {
    for (const auto& source : assetgen::mapSources()) {
        SCOPED_TRACE(source.texture);
        int width = 0, height = 0, channels = 0;
        ASSERT_TRUE(stbi_info(committedTexture(source.texture + ".png").c_str(), &width, &height, &channels));
        EXPECT_EQ(std::tuple(width, height, channels),
                  std::tuple(source.width, source.height, assetgen::textureChannels(source.kind)));
    }
}

TEST(SkyTexel, GivesTheMapsColourBackOverBlackAndLetsTheDarkThrough) {
    const auto linear = [](double byte) {
        const double v = byte / 255;
        return v <= 0.04045 ? v / 12.92 : std::pow((v + 0.055) / 1.055, 2.4);
    };
    const std::vector<std::array<double, 3>> colours{{0, 0, 0},      {255, 255, 255}, {40, 40, 40}, {3, 3, 3},
                                                     {200, 100, 50}, {10, 30, 120},   {255, 0, 0},  {90, 85, 80}};
    for (const auto& srgb : colours) {
        SCOPED_TRACE(::testing::Message() << srgb[0] << "," << srgb[1] << "," << srgb[2]);
        const auto texel = assetgen::skyTexel(srgb);
        const double alpha = texel[3] / 255.0;
        // Opaque exactly where the map is at full brightness.
        EXPECT_EQ(texel[3] == 255, std::max({srgb[0], srgb[1], srgb[2]}) == 255);
        // Over black, in linear light: alpha x colour is the map's light within a byte's rounding.
        for (int c = 0; c < 3; ++c)
            EXPECT_NEAR(alpha * linear(texel[c]), linear(srgb[c]), 0.5 / 255 + 0.004 * linear(srgb[c])) << c;
    }
}

struct Rgb {
    int r, g, b;
};

/// The texel of a committed body texture at a place on the body, found through the generator's
/// own mapping from a surface point to the sphere's texture coordinates.
Rgb texelAt(const std::string& fileName, double latitude, double longitude) {
    int width = 0, height = 0, channels = 0;
    std::unique_ptr<stbi_uc, void (*)(void*)> pixels(
        stbi_load(committedTexture(fileName).c_str(), &width, &height, &channels, 3), stbi_image_free);
    if (!pixels) return {-1, -1, -1};
    const auto [u, v] = assetgen::sphereTexel(assetgen::surfaceDirection(latitude, longitude));
    const int x = std::min(width - 1, static_cast<int>(u * width)),
              y = std::min(height - 1, static_cast<int>(v * height));
    const stbi_uc* p = pixels.get() + (static_cast<std::size_t>(y) * width + x) * 3;
    return {p[0], p[1], p[2]};
}

TEST(AssetFiles, EarthMapsShowPlacesWhereTheyAre) {
    using Looks = bool (*)(Rgb);
    const Looks ocean = [](Rgb c) { return c.b > c.r + 20 && c.b > c.g; }, land = [](Rgb c) { return c.r > c.b + 20; };
    const Looks cityLights = [](Rgb c) { return c.r + c.g + c.b > 60; },
                darkLand = [](Rgb c) { return c.r + c.g + c.b < 30; };
    struct Place {
        const char* name;
        double latitude, longitude;
        const char* file;
        Looks looks;
    };
    // Each place's mirror images (east for west, north for south) show something else, so a
    // mirrored or shifted map fails here.
    for (const Place& place :
         std::vector<Place>{{"Gulf of Guinea", 0, 3, "Earth.png", ocean},
                            {"Sahara", 25, 25, "Earth.png", land},
                            {"North Atlantic (mirrored Sahara)", 25, -25, "Earth.png", ocean},
                            {"Australia", -25, 134, "Earth.png", land},
                            {"Philippine Sea (Australia turned north)", 25, 134, "Earth.png", ocean},
                            {"South Pacific (mirrored Australia)", -25, -134, "Earth.png", ocean},
                            {"Nile delta by night", 30.5, 31, "EarthNight.png", cityLights},
                            {"Sahara by night", 25, 25, "EarthNight.png", darkLand},
                            {"Atlantic by night (mirrored Nile delta)", 30.5, -31, "EarthNight.png", darkLand}}) {
        SCOPED_TRACE(place.name);
        const Rgb c = texelAt(place.file, place.latitude, place.longitude);
        ASSERT_GE(c.r, 0) << "cannot read " << place.file;
        EXPECT_TRUE(place.looks(c)) << c.r << ' ' << c.g << ' ' << c.b;
    }
}

TEST(AssetFiles, CreditsNameEveryMap) {
    const std::string credits = readFile(kAssets / "CREDITS.md");
    for (const auto& source : assetgen::mapSources()) {
        EXPECT_NE(credits.find(source.file), std::string::npos) << source.file;
        EXPECT_NE(credits.find(source.package), std::string::npos) << source.package;
    }
}

TEST_F(AssetGenerator, FailsCleanlyOnBadArguments) {
    EXPECT_NE(run({}), 0);
    EXPECT_NE(run({out_.string(), "/no/such/font.ttf"}), 0);
    EXPECT_NE(run({"--no-such-option", out_.string()}), 0);
    EXPECT_FALSE(fs::exists(out_ / "art.scnassets"));
}

}  // namespace
