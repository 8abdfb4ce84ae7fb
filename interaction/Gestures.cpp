// Pinch, rotation, pan and long press on the body under the fingers.

#include "app/ViewController.h"
#include "app/ControllerFields.h"
#include "interaction/GesturePrologue.h"
#include "platform/Fatal.h"

namespace orrery {

std::shared_ptr<SCNNode> ViewController::findBodyNode(const std::shared_ptr<SCNNode>& node) {
    if (!node) return nullptr;
    // Rows 1 to 16: Sun to Eris; the star field (row 0) is never a body.
    for (std::size_t row = bodyRowOf(0); row < bodyRowCount; ++row) {
        std::optional<std::string> name = node->name();
        if (name && *name == bodyNameField(*this, row)) return node;
    }
    std::shared_ptr<SCNNode> parent = node->parentNode();
    if (!parent) return nullptr;
    return findBodyNode(parent);
}

std::shared_ptr<SCNNode> bodyUnderGesture(ViewController& controller, const UIGestureRecognizer& recognizer) {
    if (!controller.sceneView) stopProgram();
    const CGPoint point = recognizer.locationInView(*controller.sceneView);
    std::shared_ptr<SCNNode> hit = controller.sceneHitTest(point);
    if (!hit) return nullptr;
    // The nearest hit decides alone, even when a body lies behind a button or the label.
    std::shared_ptr<SCNNode> body = controller.findBodyNode(hit);
    if (!body) return nullptr;
    gestureHandled = true;
    return body;
}

// The recognisers' accumulated values are never written back, so every change event applies
// the whole amount since the gesture began again: the response speeds up as the gesture goes on.

void ViewController::didPinch(UIPinchGestureRecognizer& recognizer) {
    if (recognizer.state() != UIGestureRecognizerState::changed) return;
    std::shared_ptr<SCNNode> body = bodyUnderGesture(*this, recognizer);
    if (!body) return;
    body->runActionForKey(SCNAction::repeatActionCount(SCNAction::scaleByDuration(recognizer.scale(), 0), 1),
                          "scaleAnim");
}

void ViewController::didRotate(UIRotationGestureRecognizer& recognizer) {
    if (recognizer.state() != UIGestureRecognizerState::changed) return;
    std::shared_ptr<SCNNode> body = bodyUnderGesture(*this, recognizer);
    if (!body) return;
    // Turning by hand stops the spin; a view mode starts it again.
    body->removeAllActions();
    body->runActionForKey(
        SCNAction::repeatActionCount(SCNAction::rotateByXYZDuration(0, -recognizer.rotation(), 0, 0), 1),
        "rotationYAnim");
}

void ViewController::didPan(UIPanGestureRecognizer& recognizer) {
    if (recognizer.state() != UIGestureRecognizerState::changed) return;
    std::shared_ptr<SCNNode> body = bodyUnderGesture(*this, recognizer);
    if (!body) return;
    // One screen point is one millimetre; screen y grows downward, scene y upward.
    const CGPoint translation = recognizer.translationInView(*sceneView);
    const SCNVector3 delta{static_cast<float>(translation.x / 1000.0), static_cast<float>(translation.y / -1000.0), 0};
    body->runActionForKey(SCNAction::repeatActionCount(SCNAction::moveByDuration(delta, 0), 1), "moveAnim");
}

void ViewController::didLongPress(UILongPressGestureRecognizer& recognizer) {
    // No state test: every call of the press (began, moved, ended) removes the body under it.
    std::shared_ptr<SCNNode> body = bodyUnderGesture(*this, recognizer);
    if (!body) return;
    body->removeAllActions();
    // The model handle keeps the node, so a view mode can bring it back.
    body->removeFromParentNode();
}

}  // namespace orrery
