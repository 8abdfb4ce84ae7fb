#include "tests/app/ControllerFixture.h"

#include <gmock/gmock.h>

#include <cstdint>
#include <cstring>

namespace orrery::scenario {
namespace {

using ::testing::ElementsAreArray;

TEST_F(ControllerTest, BootstrapMakesItsCallsInOrder) {
    controller.viewDidLoad();
    Lines expected{
        "viewDidLoad", R"(setDelegate: "ARSCNViewDelegate")", "setShowsStatistics: false", "setAntialiasingMode: 2",
        "SCNScene",    R"(setScene: {"rootNode":null})"};
    for (const expected::Body& body : expected::bodies) {
        append(expected, {"sceneNamed: " + Json(body.path).dump(), "rootNode", "setName: " + Json(body.name).dump()});
        if (body.name == "Stars")
            append(expected, {"Stars.setScale: [20,20,20]", "Stars.setRotation: [0,1,0,3.1415925]",
                              "Stars.setPosition: [0,0,0]", "scene", "rootNode", R"(addChildNode: "Stars")"});
        if (body.name == "Earth") {
            append(expected, placeLines("Earth", 0.5f, {0, 0, -2}));
            append(expected, labelLines(expected::factText("Earth"), false));
        }
    }
    for (const expected::Button& button : expected::buttons) {
        const std::string name(button.name);
        append(expected, {"sceneNamed: " + Json(button.path).dump(), "rootNode", "setName: " + Json(name).dump(),
                          line(name, "setScale:", Json::array({vec(0.2f, 0.2f, 0.2f)})),
                          line(name, "setRotation:", Json::array({rot(1, 0, 0, 0.7853981f)})),
                          line(name, "setPosition:", Json::array({vec(button.position)})), "scene", "rootNode",
                          "addChildNode: " + Json(name).dump()});
    }
    const auto recognizer = [&](const char* type, const char* action, Lines settings) {
        expected.push_back(std::string(R"(initWithTarget:action: "UIViewController",")") + action + "\"");
        append(expected, settings);
        append(expected, {R"(setDelegate: "UIGestureRecognizerDelegate")",
                          std::string("addGestureRecognizer: \"") + type + "\""});
    };
    recognizer("UIPinchGestureRecognizer", "didPinch:", {});
    recognizer("UIRotationGestureRecognizer", "didRotate:", {});
    recognizer("UIPanGestureRecognizer", "didPan:", {});
    recognizer("UILongPressGestureRecognizer", "didLongPress:", {"setMinimumPressDuration: 0.5"});
    recognizer("UITapGestureRecognizer",
               "didDoubleTap:", {"setNumberOfTapsRequired: 2", "setNumberOfTouchesRequired: 1"});
    EXPECT_THAT(newLines(), ElementsAreArray(expected));

    // The recognisers call back into the controller.
    for (const auto& r : platform.view->gestureRecognizers) {
        const auto& record = dynamic_cast<memory::MemoryRecognizerBase&>(*r).record;
        EXPECT_TRUE(record.target == &controller && record.delegate == &controller) << record.type;
    }
    EXPECT_EQ(platform.view->delegate, &controller);
}

TEST_F(ControllerTest, ButtonConstantsAgreeWithTheBarsLiterals) {
    // Read by no operation, yet kept: the scale and the tilt (one float step below pi/4) the bar
    // uses, and a pitch of one width plus one gap between neighbouring buttons of a row.
    EXPECT_EQ(controller.buttonScale, 0.2f);
    std::uint32_t tiltBits = 0;
    static_assert(sizeof tiltBits == sizeof controller.buttonXinitialRotation);
    std::memcpy(&tiltBits, &controller.buttonXinitialRotation, sizeof tiltBits);
    EXPECT_EQ(tiltBits, 0x3F490FDAu);
    EXPECT_EQ(controller.buttonWidth, 0.4f);
    EXPECT_EQ(expected::buttons[3].position.x - expected::buttons[2].position.x,
              controller.buttonWidth + controller.buttonXdistance);
    EXPECT_EQ(controller.buttonXinitialOffset, 0.05f);
}

TEST_F(ControllerTest, StartSceneHoldsStarsEarthLabelAndButtonsWithTheOtherBodiesLoadedAside) {
    controller.viewDidLoad();
    std::vector<std::string> names{"Stars", "Earth", "planetData"};
    for (const expected::Button& button : expected::buttons) names.emplace_back(button.name);
    EXPECT_THAT(rootChildNames(), ElementsAreArray(names));
    EXPECT_EQ(labelText(), expected::factText("Earth"));
    EXPECT_EQ(mem(controller.nodeStarsModel)->nodeName, "Stars");
    for (std::size_t i = 1; i < expected::bodies.size(); ++i) {
        auto node = mem(controller.modelFor(BodyIndex(i - 1)));
        EXPECT_EQ(node->nodeName, expected::bodies[i].name);
        EXPECT_EQ(node->parent() == root(), expected::bodies[i].name == "Earth") << expected::bodies[i].name;
    }
    EXPECT_THAT(actionKeys(controller.nodeEarthModel), ElementsAreArray({"EarthAnimation"}));
}

TEST_F(ControllerTest, LabelIsReplacedByANewNodeEveryTime) {
    controller.viewDidLoad();
    auto first = mem(controller.textNode);
    platform.log->takeNew();
    controller.showText(std::string(BodyCatalog::earthText));
    EXPECT_THAT(newLines(), ElementsAreArray(labelLines(expected::factText("Earth"), true)));
    auto second = mem(controller.textNode);
    controller.showText("");
    auto label = mem(controller.textNode);
    EXPECT_TRUE(first != second && second != label && first != label);
    EXPECT_EQ(first->parent(), nullptr);
    EXPECT_EQ(second->parent(), nullptr);
    EXPECT_EQ(countInRoot("planetData"), 1u);
    EXPECT_EQ(label->parent(), root());
    EXPECT_EQ(labelText(), "");
    EXPECT_EQ(label->nodePosition(), (SCNVector3{-0.8f, -2.35f, -0.95f}));
    auto text = std::dynamic_pointer_cast<memory::MemoryTextGeometry>(label->nodeGeometry());
    EXPECT_EQ(text->font, (UIFont{"Optima", 1.0}));
    EXPECT_EQ(std::get<UIColor>(text->material->specularProperty->contents), UIColor::orangeColor());
}

}  // namespace
}  // namespace orrery::scenario
