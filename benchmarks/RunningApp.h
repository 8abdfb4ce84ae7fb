#pragma once
// The app as the benchmarks start it: loaded, on screen, showing the overview of the solar
// system, on the in-memory platform, started by the simulator's harness.

#include "sim/Simulator.h"

namespace orrery::benchmarks {

struct RunningApp {
    sim::Simulator simulator{memory::MemoryPlatform::defaultAssetParent()};
    memory::MemoryPlatform& platform = simulator.platform();
    ViewController& controller = simulator.controller();

    RunningApp() {
        simulator.start();
        controller.pressButton("SolarSystemButton");
    }

    /// A touch at `finger` whose feature-point hit test finds `floorPoint`, and the frame that
    /// places the copy of the selected body there. The scene hit test answers as prepared
    /// beforehand, or geometrically.
    void placeCopy(SCNVector3 floorPoint, CGPoint finger) {
        gestureHandled = false;
        platform.view->prepareFeatureHits({makeTranslation(floorPoint)});
        platform.endTouch(controller, finger);
        platform.runFrame();
    }
};

}  // namespace orrery::benchmarks
