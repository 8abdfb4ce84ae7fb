// Textures whose PNG the browser's copy of the assets replaced: the loader reads the JPEG beside
// the missing PNG, and a sky's light becomes the same translucent texels the PNG held.

#include "render/GlMath.h"
#include "render/TextureLevels.h"

#include "tests/support/Programs.h"

#include <gtest/gtest.h>
#include <stb/stb_image.h>
#include <stb/stb_image_write.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace orrery::render {
namespace {

namespace fs = std::filesystem;

using Rgb = std::array<int, 3>;

constexpr int kSize = 8;

/// A uniform 8 x 8 image of `colour` written as PNG or JPEG by the file's name.
void writeUniform(const fs::path& file, Rgb colour) {
    std::vector<std::uint8_t> rgb;
    for (int i = 0; i < kSize * kSize; ++i)
        for (int c : colour) rgb.push_back(static_cast<std::uint8_t>(c));
    const bool written = file.extension() == ".png"
                             ? stbi_write_png(file.c_str(), kSize, kSize, 3, rgb.data(), kSize * 3)
                             : stbi_write_jpg(file.c_str(), kSize, kSize, 3, rgb.data(), 100);
    ASSERT_TRUE(written) << file;
}

float linear(int byte) { return srgbToLinear(static_cast<float>(byte) / 255.0f); }

TEST(TextureFallback, AMissingPngIsReadFromTheJpegBesideIt) {
    struct Case {
        const char* what;
        std::vector<std::pair<const char*, Rgb>> files;  ///< written beside the asked-for T.png
        std::optional<Rgb> light;                        ///< what is drawn over black; none: no texture
        bool translucent;
    };
    const Rgb red{200, 40, 30}, blue{20, 60, 210}, dimLight{40, 60, 90};
    const std::vector<Case> cases{
        {"the PNG", {{"T.png", red}}, red, false},
        {"the PNG before a JPEG", {{"T.png", red}, {"T.jpg", blue}}, red, false},
        {"the JPEG when the PNG is missing", {{"T.jpg", blue}}, blue, false},
        {"the plain JPEG before a sky", {{"T.jpg", blue}, {"T.sky.jpg", dimLight}}, blue, false},
        {"a sky's light, translucent again", {{"T.sky.jpg", dimLight}}, dimLight, true},
        {"a sky's darkness, clear", {{"T.sky.jpg", {0, 0, 0}}}, Rgb{0, 0, 0}, true},
        {"no image at all", {{"Other.jpg", blue}}, std::nullopt, false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        testing::TempDir dir;
        for (const auto& [name, colour] : c.files) writeUniform(dir.path / name, colour);
        const TextureImage image = loadTexture((dir.path / "T.png").string());
        if (!c.light) {
            EXPECT_TRUE(image.levels.empty());
            continue;
        }
        ASSERT_FALSE(image.levels.empty());
        EXPECT_EQ(image.translucent, c.translucent);
        const TextureLevel& top = image.levels.front();
        ASSERT_EQ(std::pair(top.width, top.height), std::pair(kSize, kSize));
        const std::uint8_t* texel = &top.rgba[top.rgba.size() / 2];
        const float alpha = static_cast<float>(texel[3]) / 255.0f;
        if (!c.translucent) {
            EXPECT_EQ(texel[3], 255);
        }
        // Over black, in linear light, the texel gives the light back within the JPEG's loss;
        // a sky is as opaque as its brightest channel.
        float brightest = 0;
        for (int k = 0; k < 3; ++k) {
            EXPECT_NEAR(linearToSrgb(linear(texel[k]) * alpha) * 255.0f, static_cast<float>((*c.light)[k]), 3.0f) << k;
            brightest = std::max(brightest, linear((*c.light)[k]));
        }
        if (c.translucent) {
            EXPECT_NEAR(alpha, brightest, 2.0f / 255.0f);
        }
    }
}

TEST(TextureFallback, TheStarFieldsLightGivesItsTexelsBack) {
    // The committed star field's light over black, stored losslessly under the sky's name (stb
    // reads a file by its content), must load as the committed texture: the loader's way from
    // light to texel is the asset generator's.
    const std::string committed = std::string(ORRERY_SOURCE_DIR) + "/art.scnassets/Stars/Stars.png";
    int width = 0, height = 0, channels = 0;
    std::unique_ptr<stbi_uc, void (*)(void*)> pixels(stbi_load(committed.c_str(), &width, &height, &channels, 4),
                                                     stbi_image_free);
    ASSERT_TRUE(pixels);
    const std::size_t texels = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
    std::vector<std::uint8_t> light(texels * 3);
    for (std::size_t i = 0; i < texels; ++i)
        for (std::size_t c = 0; c < 3; ++c)
            light[i * 3 + c] = static_cast<std::uint8_t>(
                std::lround(linearToSrgb(linear(pixels.get()[i * 4 + c]) * pixels.get()[i * 4 + 3] / 255.0f) * 255.0f));
    testing::TempDir dir;
    ASSERT_TRUE(stbi_write_png((dir.path / "Stars.sky.jpg").c_str(), width, height, 3, light.data(), width * 3));

    const TextureImage expected = loadTexture(committed), made = loadTexture((dir.path / "Stars.png").string());
    ASSERT_FALSE(made.levels.empty());
    EXPECT_TRUE(made.translucent);
    const auto& a = expected.levels.front().rgba;
    const auto& b = made.levels.front().rgba;
    ASSERT_EQ(a.size(), b.size());
    int worstAlpha = 0, worstColour = 0;
    for (std::size_t i = 0; i < a.size(); i += 4) {
        worstAlpha = std::max(worstAlpha, std::abs(a[i + 3] - b[i + 3]));
        for (std::size_t c = 0; c < 3; ++c) worstColour = std::max(worstColour, std::abs(a[i + c] - b[i + c]));
    }
    EXPECT_EQ(worstAlpha, 0);
    EXPECT_LE(worstColour, 2);  // a dim texel's colour is its light divided by a small opacity
}

}  // namespace
}  // namespace orrery::render
