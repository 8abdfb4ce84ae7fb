// The browser's copy of the assets (orrery-assetgen --web-copy): every file is there under its
// own name or as the JPEG standing in for it, the JPEGs look like the PNGs they replace, the
// star field stays clear where the sky is dark, and what must stay exact does.

#include "AssetGen.h"

#include "tests/support/Programs.h"

#include <gtest/gtest.h>
#include <stb_image.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

const fs::path kAssets = fs::path(ORRERY_SOURCE_DIR) / "art.scnassets";
const std::string kGenerator = ORRERY_ASSETGEN_BINARY;

using orrery::testing::filesBelow;
using orrery::testing::readFile;

int runGenerator(const std::vector<std::string>& arguments, const fs::path& dir) {
    std::vector<std::string> argv{kGenerator};
    argv.insert(argv.end(), arguments.begin(), arguments.end());
    return orrery::testing::runProgram(argv, dir).status;
}

struct Pixels {
    int width = 0, height = 0;
    std::vector<stbi_uc> rgba;
};

Pixels decode(const fs::path& file) {
    Pixels image;
    int channels = 0;
    std::unique_ptr<stbi_uc, void (*)(void*)> pixels(stbi_load(file.c_str(), &image.width, &image.height, &channels, 4),
                                                     stbi_image_free);
    if (pixels) image.rgba.assign(pixels.get(), pixels.get() + std::size_t(image.width) * image.height * 4);
    return image;
}

/// The copy is made once for all the tests of a run: it takes about a second.
class WebCopy : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        scratch_ = new orrery::testing::TempDir;
        status_ = runGenerator({"--web-copy", kAssets.string(), scratch_->path.string()}, scratch_->path);
    }
    static void TearDownTestSuite() {
        delete scratch_;
        scratch_ = nullptr;
    }
    void SetUp() override { ASSERT_EQ(status_, 0); }
    static fs::path copy() { return scratch_->path / "art.scnassets"; }

    static inline orrery::testing::TempDir* scratch_ = nullptr;
    static inline int status_ = -1;
};

TEST_F(WebCopy, EveryFileIsThereAsItselfOrAsTheJpegStandingInForIt) {
    const auto copied = filesBelow(copy());
    std::size_t accounted = 0;
    for (const auto& [name, path] : filesBelow(kAssets)) {
        SCOPED_TRACE(name);
        std::vector<std::string> found;
        std::vector<std::string> candidates{name};
        if (path.extension() == ".png") {
            const std::string stem = name.substr(0, name.size() - 4);
            candidates.insert(candidates.end(), {stem + ".jpg", stem + ".sky.jpg"});
        }
        for (const auto& candidate : candidates)
            if (copied.contains(candidate)) found.push_back(candidate);
        ASSERT_EQ(found.size(), 1u) << "found " << found.size() << " counterparts";
        ++accounted;
        // A file kept under its own name is kept byte for byte.
        if (found[0] == name) {
            EXPECT_TRUE(readFile(copied.at(name)) == readFile(path));
        }
    }
    EXPECT_EQ(copied.size(), accounted) << "the copy has files the folder has not";

    // The same bytes on every run.
    orrery::testing::TempDir again;
    ASSERT_EQ(runGenerator({"--web-copy", kAssets.string(), again.path.string()}, again.path), 0);
    const auto second = filesBelow(again.path / "art.scnassets");
    ASSERT_EQ(second.size(), copied.size());
    for (const auto& [name, path] : copied) {
        ASSERT_TRUE(second.contains(name)) << name;
        EXPECT_TRUE(readFile(second.at(name)) == readFile(path)) << name << " differs between two runs";
    }
}

