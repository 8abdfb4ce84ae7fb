#include "tests/app/ControllerFixture.h"

#include <gmock/gmock.h>

#include <map>
#include <set>

namespace orrery::scenario {
namespace {

struct Spin {
    double period;
    double direction;
};

// Periods in hours of the rotation periods in the fact texts (Mars kept at 24), signs from "(retrograde)".
const std::map<std::string, Spin> expectedSpins{
    {"Sun", {624, 1}},     {"Mercury", {1416, 1}}, {"Venus", {5832, -1}},  {"Earth", {24, 1}},
    {"EarthNight", {24, 1}}, {"Moon", {648, 1}},   {"Mars", {24, 1}},      {"Ceres", {9, 1}},
    {"Jupiter", {10, 1}},  {"Saturn", {11, 1}},    {"Uranus", {17, -1}},   {"Neptune", {16, 1}},
    {"Pluto", {153, -1}},  {"Haumea", {4, 1}},     {"Makemake", {8, 1}},   {"Eris", {8, 1}}};

/// Checks that `node` runs exactly one spin, under "<name>Animation", freshly started.
void expectOneFreshSpin(const std::shared_ptr<MemoryNode>& node) {
    const std::string name = node->nodeName.value_or("?");
    SCOPED_TRACE(name);
    ASSERT_EQ(node->actions().size(), 1u);
    const auto& running = node->actions().front();
    EXPECT_EQ(running.key, name + "Animation");
    EXPECT_EQ(running.elapsed, 0.0);
    ASSERT_EQ(running.action->type, SCNAction::Type::repeatForever);
    const auto& turn = *running.action->action;
    EXPECT_EQ(turn.type, SCNAction::Type::rotateBy);
    EXPECT_EQ(turn.x, 0.0);
    EXPECT_EQ(turn.z, 0.0);
    EXPECT_EQ(turn.y, expectedSpins.at(name).direction * 6.283185307179586);
    EXPECT_EQ(turn.duration, expectedSpins.at(name).period);
}

struct Place {
    float scale;
    SCNVector3 position;
};

const std::map<std::string, Place> overviewPlaces{
    {"Sun", {12, {-20, 0.5f, -5}}},          {"Mercury", {0.04212f, {-5.9f, 0.5f, -5}}},
    {"Venus", {0.1044f, {-5, 0.5f, -5}}},    {"Earth", {0.11004f, {-4, 0.5f, -5}}},
    {"Moon", {0.03f, {-3.8f, 0.5f, -5}}},    {"Mars", {0.05856f, {-3, 0.5f, -5}}},
    {"Ceres", {0.00816f, {-2.6f, 0.5f, -5}}}, {"Jupiter", {1.23156f, {-0.8f, 0.5f, -5}}},
    {"Saturn", {1.04064f, {3, 0.5f, -5}}},   {"Uranus", {0.44676f, {7, 0.5f, -5}}},
    {"Neptune", {0.42708f, {9.5f, 0.5f, -5}}}, {"Pluto", {0.01968f, {12, 0.5f, -5}}},
    {"Haumea", {0.01404f, {13, 0.5f, -5}}},  {"Makemake", {0.01236f, {13.5f, 0.5f, -5}}},
    {"Eris", {0.02004f, {14, 0.5f, -5}}}};

class ViewModesTest : public ControllerTest {
protected:
    void SetUp() override {
        ControllerTest::SetUp();
        load();
    }

