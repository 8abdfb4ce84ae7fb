// Two pieces of the renderer that need no context: which boxes the camera cannot see, and the
// smaller texture levels averaged in linear light.

#include "render/FrustumCull.h"
#include "render/TextureLevels.h"

#include <gtest/gtest.h>

#include <numbers>
#include <string>
#include <vector>

namespace orrery::render {
namespace {

TEST(FrustumCull, BoxesWhollyBeyondOnePlaneAreOutsideOthersAreKept) {
    // A camera at the origin looking along -z, 60 degrees high, square, from 1 mm to 1 km.
    const Matrix viewProjection = perspective(std::numbers::pi_v<float> / 3, 1.0f, 0.001f, 1000.0f);
    struct Case {
        const char* what;
        std::array<float, 3> lo, hi;
        bool outside;
    };
    const std::vector<Case> cases{
        {"ahead", {-0.1f, -0.1f, -2.1f}, {0.1f, 0.1f, -1.9f}, false},
        {"behind the camera", {-0.1f, -0.1f, 1.9f}, {0.1f, 0.1f, 2.1f}, true},
        {"far to the left", {-5.1f, -0.1f, -2.1f}, {-4.9f, 0.1f, -1.9f}, true},
        {"far to the right", {4.9f, -0.1f, -2.1f}, {5.1f, 0.1f, -1.9f}, true},
        {"high above", {-0.1f, 4.9f, -2.1f}, {0.1f, 5.1f, -1.9f}, true},
        {"below", {-0.1f, -5.1f, -2.1f}, {0.1f, -4.9f, -1.9f}, true},
        {"beyond the far plane", {-0.1f, -0.1f, -2000.0f}, {0.1f, 0.1f, -1500.0f}, true},
        {"straddling the left edge", {-1.5f, -0.1f, -2.1f}, {-1.0f, 0.1f, -1.9f}, false},
        {"around the camera (the star sphere)", {-50, -50, -50}, {50, 50, 50}, false},
        {"one corner inside", {0.5f, 0.5f, -2.0f}, {3.0f, 3.0f, -1.0f}, false},
    };
    for (const Case& c : cases) EXPECT_EQ(outsideView(viewProjection, c.lo, c.hi), c.outside) << c.what;
}

TEST(TextureLevels, SmallerLevelsAverageInLinearLightDownToOneTexel) {
    // Black and white side by side average to half the light, which sRGB encodes as 188, not 128.
    TextureLevel level{2, 1, {0, 0, 0, 255, 255, 255, 255, 0}};
    const TextureLevel half = halfLevel(level);
    ASSERT_EQ(std::pair(half.width, half.height), std::pair(1, 1));
    EXPECT_EQ(half.rgba, (std::vector<std::uint8_t>{188, 188, 188, 128}));

    // A 4 x 2 level halves to 2 x 1, each texel from its own 2 x 2 block.
    TextureLevel wide{4, 2, {}};
    for (int y = 0; y < 2; ++y)
        for (int x = 0; x < 4; ++x) {
            const std::uint8_t v = x < 2 ? 60 : 200;
            wide.rgba.insert(wide.rgba.end(), {v, v, v, 255});
        }
    const TextureLevel halved = halfLevel(wide);
    ASSERT_EQ(std::pair(halved.width, halved.height), std::pair(2, 1));
    EXPECT_EQ(halved.rgba, (std::vector<std::uint8_t>{60, 60, 60, 255, 200, 200, 200, 255}));

    for (const float encoded : {0.0f, 0.02f, 0.5f, 0.9f, 1.0f})
        EXPECT_NEAR(linearToSrgb(srgbToLinear(encoded)), encoded, 1e-5f);
}

TEST(TextureLevels, AnImageLoadsWithEveryLevelAndItsTransparency) {
    const std::string root = ORRERY_SOURCE_DIR;
    const TextureImage rings = loadTexture(root + "/art.scnassets/Saturn/SaturnRings.png");
    ASSERT_FALSE(rings.levels.empty());
    EXPECT_TRUE(rings.translucent);
    EXPECT_EQ(rings.levels.back().width * rings.levels.back().height, 1);
    EXPECT_EQ(rings.levels.size(), 9u);  // 256 x 2 down to 1 x 1
    const TextureImage mars = loadTexture(root + "/art.scnassets/Mars/Mars.png");
    ASSERT_FALSE(mars.levels.empty());
    EXPECT_FALSE(mars.translucent);
    EXPECT_TRUE(loadTexture(root + "/no-such-image.png").levels.empty());
}

}  // namespace
}  // namespace orrery::render
