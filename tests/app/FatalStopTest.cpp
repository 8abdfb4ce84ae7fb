#include "tests/app/ControllerFixture.h"

#include <csignal>
#include <functional>

namespace orrery::scenario {
namespace {

using FatalStopDeathTest = ControllerTest;

// The stops a running app can reach when the platform breaks its promises; each ends the program at once.
TEST_F(FatalStopDeathTest, MissingPlatformObjectsStopTheProgram) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    controller.viewDidLoad();
    memory::MemoryEvent event;
    const std::vector<std::pair<const char*, std::function<void()>>> stops{
        {"an empty touch set", [&] { controller.touchesEndedWithEvent({}, &event); }},
        {"no camera frame after a feature point was hit",
         [&] {
             platform.view->prepareFeatureHits({matrix_identity_float4x4()});
             touchEnd(nullptr);
         }},
        {"no scene view at a touch",
         [&] {
             controller.sceneView = nullptr;
             touchEnd(nullptr);
         }},
        {"no scene view at a gesture",
         [&] {
             controller.sceneView = nullptr;
             gesture("didPinch:", State::changed, meshOf(controller.nodeEarthModel));
         }},
        {"no scene view at a double tap",
         [&] {
             controller.sceneView = nullptr;
             gesture("didDoubleTap:", State::ended, meshOf(controller.nodeEarthModel));
         }},
        {"no scene view when the view appears",
         [&] {
             controller.sceneView = nullptr;
             controller.viewWillAppear(false);
         }},
        {"an empty model handle at placement",
         [&] {
             controller.nodeMarsModel.reset();
             selectedBody = 6;
             controller.placeSelectedBody(MemoryNode::make());
         }},
        {"an empty model handle at a button", [&] {
             controller.nodeSaturnModel.reset();
             controller.pressButton("SaturnButton");
         }}};
    for (const auto& [what, stop] : stops) EXPECT_EXIT(stop(), ::testing::KilledBySignal(SIGABRT), "") << what;
}

}  // namespace
}  // namespace orrery::scenario
