// The renderer against hand-made scenes: where things land on the picture, colours, culling,
// the camera image and the debug overlays.

#include "platform/memory/MemoryPlatform.h"
#include "render/Snapshot.h"
#include "tests/support/Shapes.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>

namespace {

using namespace orrery;
using memory::MemoryNode;
using render::Image;
using render::RenderOptions;

constexpr int kWidth = 195, kHeight = 422;  // half the screen in points: 2 points a pixel

struct Rgb {
    int r, g, b;
};

Rgb pixel(const Image& image, double x, double y) {
    const std::size_t i =
        (static_cast<std::size_t>(y) * static_cast<std::size_t>(image.width) + static_cast<std::size_t>(x)) * 4;
    return {image.rgba[i], image.rgba[i + 1], image.rgba[i + 2]};
}

/// How many pixels within x0..x1, y0..y1 (by default the whole picture) `predicate` holds for.
template <class Predicate>
int countWhere(const Image& image, Predicate predicate, double x0 = 0, double y0 = 0, double x1 = 1e9,
               double y1 = 1e9) {
    int n = 0;
    for (int y = 0; y < image.height; ++y)
        for (int x = 0; x < image.width; ++x)
            n += x >= x0 && x <= x1 && y >= y0 && y <= y1 && predicate(pixel(image, x, y));
    return n;
}

using orrery::testing::cube;

class RendererTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        setenv("LIBGL_ALWAYS_SOFTWARE", "1", 1);
        headless = std::make_unique<render::HeadlessRenderer>();
    }
    static void TearDownTestSuite() { headless.reset(); }

    memory::MemoryPlatform platform{std::filesystem::temp_directory_path()};
    std::shared_ptr<memory::MemoryScene> scene = std::make_shared<memory::MemoryScene>();

    void SetUp() override { platform.view->currentScene = scene; }

    /// A node under `parent` (by default the scene's root) with `geometry` if any, evenly scaled.
    std::shared_ptr<MemoryNode> add(std::shared_ptr<SCNGeometry> geometry, SCNVector3 at, float scale,
                                    const std::shared_ptr<MemoryNode>& parent = nullptr) {
        auto node = MemoryNode::make();
        if (geometry) node->assignGeometry(std::move(geometry));
        node->assignPosition(at);
        node->assignScale({scale, scale, scale});
        (parent ? parent : scene->root())->appendChild(node);
        return node;
    }
    void addCube(SCNVector3 at, const UIColor& colour, float scale = 0.2f) { add(cube(colour), at, scale); }

    Image render(const RenderOptions& options) {
        return headless->render(platform.view->frame(), kWidth, kHeight, options);
    }
    /// The picture pixel of a world position, through the simulator's own camera projection.
    std::pair<double, double> pixelOf(SCNVector3 world) const {
        const auto point = platform.view->camera.project(world);
        EXPECT_TRUE(point.has_value());
        return {point->x / 2.0, point->y / 2.0};
    }
    Rgb seen(const Image& image, SCNVector3 world) const {
        const auto [x, y] = pixelOf(world);
        return pixel(image, x, y);
    }

    static inline std::unique_ptr<render::HeadlessRenderer> headless;
};

const RenderOptions kSceneOnly{false, false, false};

TEST_F(RendererTest, MeshesLandWhereTheCameraProjectsThemInTheirOwnColour) {
    // sRGB colour components come out as given: unshaded under the neutral ambient light.
    addCube({0.4f, 0.3f, -3}, {1, 0, 0, 1});
    addCube({-0.4f, -0.5f, -2}, {0, 0.5, 1, 1});
    platform.view->camera.yaw = 0.1f;
    platform.view->camera.pitch = -0.05f;
    const Image image = render(kSceneOnly);
    const Rgb red = seen(image, {0.4f, 0.3f, -3}), blue = seen(image, {-0.4f, -0.5f, -2});
    EXPECT_EQ(red.r, 255);
    EXPECT_EQ(red.g, 0);
    EXPECT_NEAR(blue.g, 128, 1);
    EXPECT_EQ(blue.b, 255);
    // Away from both: the cleared black.
    const Rgb empty = pixel(image, 5, 5);
    EXPECT_EQ(empty.r + empty.g + empty.b, 0);
}

TEST_F(RendererTest, NodesFollowTheirParentsTransform) {
    auto parent = add(nullptr, {0, 0, -4}, 1);
    parent->assignRotation({0, 1, 0, 1.5707963f});     // its +x turns to -z
    add(cube({0, 1, 0, 1}), {0, 1, 1}, 0.3f, parent);  // world (1, 1, -4)
    const Image image = render(kSceneOnly);
    EXPECT_EQ(seen(image, {1, 1, -4}).g, 255);
    EXPECT_EQ(seen(image, {0, 1, -3}).g, 0);  // where the child would be without the turn
}