    void expectOverview() {
        for (const auto& [name, place] : overviewPlaces) {
            SCOPED_TRACE(name);
            EXPECT_EQ(countInRoot(name), 1u);
            auto node = root()->findNamed(name);
            ASSERT_NE(node, nullptr);
            EXPECT_EQ(node->nodeScale, (SCNVector3{place.scale, place.scale, place.scale}));
            EXPECT_EQ(node->nodePosition, place.position);
            EXPECT_EQ(node->nodeRotation, (SCNVector4{0, 1, 0, 0}));
            expectOneFreshSpin(node);
        }
        EXPECT_EQ(labelText(), std::string(BodyCatalog::sunText));
    }
};

TEST_F(ViewModesTest, OverviewLaysOutFifteenBodiesAndShowsTheSun) {
    controller.pressButton("SolarSystemButton");
    std::vector<std::string> expected{"Stars"};
    for (const ButtonEntry& row : BodyCatalog::buttons()) expected.emplace_back(row.nodeName);
    // Attaching appends (the Earth moves rather than doubles), in layout order; the new label comes last.
    for (const char* name : {"Sun", "Mercury", "Venus", "Earth", "Moon", "Mars", "Ceres", "Jupiter", "Saturn", "Uranus",
                             "Neptune", "Pluto", "Haumea", "Makemake", "Eris", "planetData"})
        expected.emplace_back(name);
    EXPECT_THAT(rootChildNames(), ::testing::ElementsAreArray(expected));
    expectOverview();
    EXPECT_EQ(mem(controller.nodeEarthNightModel)->parent(), nullptr);
    EXPECT_EQ(mem(controller.nodeStarsModel)->nodeScale, (SCNVector3{20, 20, 20}));
}

TEST_F(ViewModesTest, OverviewTwiceRestoresTheLayoutAndRestartsEverySpin) {
    controller.pressButton("SolarSystemButton");
    const std::size_t children = root()->children().size();
    platform.advance(3.0);
    // Disturb a body by hand: moved, shrunk and stopped.
    auto jupiter = mem(controller.nodeJupiterModel);
    jupiter->nodePosition = {1, 1, 1};
    jupiter->nodeScale = {2, 2, 2};
    jupiter->removeAllActions();
    controller.pressButton("SolarSystemButton");
    EXPECT_EQ(root()->children().size(), children);
    expectOverview();
}

TEST_F(ViewModesTest, PlaceBodyCallsInOrder) {
    platform.log->takeNew();
    controller.placeBody(2, 0.5f, {0, 0, -2});
    std::vector<std::string> ops;
    for (const auto& call : platform.log->takeNew())
        if (call.target == "Venus") ops.push_back(call.op);
    EXPECT_THAT(ops, ::testing::ElementsAre("setScale:", "setRotation:", "setPosition:", "runAction:forKey:"));
    EXPECT_EQ(mem(controller.nodeVenusModel)->parent(), root());
}

TEST_F(ViewModesTest, SingleBodyViewsShareTheFrontPlace) {
    controller.pressButton("MercuryButton");
    controller.pressButton("VenusButton");
    controller.pressButton("EarthNightButton");
    for (const auto& node : {controller.nodeEarthModel, controller.nodeMercuryModel, controller.nodeVenusModel,
                             controller.nodeEarthNightModel}) {
        auto m = mem(node);
        SCOPED_TRACE(m->nodeName.value_or("?"));
        EXPECT_EQ(m->parent(), root());
        EXPECT_EQ(m->nodeScale, (SCNVector3{0.5f, 0.5f, 0.5f}));
        EXPECT_EQ(m->nodePosition, (SCNVector3{0, 0, -2}));
        EXPECT_EQ(m->actions().size(), 1u);
    }
    expectOneFreshSpin(mem(controller.nodeEarthNightModel));
    expectOneFreshSpin(mem(controller.nodeVenusModel));
    EXPECT_EQ(labelText(), std::string(BodyCatalog::earthText));
    EXPECT_EQ(countInRoot("planetData"), 1u);
}

TEST_F(ViewModesTest, BodyButtonAfterOverviewTakesOnlyThatBodyOut) {
    controller.pressButton("SolarSystemButton");
    controller.pressButton("JupiterButton");
    controller.pressButton("JupiterButton");
    auto jupiter = mem(controller.nodeJupiterModel);
    EXPECT_EQ(jupiter->nodeScale, (SCNVector3{0.5f, 0.5f, 0.5f}));
    EXPECT_EQ(jupiter->nodePosition, (SCNVector3{0, 0, -2}));
    expectOneFreshSpin(jupiter);
    EXPECT_EQ(mem(controller.nodeSaturnModel)->nodePosition, (SCNVector3{3, 0.5f, -5}));
    EXPECT_EQ(labelText(), std::string(BodyCatalog::jupiterText));

    // Every body button shows its own body's facts; EarthNight shows the Earth's.
    const auto rows = BodyCatalog::buttons();
    for (std::size_t i = 2; i < rows.size(); ++i) {
        controller.pressButton(std::string(rows[i].nodeName));
        const BodyEntry* body = BodyCatalog::bodyOfIndex(*rows[i].bodyIndex);
        EXPECT_EQ(labelText(), std::string(*body->infoText)) << rows[i].nodeName;
        EXPECT_EQ(mem(controller.modelFor(*rows[i].bodyIndex))->nodePosition, (SCNVector3{0, 0, -2}));
    }
}

TEST_F(ViewModesTest, UnknownNamesChangeNothing) {
    platform.log->takeNew();
    for (const char* name : {"solarSystemButton", "SolarSystemButton ", " SolarSystemButton", "", "Sun",
                             "helpbutton", "Stars", "StarsButton", "planetData"})
        controller.pressButton(name);
    EXPECT_TRUE(platform.log->takeNew().empty());
    EXPECT_TRUE(platform.application.openedURLs.empty());
}

TEST_F(ViewModesTest, HelpButtonAsksTheBrowserOncePerPressAndLeavesTheScene) {
    const auto before = rootChildNames();
    auto label = controller.textNode;
    controller.pressButton("HelpButton");
    controller.pressButton("HelpButton");
    ASSERT_EQ(platform.application.openedURLs.size(), 2u);
    for (const auto& request : platform.application.openedURLs) {
        EXPECT_EQ(request.url.absoluteString, "http://orrery-ar.github.io/orrery/guide.html");
        EXPECT_TRUE(request.options.empty());
        EXPECT_FALSE(request.completionHandler);
    }
    EXPECT_EQ(platform.log->withOp("openURL:options:completionHandler:").size(), 2u);
    EXPECT_EQ(rootChildNames(), before);
    EXPECT_EQ(controller.textNode, label);
}

} // namespace
} // namespace orrery::scenario
