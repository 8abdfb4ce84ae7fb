#include "tests/app/ControllerFixture.h"

#include <gmock/gmock.h>

#include <map>

namespace orrery::scenario {
namespace {

// Hours of the rotation periods in the fact texts (Mars kept at 24); -1 marks "(retrograde)".
const std::map<std::string, std::pair<double, double>> spins{
    {"Sun", {624, 1}},      {"Mercury", {1416, 1}}, {"Venus", {5832, -1}}, {"Earth", {24, 1}},
    {"EarthNight", {24, 1}}, {"Moon", {648, 1}},    {"Mars", {24, 1}},     {"Ceres", {9, 1}},
    {"Jupiter", {10, 1}},   {"Saturn", {11, 1}},    {"Uranus", {17, -1}},  {"Neptune", {16, 1}},
    {"Pluto", {153, -1}},   {"Haumea", {4, 1}},     {"Makemake", {8, 1}},  {"Eris", {8, 1}}};

const std::map<std::string, std::pair<float, SCNVector3>> overview{
    {"Sun", {12, {-20, 0.5f, -5}}},            {"Mercury", {0.04212f, {-5.9f, 0.5f, -5}}},
    {"Venus", {0.1044f, {-5, 0.5f, -5}}},      {"Earth", {0.11004f, {-4, 0.5f, -5}}},
    {"Moon", {0.03f, {-3.8f, 0.5f, -5}}},      {"Mars", {0.05856f, {-3, 0.5f, -5}}},
    {"Ceres", {0.00816f, {-2.6f, 0.5f, -5}}},  {"Jupiter", {1.23156f, {-0.8f, 0.5f, -5}}},
    {"Saturn", {1.04064f, {3, 0.5f, -5}}},     {"Uranus", {0.44676f, {7, 0.5f, -5}}},
    {"Neptune", {0.42708f, {9.5f, 0.5f, -5}}}, {"Pluto", {0.01968f, {12, 0.5f, -5}}},
    {"Haumea", {0.01404f, {13, 0.5f, -5}}},    {"Makemake", {0.01236f, {13.5f, 0.5f, -5}}},
    {"Eris", {0.02004f, {14, 0.5f, -5}}}};

/// Exactly one spin, under "<name>Animation", freshly started, with the body's period and sense.
void expectOneFreshSpin(const std::shared_ptr<MemoryNode>& node) {
    const std::string name = node->nodeName.value_or("?");
    ASSERT_EQ(node->actions().size(), 1u) << name;
    const auto& running = node->actions()[0];
    EXPECT_EQ(running.key, name + "Animation");
    EXPECT_EQ(running.elapsed, 0.0) << name;
    ASSERT_EQ(running.action->type, SCNAction::Type::repeatForever);
    const SCNAction& turn = *running.action->action;
    EXPECT_TRUE(turn.type == SCNAction::Type::rotateBy && turn.x == 0 && turn.z == 0) << name;
    EXPECT_EQ(turn.y, spins.at(name).second * 6.283185307179586) << name;
    EXPECT_EQ(turn.duration, spins.at(name).first) << name;
}

class ViewModesTest : public ControllerTest {
protected:
    void SetUp() override {
        ControllerTest::SetUp();
        controller.viewDidLoad();
    }
    void expectOverview() {
        for (const auto& [name, place] : overview) {
            auto node = root()->findNamed(name);
            ASSERT_EQ(countInRoot(name), 1u) << name;
            EXPECT_EQ(node->nodeScale, (SCNVector3{place.first, place.first, place.first})) << name;
            EXPECT_EQ(node->nodePosition, place.second) << name;
            EXPECT_EQ(node->nodeRotation, (SCNVector4{0, 1, 0, 0})) << name;
            expectOneFreshSpin(node);
        }
        EXPECT_EQ(labelText(), std::string(BodyCatalog::sunText));
        EXPECT_EQ(mem(controller.nodeEarthNightModel)->parent(), nullptr);
    }
};

TEST_F(ViewModesTest, OverviewFromTheStartAndPressedAgainAfterChanges) {
    controller.pressButton("SolarSystemButton");
    std::vector<std::string> expected{"Stars"};
    for (const ButtonEntry& row : BodyCatalog::buttons()) expected.emplace_back(row.nodeName);
    // Attaching appends, so the Earth moves rather than doubles; the new label comes last.
    for (const char* name : {"Sun", "Mercury", "Venus", "Earth", "Moon", "Mars", "Ceres", "Jupiter", "Saturn",
                             "Uranus", "Neptune", "Pluto", "Haumea", "Makemake", "Eris", "planetData"})
        expected.emplace_back(name);
    EXPECT_THAT(rootChildNames(), ::testing::ElementsAreArray(expected));
    expectOverview();

    platform.advance(3.0);
    auto jupiter = mem(controller.nodeJupiterModel);
    jupiter->assignPosition({1, 1, 1});
    jupiter->assignScale({2, 2, 2});
    jupiter->removeAllActions();
    controller.pressButton("JupiterButton");
    controller.pressButton("SolarSystemButton");
    EXPECT_THAT(rootChildNames(), ::testing::UnorderedElementsAreArray(expected));
    expectOverview();
}

TEST_F(ViewModesTest, PlaceBodyCallsInOrder) {
    platform.log->takeNew();
    controller.placeBody(2, 0.5f, {0, 0, -2});
    std::vector<std::string> ops;
    for (const auto& call : platform.log->takeNew())
        if (call.target == "Venus" || (call.op == "addChildNode:" && call.args.at(0) == "Venus")) ops.push_back(call.op);
    EXPECT_THAT(ops, ::testing::ElementsAre("setScale:", "setRotation:", "setPosition:", "addChildNode:",
                                            "runAction:forKey:"));
}

TEST_F(ViewModesTest, BodyButtonsShareTheFrontPlace) {
    controller.pressButton("SolarSystemButton");
    for (const char* button : {"MercuryButton", "VenusButton", "EarthNightButton", "VenusButton"})
        controller.pressButton(button);
    for (const auto& node : {controller.nodeMercuryModel, controller.nodeVenusModel, controller.nodeEarthNightModel}) {
        EXPECT_EQ(mem(node)->nodeScale, (SCNVector3{0.5f, 0.5f, 0.5f}));
        EXPECT_EQ(mem(node)->nodePosition, (SCNVector3{0, 0, -2}));
        expectOneFreshSpin(mem(node));
    }
    EXPECT_EQ(mem(controller.nodeSaturnModel)->nodePosition, (SCNVector3{3, 0.5f, -5}));
    EXPECT_EQ(labelText(), std::string(BodyCatalog::venusText));
    controller.pressButton("EarthNightButton");
    EXPECT_EQ(labelText(), std::string(BodyCatalog::earthText));
    EXPECT_EQ(countInRoot("planetData"), 1u);
}

TEST_F(ViewModesTest, UnknownNamesChangeNothing) {
    platform.log->takeNew();
    for (const char* name : {"solarSystemButton", "SolarSystemButton ", " HelpButton", "", "Sun", "helpbutton", "StarsButton"})
        controller.pressButton(name);
    EXPECT_TRUE(platform.log->takeNew().empty());
}

TEST_F(ViewModesTest, HelpAsksTheBrowserOncePerPressAndLeavesTheScene) {
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
    EXPECT_EQ(rootChildNames(), before);
    EXPECT_EQ(controller.textNode, label);
}

} // namespace
} // namespace orrery::scenario