TEST_F(RendererTest, BackFacesAreCulledSoAnOutwardBoxIsInvisibleFromInside) {
    addCube({0, 0, 0}, {1, 1, 1, 1}, 4.0f);
    EXPECT_EQ(pixel(render(kSceneOnly), kWidth / 2, kHeight / 2).r, 0);
}

TEST_F(RendererTest, TranslucentColoursBlendOverWhatIsBehind) {
    addCube({0, 0, -4}, {1, 1, 1, 1}, 1.0f);
    addCube({0, 0, -2}, {0, 0, 0, 0.5}, 0.3f);
    EXPECT_NEAR(pixel(render(kSceneOnly), kWidth / 2, kHeight / 2).r, 130, 69);  // well between black and white
}

TEST_F(RendererTest, CameraImageShowsTheRoomBehindTheContent) {
    const Image bare = render(kSceneOnly);
    EXPECT_EQ(pixel(bare, kWidth / 2, kHeight - 5).r, 0);
    const Image room = render({true, false, false});
    // Below the horizon the floor, above it a wall: lit differently, neither black.
    const Rgb floor = pixel(room, kWidth / 2, kHeight - 5), wall = pixel(room, kWidth / 2, kHeight / 2 - 20);
    EXPECT_GT(floor.r, 60);
    EXPECT_GT(wall.r, 150);
    EXPECT_GT(floor.r, floor.b);  // wooden boards
    // Content is never hidden by the room: a cube behind the far wall still shows.
    addCube({0, 0, -8}, {0, 0, 1, 1}, 1.0f);
    EXPECT_EQ(pixel(render({true, false, false}), kWidth / 2, kHeight / 2).b, 255);
}

TEST_F(RendererTest, FeaturePointsAndAnchorsAppearOnlyWhenAsked) {
    platform.view->camera.pitch = -0.6f;
    auto yellow = [](Rgb p) { return p.r > 200 && p.g > 150 && p.b < 60; };
    auto red = [](Rgb p) { return p.r > 100 && p.g < 40 && p.b < 40; };  // a thin line, partly covered
    EXPECT_EQ(countWhere(render(kSceneOnly), yellow), 0);
    EXPECT_GT(countWhere(render({false, true, false}), yellow), 50);

    platform.view->arSession.anchors.push_back(std::make_shared<ARAnchor>(makeTranslation({0.3f, -1.4f, -2})));
    EXPECT_EQ(countWhere(render(kSceneOnly), red), 0);
    const Image axes = render({false, false, true});
    const auto [x, y] = pixelOf({0.33f, -1.4f, -2});
    EXPECT_GT(countWhere(axes, red, int(x) - 2, int(y) - 2, int(x) + 2, int(y) + 2), 0);  // near the anchor
}

TEST_F(RendererTest, TextIsDrawnInsideTheBoxTheHitTestUses) {
    auto geometry = std::make_shared<memory::MemoryTextGeometry>(nullptr, "Hello\nWorld", 0.2);
    geometry->font = UIFont{"Optima", 1.0};
    geometry->material->diffuseProperty->contents = UIColor::orangeColor();
    add(geometry, {-0.5f, 0, -4}, 0.3f);
    const Image image = render(kSceneOnly);

    const SCNBoundingBox box = geometry->boundingBox();
    auto worldOf = [&](float x, float y) { return SCNVector3{-0.5f + 0.3f * x, 0.3f * y, -4 + 0.3f * box.max.z}; };
    const auto [left, top] = pixelOf(worldOf(box.min.x, box.max.y));
    const auto [right, bottom] = pixelOf(worldOf(box.max.x, box.min.y));
    const auto lit = [](Rgb p) { return p.r + p.g + p.b > 0; };
    const int inside = countWhere(image, lit, left - 1, top - 1, right + 1, bottom + 1);
    EXPECT_GT(inside, 100);
    EXPECT_EQ(countWhere(image, lit), inside);                                          // nothing outside the box
    const auto notOrange = [](Rgb p) { return p.r > 250 && std::abs(p.g - 128) > 2; };  // solid glyph pixels
    EXPECT_EQ(countWhere(image, notOrange, left - 1, top - 1, right + 1, bottom + 1), 0);
    // The glyphs reach the box's edges: a box drawn tighter would miss some of them.
    EXPECT_GT(countWhere(
                  image, [](Rgb p) { return p.r > 0; }, int(right - 1), int(top), int(right - 1), int(bottom)),
              0);
}

TEST_F(RendererTest, PicturesAreTheSameEveryTime) {
    addCube({0.1f, 0, -2}, {0.2, 0.7, 0.3, 1}, 0.5f);
    const Image first = render({true, true, true});
    EXPECT_EQ(first.rgba, render({true, true, true}).rgba);
}

}  // namespace
