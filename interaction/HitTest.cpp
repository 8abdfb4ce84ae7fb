#include "app/ViewController.h"
#include "platform/Fatal.h"

namespace orrery {

std::shared_ptr<SCNNode> ViewController::sceneHitTest(CGPoint point) {
    if (!sceneView) stopProgram();
    // Bounding boxes only, so a touch just beside a sphere or in a button's corner still counts.
    SCNHitTestOptions options{{SCNHitTestBoundingBoxOnlyKey, true}};
    std::vector<SCNHitTestResult> hits = sceneView->hitTestOptions(point, options);
    if (hits.empty()) return nullptr;
    // Only the nearest hit decides; callers climb from it to a named ancestor.
    return hits[0].node;
}

}  // namespace orrery
