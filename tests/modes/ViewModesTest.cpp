#include "tests/app/ControllerFixture.h"

#include <gmock/gmock.h>

namespace orrery::scenario {
namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;

std::string_view textOfBody(std::string_view body) {
    for (const expected::Body& row : expected::bodies)
        if (row.name == body) return expected::factText(row.textKey);
    return "<no body>";
}

class ViewModesTest : public ControllerTest {
protected:
    void SetUp() override {
        ControllerTest::SetUp();
        controller.viewDidLoad();
        platform.log->takeNew();
    }
    /// The body stands in the scene root with this pose and runs one spin from its start.
    void expectPlaced(std::string_view body, float scale, SCNVector3 position) {
        SCOPED_TRACE(std::string(body));
        auto node = root()->findNamed(std::string(body));
        ASSERT_NE(node, nullptr);
        EXPECT_EQ(countInRoot(std::string(body)), 1u);
        EXPECT_EQ(node->nodeScale(), (SCNVector3{scale, scale, scale}));
        EXPECT_EQ(node->nodePosition(), position);
        EXPECT_EQ(node->nodeRotation(), (SCNVector4{0, 1, 0, 0}));
        ASSERT_EQ(node->actions().size(), 1u);
        EXPECT_EQ(node->actions()[0].key, spinOf(body).key);
        EXPECT_EQ(node->actions()[0].elapsed, 0.0);
    }
    void expectOverview() {
        for (const expected::Place& place : expected::overview)
            expectPlaced(place.body, place.scale, {place.x, 0.5f, -5});
        EXPECT_EQ(labelText(), expected::factText("Sun"));
    }
};

TEST_F(ViewModesTest, EveryBodyButtonBringsItsBodyToTheFrontSpinningWithItsFacts) {
    for (std::size_t i = 2; i < expected::buttons.size(); ++i) {
        const std::string_view button = expected::buttons[i].name;
        const std::string_view body = button.substr(0, button.size() - 6);
        SCOPED_TRACE(std::string(button));
        controller.pressButton(std::string(button));
        Lines expected = placeLines(body, 0.5f, {0, 0, -2});
        append(expected, labelLines(textOfBody(body), true));
        EXPECT_THAT(newLines(), ElementsAreArray(expected));
        expectPlaced(body, 0.5f, {0, 0, -2});
    }
    // Nothing was cleared on the way: all sixteen share the front place.
    EXPECT_EQ(root()->children().size(), 2 + 18 + 16u);
    EXPECT_EQ(labelText(), expected::factText("Eris"));
}

TEST_F(ViewModesTest, OverviewLaysOutFifteenBodiesThenShowsTheSunFacts) {
    controller.pressButton("SolarSystemButton");
    Lines expected;
    for (const expected::Place& place : expected::overview)
        append(expected, placeLines(place.body, place.scale, {place.x, 0.5f, -5}));
    append(expected, labelLines(expected::factText("Sun"), true));
    EXPECT_THAT(newLines(), ElementsAreArray(expected));
    expectOverview();
    EXPECT_EQ(mem(controller.nodeEarthNightModel)->parent(), nullptr);

    // Moved, turned, stopped or removed bodies all come back, with exactly one fresh spin each.
    platform.advance(3.0);
    auto jupiter = mem(controller.nodeJupiterModel);
    jupiter->assignPosition({1, 1, 1});
    jupiter->assignScale({2, 2, 2});
    jupiter->removeAllActions();
    mem(controller.nodeMoonModel)->detach();
    controller.pressButton("EarthNightButton");
    controller.pressButton("SolarSystemButton");
    expectOverview();
    expectPlaced("EarthNight", 0.5f, {0, 0, -2});
    EXPECT_EQ(root()->children().size(), 1 + 18 + 15 + 1 + 1u);
}

TEST_F(ViewModesTest, UnknownNamesChangeNothing) {
    for (const char* name :
         {"solarSystemButton", "SolarSystemButton ", " HelpButton", "", "Sun", "helpbutton", "StarsButton"})
        controller.pressButton(name);
    EXPECT_TRUE(platform.log->takeNew().empty());
}

TEST_F(ViewModesTest, HelpAsksTheBrowserOncePerPressAndLeavesTheScene) {
    const auto before = rootChildNames();
    auto label = controller.textNode;
    const std::string address = Json(std::string(expected::helpAddress)).dump();
    for (int press = 0; press < 2; ++press) {
        controller.pressButton("HelpButton");
        EXPECT_THAT(newLines(), ElementsAre("URL " + address, "sharedApplication",
                                            "openURL:options:completionHandler: " + address + ",{},false"));
    }
    ASSERT_EQ(platform.application.openedURLs.size(), 2u);
    EXPECT_EQ(rootChildNames(), before);
    EXPECT_EQ(controller.textNode, label);
}

}  // namespace
}  // namespace orrery::scenario
