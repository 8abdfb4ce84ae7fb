// Touch end: press the button under the finger, or place the selected body in the room.

#include "app/ViewController.h"
#include "app/ControllerFields.h"
#include "platform/Fatal.h"

namespace orrery {

void selectBodyByButtonName(const std::string& name) {
    // Every row is compared; "HelpButton" is not here, so it keeps the selection.
    if (name == "SolarSystemButton") selectedBody = 0;
    if (name == "SunButton") selectedBody = 0;
    if (name == "MercuryButton") selectedBody = 1;
    if (name == "VenusButton") selectedBody = 2;
    if (name == "EarthButton") selectedBody = 3;
    if (name == "EarthNightButton") selectedBody = 4;
    if (name == "MoonButton") selectedBody = 5;
    if (name == "MarsButton") selectedBody = 6;
    if (name == "CeresButton") selectedBody = 7;
    if (name == "JupiterButton") selectedBody = 8;
    if (name == "SaturnButton") selectedBody = 9;
    if (name == "UranusButton") selectedBody = 10;
    if (name == "NeptuneButton") selectedBody = 11;
    if (name == "PlutoButton") selectedBody = 12;
    if (name == "HaumeaButton") selectedBody = 13;
    if (name == "MakemakeButton") selectedBody = 14;
    if (name == "ErisButton") selectedBody = 15;
}

std::shared_ptr<SCNNode> ViewController::findButtonNode(const std::shared_ptr<SCNNode>& node) {
    if (!node) return nullptr;
    for (std::size_t row = 0; row < buttonRowCount; ++row) {
        std::optional<std::string> name = node->name();
        if (name && *name == buttonNameField(*this, row)) return node;
    }
    std::shared_ptr<SCNNode> parent = node->parentNode();
    if (!parent) return nullptr;
    return findButtonNode(parent);
}

void ViewController::touchesEndedWithEvent(const UITouchSet& touches, const UIEvent* /*event*/) {
    if (touches.empty() || !touches.front()) stopProgram();
    if (!sceneView) stopProgram();
    const CGPoint point = touches.front()->locationInView(*sceneView);

    if (std::shared_ptr<SCNNode> node = sceneHitTest(point)) {
        if (std::shared_ptr<SCNNode> button = findButtonNode(node)) {
            std::optional<std::string> name = button->name();
            if (!name) stopProgram();
            selectBodyByButtonName(*name);
            name = button->name();
            if (!name) stopProgram();
            pressButton(*name);
            // A button press neither reads nor clears gestureHandled.
            return;
        }
    }

    if (!gestureHandled) {
        std::vector<ARHitTestResult> hits = sceneView->hitTestTypes(point, ARHitTestResultTypeFeaturePoint);
        if (!hits.empty()) {
            const ARHitTestResult& hit = hits[0];
            std::shared_ptr<const ARFrame> frame = sceneView->session().currentFrame();
            if (!frame) stopProgram();
            const float yaw = frame->camera.eulerAngles.y;
            // Keep the feature point's position; turn its orientation the way the camera faces.
            const simd_float4x4 rotation = simd_matrix4x4(SCNMatrix4MakeRotation(yaw, 0, 1, 0));
            const simd_float4x4 transform = simd_mul(hit.worldTransform, rotation);
            sceneView->session().addAnchor(std::make_shared<ARAnchor>(transform));
        }
    }
    gestureHandled = false;
}

}  // namespace orrery
