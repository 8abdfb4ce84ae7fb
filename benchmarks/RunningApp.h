#pragma once
// The app as the benchmarks start it: loaded, on screen, showing the overview of the solar
// system, on the in-memory platform.

#include "app/ViewController.h"
#include "platform/memory/MemoryPlatform.h"

#include <memory>

namespace orrery::benchmarks {

struct RunningApp {
    memory::MemoryPlatform platform;
    std::shared_ptr<ViewController> owner = ViewController::make(platform);
    ViewController& controller = *owner;

    RunningApp() {
        resetProcessState();  // the app's globals start afresh for each app
        controller.sceneView = platform.view;
        platform.hostViewController(controller);
        controller.viewDidLoad();
        controller.viewWillAppear(false);
        platform.runFrame();
        controller.pressButton("SolarSystemButton");
    }

    /// A touch at `finger` whose feature-point hit test finds `floorPoint`, and the frame that
    /// places the copy of the selected body there. The scene hit test answers as prepared
    /// beforehand, or geometrically.
    void placeCopy(SCNVector3 floorPoint, CGPoint finger) {
        gestureHandled = false;
        platform.view->prepareFeatureHits({makeTranslation(floorPoint)});
        memory::MemoryEvent event;
        controller.touchesEndedWithEvent({std::make_shared<memory::MemoryTouch>(platform.log, finger)}, &event);
        platform.runFrame();
    }
};

} // namespace orrery::benchmarks
