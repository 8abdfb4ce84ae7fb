#include "tests/app/ControllerFixture.h"

#include <gmock/gmock.h>

#include <csignal>
#include <cstdio>

namespace orrery::scenario {
namespace {

using ::testing::ElementsAreArray;
using ::testing::HasSubstr;

TEST_F(ControllerTest, StartSceneHoldsStarsEarthLabelButtonsAndRecognisers) {
    controller.viewDidLoad();
    std::vector<std::string> expected{"Stars", "Earth", "planetData"};
    for (const ButtonEntry& row : BodyCatalog::buttons()) expected.emplace_back(row.nodeName);
    EXPECT_THAT(rootChildNames(), ElementsAreArray(expected));

    auto stars = mem(controller.nodeStarsModel), earth = mem(controller.nodeEarthModel);
    EXPECT_EQ(stars->nodeScale, (SCNVector3{20, 20, 20}));
    EXPECT_EQ(stars->nodeRotation, (SCNVector4{0, 1, 0, 3.1415925f}));
    EXPECT_EQ(stars->nodePosition, (SCNVector3{0, 0, 0}));
    EXPECT_EQ(earth->nodeScale, (SCNVector3{0.5f, 0.5f, 0.5f}));
    EXPECT_EQ(earth->nodeRotation, (SCNVector4{0, 1, 0, 0}));
    EXPECT_EQ(earth->nodePosition, (SCNVector3{0, 0, -2}));
    ASSERT_EQ(earth->actions().size(), 1u);
    EXPECT_EQ(earth->actions()[0].key, "EarthAnimation");
    EXPECT_EQ(earth->actions()[0].action->action->y, 6.283185307179586);
    EXPECT_EQ(earth->actions()[0].action->action->duration, 24.0);
    EXPECT_EQ(labelText(), std::string(BodyCatalog::earthText));
    for (BodyIndex b = 0; b < bodyCount; ++b) {
        auto node = mem(controller.modelFor(b));
        EXPECT_EQ(node->nodeName, std::string(BodyCatalog::bodyOfIndex(b)->nodeName));
        EXPECT_EQ(node->parent() == root(), b == 3) << int(b);
    }

    EXPECT_EQ(platform.view->delegate, &controller);
    EXPECT_EQ(platform.view->showsStatistics, false);
    EXPECT_EQ(platform.view->antialiasingMode, SCNAntialiasingModeMultisampling4X);
    std::vector<std::string> actions;
    for (const auto& r : platform.view->gestureRecognizers) {
        const auto& record = dynamic_cast<memory::MemoryRecognizerBase&>(*r).record;
        EXPECT_TRUE(record.target == &controller && record.delegate == &controller);
        actions.push_back(record.action.name);
    }
    EXPECT_THAT(actions, ElementsAreArray({"didPinch:", "didRotate:", "didPan:", "didLongPress:", "didDoubleTap:"}));
    EXPECT_EQ(recognizer("didLongPress:").record.minimumPressDuration, 0.5);
    EXPECT_EQ(recognizer("didDoubleTap:").record.numberOfTapsRequired, 2u);
    EXPECT_EQ(recognizer("didDoubleTap:").record.numberOfTouchesRequired, 1u);
}

TEST_F(ControllerTest, ButtonsStandInThreeTiltedRows) {
    controller.viewDidLoad();
    const std::vector<SCNVector3> positions{
        {-1.25f, -2, -1.3f}, {-1.75f, -2, -1.3f}, {-1.75f, -2, -2},    {-1.25f, -2, -2},    {-0.75f, -2, -2},
        {-0.25f, -2, -2},    {0.25f, -2, -2},     {0.75f, -2, -2},     {1.25f, -2, -2},     {1.75f, -2, -2},
        {-1.75f, -2, -2.7f}, {-1.25f, -2, -2.7f}, {-0.75f, -2, -2.7f}, {-0.25f, -2, -2.7f}, {0.25f, -2, -2.7f},
        {0.75f, -2, -2.7f},  {1.25f, -2, -2.7f},  {1.75f, -2, -2.7f}};
    for (std::size_t i = 0; i < positions.size(); ++i) {
        auto button = root()->children().at(i + 3);
        EXPECT_EQ(button->nodeScale, (SCNVector3{0.2f, 0.2f, 0.2f}));
        EXPECT_EQ(button->nodeRotation, (SCNVector4{1, 0, 0, 0.7853981f}));
        EXPECT_EQ(button->nodePosition, positions[i]) << *button->nodeName;
    }
}

TEST_F(ControllerTest, BodiesLoadBeforeButtonsAndTheEarthIsReadyBeforeTheNextLoad) {
    controller.viewDidLoad();
    std::vector<std::string> loads, expected;
    std::size_t earthSpin = 0, label = 0, sixthLoad = 0;
    const auto& calls = platform.log->calls();
    for (std::size_t i = 0; i < calls.size(); ++i) {
        if (calls[i].op == "sceneNamed:") loads.push_back(calls[i].args.at(0).get<std::string>());
        if (calls[i].op == "sceneNamed:" && loads.size() == 6) sixthLoad = i;
        if (calls[i].op == "runAction:forKey:" && calls[i].target == "Earth" && !earthSpin) earthSpin = i;
        if (calls[i].op == "setName:" && calls[i].args.at(0) == "planetData" && !label) label = i;
    }
    for (const BodyEntry& row : BodyCatalog::bodies()) expected.emplace_back(row.assetPath);
    for (const ButtonEntry& row : BodyCatalog::buttons()) expected.emplace_back(row.assetPath);
    EXPECT_THAT(loads, ElementsAreArray(expected));
    EXPECT_TRUE(0 < earthSpin && earthSpin < label && label < sixthLoad);
}

TEST_F(ControllerTest, LabelIsReplacedByANewNodeWithTheSamePose) {
    controller.viewDidLoad();
    auto first = mem(controller.textNode);
    controller.showText(std::string(BodyCatalog::earthText));
    controller.showText("");
    auto label = mem(controller.textNode);
    EXPECT_NE(first, label);
    EXPECT_EQ(first->parent(), nullptr);
    EXPECT_EQ(countInRoot("planetData"), 1u);
    EXPECT_EQ(labelText(), "");
    EXPECT_EQ(label->nodeScale, (SCNVector3{0.1f, 0.1f, 0.1f}));
    EXPECT_EQ(label->nodeRotation, (SCNVector4{1, 0, 0, -0.7853981f}));
    EXPECT_EQ(label->nodePosition, (SCNVector3{-0.8f, -2.35f, -0.95f}));
    auto text = std::dynamic_pointer_cast<memory::MemoryTextGeometry>(label->nodeGeometry);
    EXPECT_EQ(text->extrusionDepth, 0.2);
    EXPECT_EQ(text->font, (UIFont{"Optima", 1.0}));
    EXPECT_EQ(std::get<UIColor>(text->material->diffuseProperty->contents), UIColor::orangeColor());
    EXPECT_EQ(std::get<UIColor>(text->material->specularProperty->contents), UIColor::orangeColor());
}

using ControllerDeathTest = ControllerTest;

TEST_F(ControllerDeathTest, MissingModelStopsLoadingBeforeAnyButton) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    // Every successful load writes its name to stderr, which the parent reads after the stop.
    for (auto& [path, make] : platform.preparedScenes) {
        const std::string name = path.substr(path.rfind('/') + 1);
        make = [name, inner = make] {
            std::fprintf(stderr, "loaded %s\n", name.c_str());
            return inner();
        };
    }
    platform.preparedScenes.erase("art.scnassets/Ceres/Ceres.dae");
    EXPECT_EXIT(controller.viewDidLoad(), ::testing::KilledBySignal(SIGABRT),
                ::testing::AllOf(HasSubstr("loaded Stars.dae\nloaded Sun.dae\nloaded Mercury.dae\nloaded Venus.dae\n"
                                           "loaded Earth.dae\nloaded EarthNight.dae\nloaded Moon.dae\nloaded Mars.dae\n"),
                                 ::testing::Not(HasSubstr("Ceres")), ::testing::Not(HasSubstr("Button"))));
}

} // namespace
} // namespace orrery::scenario
