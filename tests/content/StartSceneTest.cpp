#include "tests/app/ControllerFixture.h"

#include <gmock/gmock.h>

#include <csignal>
#include <cstdio>

namespace orrery::scenario {
namespace {

using ::testing::ElementsAreArray;

TEST_F(ControllerTest, StartSceneHoldsStarsEarthLabelAndTheButtonsInOrder) {
    load();
    std::vector<std::string> expected{"Stars", "Earth", "planetData"};
    for (const ButtonEntry& row : BodyCatalog::buttons()) expected.emplace_back(row.nodeName);
    EXPECT_THAT(rootChildNames(), ElementsAreArray(expected));

    auto stars = mem(controller.nodeStarsModel);
    EXPECT_EQ(stars->parent(), root());
    EXPECT_EQ(stars->nodeScale, (SCNVector3{20, 20, 20}));
    EXPECT_EQ(stars->nodeRotation, (SCNVector4{0, 1, 0, 3.1415925f}));
    EXPECT_EQ(stars->nodePosition, (SCNVector3{0, 0, 0}));
    EXPECT_TRUE(stars->actions().empty());

    auto earth = mem(controller.nodeEarthModel);
    EXPECT_EQ(earth->parent(), root());
    EXPECT_EQ(earth->nodeScale, (SCNVector3{0.5f, 0.5f, 0.5f}));
    EXPECT_EQ(earth->nodeRotation, (SCNVector4{0, 1, 0, 0}));
    EXPECT_EQ(earth->nodePosition, (SCNVector3{0, 0, -2}));
    ASSERT_EQ(earth->actions().size(), 1u);
    const auto& spin = earth->actions().front();
    EXPECT_EQ(spin.key, "EarthAnimation");
    ASSERT_EQ(spin.action->type, SCNAction::Type::repeatForever);
    EXPECT_EQ(spin.action->action->y, 6.283185307179586);
    EXPECT_EQ(spin.action->action->duration, 24.0);

    EXPECT_EQ(labelText(), std::string(BodyCatalog::earthText));
    EXPECT_TRUE(isTextShown);

    // Every other body is loaded and named but not in the scene.
    const auto rows = BodyCatalog::bodies();
    for (BodyIndex b = 0; b < bodyCount; ++b) {
        auto node = mem(controller.modelFor(b));
        ASSERT_NE(node, nullptr);
        EXPECT_EQ(node->nodeName, std::string(rows[b + 1].nodeName));
        if (b != 3) {
            EXPECT_EQ(node->parent(), nullptr) << rows[b + 1].key;
        }
    }
}

TEST_F(ControllerTest, ButtonsStandInThreeTiltedRows) {
    load();
    const std::vector<SCNVector3> positions{
        {-1.25f, -2, -1.3f}, {-1.75f, -2, -1.3f}, {-1.75f, -2, -2}, {-1.25f, -2, -2}, {-0.75f, -2, -2},
        {-0.25f, -2, -2},    {0.25f, -2, -2},     {0.75f, -2, -2},  {1.25f, -2, -2},  {1.75f, -2, -2},
        {-1.75f, -2, -2.7f}, {-1.25f, -2, -2.7f}, {-0.75f, -2, -2.7f}, {-0.25f, -2, -2.7f},
        {0.25f, -2, -2.7f},  {0.75f, -2, -2.7f},  {1.25f, -2, -2.7f},  {1.75f, -2, -2.7f}};
    const auto rows = BodyCatalog::buttons();
    for (std::size_t i = 0; i < rows.size(); ++i) {
        auto button = root()->findNamed(std::string(rows[i].nodeName));
        ASSERT_NE(button, nullptr) << rows[i].nodeName;
        EXPECT_EQ(button->parent(), root());
        EXPECT_EQ(button->nodeScale, (SCNVector3{0.2f, 0.2f, 0.2f}));
        EXPECT_EQ(button->nodeRotation, (SCNVector4{1, 0, 0, 0.7853981f}));
        EXPECT_EQ(button->nodePosition, positions[i]) << rows[i].nodeName;
    }
    EXPECT_EQ(mem(controller.nodeHelpButtonModel)->nodePosition, (SCNVector3{-1.75f, -2, -1.3f}));
}

TEST_F(ControllerTest, ViewSettingsAndTheFiveRecognisers) {
    load();
    EXPECT_EQ(platform.view->delegate, &controller);
    EXPECT_EQ(platform.view->showsStatistics, false);
    EXPECT_EQ(platform.view->antialiasingMode, SCNAntialiasingModeMultisampling4X);

    std::vector<std::string> actions;
    for (const auto& r : platform.view->gestureRecognizers) {
        auto* base = dynamic_cast<memory::MemoryRecognizerBase*>(r.get());
        ASSERT_NE(base, nullptr);
        EXPECT_EQ(base->record.target, &controller);
        EXPECT_EQ(base->record.delegate, &controller);
        actions.push_back(base->record.action.name);
    }
    EXPECT_THAT(actions, ElementsAreArray({"didPinch:", "didRotate:", "didPan:", "didLongPress:", "didDoubleTap:"}));
    EXPECT_EQ(recognizer("didLongPress:").record.minimumPressDuration, 0.5);
    EXPECT_EQ(recognizer("didDoubleTap:").record.numberOfTapsRequired, 2u);
    EXPECT_EQ(recognizer("didDoubleTap:").record.numberOfTouchesRequired, 1u);
    EXPECT_FALSE(recognizer("didPinch:").record.minimumPressDuration.has_value());
}

TEST_F(ControllerTest, AllBodiesLoadBeforeAnyButtonAndEarthIsSetUpBeforeTheNextBody) {
    load();
    std::vector<std::string> loads;
    std::vector<std::string> ops;
    for (const auto& call : platform.log->calls()) {
        if (call.op == "sceneNamed:") loads.push_back(call.args.at(0).get<std::string>());
        ops.push_back(call.op + "@" + call.target.value_or(""));
    }
    std::vector<std::string> expected;
    for (const BodyEntry& row : BodyCatalog::bodies()) expected.emplace_back(row.assetPath);
    for (const ButtonEntry& row : BodyCatalog::buttons()) expected.emplace_back(row.assetPath);
    EXPECT_THAT(loads, ElementsAreArray(expected));

    // The Earth's own steps come between its naming and the next load, spin before label.
    const auto& calls = platform.log->calls();
    std::size_t earthSpin = calls.size(), label = calls.size(), nightLoad = calls.size(), loadsSeen = 0;
    for (std::size_t i = 0; i < calls.size(); ++i) {
        if (calls[i].op == "runAction:forKey:" && calls[i].target == "Earth" && earthSpin == calls.size()) earthSpin = i;
        if (calls[i].op == "setName:" && calls[i].args.at(0) == "planetData" && label == calls.size()) label = i;
        if (calls[i].op == "sceneNamed:" && ++loadsSeen == 6) nightLoad = i;
    }
    EXPECT_LT(earthSpin, label);
    EXPECT_LT(label, nightLoad);
    EXPECT_LT(nightLoad, calls.size());
}

TEST_F(ControllerTest, LabelIsReplacedNotEditedAndKeepsItsPose) {
    load();
    auto first = mem(controller.textNode);
    controller.showText(std::string(BodyCatalog::earthText));
    auto second = mem(controller.textNode);
    EXPECT_NE(first, second);
    EXPECT_EQ(first->parent(), nullptr);
    EXPECT_EQ(countInRoot("planetData"), 1u);

    controller.showText("");
    auto label = mem(controller.textNode);
    EXPECT_EQ(second->parent(), nullptr);
    EXPECT_EQ(countInRoot("planetData"), 1u);
    EXPECT_EQ(labelText(), "");
    EXPECT_EQ(label->nodeScale, (SCNVector3{0.1f, 0.1f, 0.1f}));
    EXPECT_EQ(label->nodeRotation, (SCNVector4{1, 0, 0, -0.7853981f}));
    EXPECT_EQ(label->nodePosition, (SCNVector3{-0.8f, -2.35f, -0.95f}));

    auto text = std::dynamic_pointer_cast<memory::MemoryTextGeometry>(label->nodeGeometry);
    ASSERT_NE(text, nullptr);
    EXPECT_EQ(text->extrusionDepth, 0.2);
    EXPECT_EQ(text->font, (UIFont{"Optima", 1.0}));
    EXPECT_EQ(std::get<UIColor>(text->material->diffuseProperty->contents), UIColor::orangeColor());
    EXPECT_EQ(std::get<UIColor>(text->material->specularProperty->contents), UIColor::orangeColor());
}

TEST_F(ControllerTest, MissingFontLeavesTheDefaultFontAndNoError) {
    platform.availableFonts.clear();
    load();
    auto text = std::dynamic_pointer_cast<memory::MemoryTextGeometry>(mem(controller.textNode)->nodeGeometry);
    ASSERT_NE(text, nullptr);
    EXPECT_FALSE(text->font.has_value());
    EXPECT_EQ(countInRoot("planetData"), 1u);
}

using ControllerDeathTest = ControllerTest;

TEST_F(ControllerDeathTest, MissingModelStopsLoadingBeforeAnyButton) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    platform.preparedScenes.clear();
    // Each load that succeeds writes its key to stderr, which the parent checks after the stop.
    for (const BodyEntry& row : BodyCatalog::bodies()) {
        if (row.key == "Ceres") continue;
        const std::string key(row.key);
        auto make = unitBoxScene(platform.log);
        platform.preparedScenes[std::string(row.assetPath)] = [key, make] {
            std::fprintf(stderr, "loaded %s\n", key.c_str());
            return make();
        };
    }
    for (const ButtonEntry& row : BodyCatalog::buttons()) {
        const std::string key(row.nodeName);
        auto make = unitBoxScene(platform.log);
        platform.preparedScenes[std::string(row.assetPath)] = [key, make] {
            std::fprintf(stderr, "loaded %s\n", key.c_str());
            return make();
        };
    }
    EXPECT_EXIT(load(), ::testing::KilledBySignal(SIGABRT),
                ::testing::AllOf(::testing::HasSubstr("loaded Stars\nloaded Sun\nloaded Mercury\nloaded Venus\n"
                                                      "loaded Earth\nloaded EarthNight\nloaded Moon\nloaded Mars\n"),
                                 ::testing::Not(::testing::HasSubstr("Ceres")),
                                 ::testing::Not(::testing::HasSubstr("Button"))));
}

} // namespace
} // namespace orrery::scenario