TEST_F(WebCopy, TexturesShipInTheirFormatAndLookLikeTheirPngs) {
    // What each kind of texture must become; the rest of the folder follows from the same rules.
    const std::vector<std::pair<std::string, std::string>> expected{
        {"Earth/Earth.png", "Earth/Earth.jpg"},                // opaque
        {"Stars/Stars.png", "Stars/Stars.sky.jpg"},            // a sky: its light over black
        {"Saturn/SaturnRings.png", "Saturn/SaturnRings.png"},  // translucent, not a sky
    };
    for (const auto& [png, shipped] : expected) EXPECT_TRUE(fs::exists(copy() / shipped)) << png << " -> " << shipped;

    std::uintmax_t textureBytes = 0;
    for (const auto& [name, path] : filesBelow(kAssets)) {
        if (path.extension() != ".png") continue;
        SCOPED_TRACE(name);
        const std::string stem = name.substr(0, name.size() - 4);
        const fs::path jpg = copy() / (stem + ".jpg"), sky = copy() / (stem + ".sky.jpg");
        const fs::path shipped = fs::exists(jpg) ? jpg : fs::exists(sky) ? sky : copy() / name;
        textureBytes += fs::file_size(shipped);
        if (shipped == copy() / name) continue;  // kept as it is (checked above)

        const Pixels original = decode(path), replaced = decode(shipped);
        ASSERT_FALSE(original.rgba.empty());
        ASSERT_EQ(std::pair(replaced.width, replaced.height), std::pair(original.width, original.height));
        EXPECT_LT(fs::file_size(shipped), fs::file_size(path)) << "a JPEG only where it is the smaller";
        const std::size_t texels = original.rgba.size() / 4;
        double colourError = 0, alphaError = 0;
        std::size_t clear = 0, veiled = 0;
        for (std::size_t i = 0; i < texels; ++i) {
            const stbi_uc* before = &original.rgba[i * 4];
            const stbi_uc* after = &replaced.rgba[i * 4];
            if (shipped == jpg) {
                ASSERT_EQ(before[3], 255) << "only opaque textures become plain JPEGs";
                for (int c = 0; c < 3; ++c) colourError += std::abs(before[c] - after[c]);
                continue;
            }
            // A sky: what is drawn over black is the light, and the opacity the renderer makes
            // again from it is skyTexel's.
            const auto light = assetgen::skyLight(before);
            for (int c = 0; c < 3; ++c) colourError += std::abs(light[c] - after[c]);
            const int alpha = assetgen::skyTexel({double(after[0]), double(after[1]), double(after[2])})[3];
            alphaError += std::abs(alpha - before[3]);
            clear += before[3] == 0;
            veiled += before[3] == 0 && alpha > 0;
        }
        // Bounds a little above what quality 95 measures (at most 1.6 and 0.1); a lower quality or
        // a colour shift fails them.
        EXPECT_LT(colourError / (texels * 3.0), 2.0) << "mean difference per channel";
        EXPECT_LT(alphaError / texels, 0.2) << "mean difference of the sky's opacity";
        // Where the sky was clear the room must show: compression noise must not veil it.
        EXPECT_LE(veiled, clear / 1000) << "of " << clear << " clear texels";
    }
    // The textures do not compress further; with the models (about 0.2 MB compressed) the
    // browser's download stays well within its budget.
    EXPECT_LT(textureBytes, 2'000'000u);
}

TEST(WebCopyArguments, RefusesWhatItCannotDoAndLeavesNothingHalfMade) {
    orrery::testing::TempDir scratch;
    const fs::path existing = scratch.path / "art.scnassets";
    fs::create_directories(existing);
    std::ofstream(existing / "keep.txt") << "kept";
    // A copy over a folder that exists (the asset folder itself, for one) is refused.
    EXPECT_NE(runGenerator({"--web-copy", kAssets.string(), scratch.path.string()}, scratch.path), 0);
    EXPECT_EQ(readFile(existing / "keep.txt"), "kept");
    EXPECT_EQ(std::distance(fs::directory_iterator(existing), fs::directory_iterator()), 1);

    const fs::path out = scratch.path / "out";
    EXPECT_NE(runGenerator({"--web-copy", (scratch.path / "no-such-folder").string(), out.string()}, scratch.path), 0);
    EXPECT_NE(runGenerator({"--web-copy", kAssets.string()}, scratch.path), 0);
    // A texture that does not decode stops the copy, and nothing is left of it.
    const fs::path broken = scratch.path / "broken";
    fs::create_directories(broken / "Body");
    std::ofstream(broken / "Body" / "Body.png") << "not an image";
    EXPECT_NE(runGenerator({"--web-copy", broken.string(), out.string()}, scratch.path), 0);
    EXPECT_FALSE(fs::exists(out / "art.scnassets"));
    EXPECT_FALSE(fs::exists(out / "art.scnassets.partial"));
}

TEST(WebCopyRules, AlphaThatIsNotASkysStaysInAPng) {
    // Mostly opaque and dim, with one translucent texel: its light alone would pass for a sky's,
    // but made translucent again from that light it would let the room through everywhere.
    orrery::testing::TempDir scratch;
    const fs::path source = scratch.path / "source";
    fs::create_directories(source);
    assetgen::Image image(256, 128, 4);
    for (int y = 0; y < image.height; ++y)
        for (int x = 0; x < image.width; ++x) {
            const double v = assetgen::fbm(7, x / 16.0, y / 16.0, 0, 6);
            assetgen::put(image, x, y, {0.2 + 0.2 * v, 0.3 * v, 0.1}, x == 0 && y == 0 ? 0.5 : 1.0);
        }
    ASSERT_TRUE(assetgen::writePng(source / "Dim.png", image));
    ASSERT_EQ(runGenerator({"--web-copy", source.string(), scratch.path.string()}, scratch.path), 0);
    const auto copied = filesBelow(scratch.path / "art.scnassets");
    ASSERT_EQ(copied.size(), 1u);
    EXPECT_EQ(copied.begin()->first, "Dim.png");
}

}  // namespace
