// Placing a copy of the selected body on every new anchor.

#include "app/ViewController.h"
#include "platform/Fatal.h"

namespace orrery {

void ViewController::rendererDidAddNodeForAnchor(ARSCNView& /*renderer*/, const std::shared_ptr<SCNNode>& node,
                                                 const std::shared_ptr<ARAnchor>& anchor) {
    // Called on the rendering thread: only the class test happens here, the scene changes on the main queue.
    if (anchor && isKindOfClassARPlaneAnchor(*anchor)) return;
    // The block keeps the controller alive until it has run, whoever else lets go of it meanwhile.
    // Only `make` builds a controller, so an empty reference means its last owner has let go
    // and it is being taken apart: its view is a member and stops reporting (waiting for this
    // call) before anything read here is gone. The anchor's node goes with the view.
    std::shared_ptr<ViewController> self = weak_from_this().lock();
    if (!self) return;
    platform_.mainQueueAsync([self = std::move(self), node] { self->placeSelectedBody(node); });
}

void ViewController::placeSelectedBody(const std::shared_ptr<SCNNode>& anchorNode) {
    if (!anchorNode) stopProgram();
    // Read now, not when the anchor was reported: a selection made in between wins.
    std::shared_ptr<SCNNode>& model = modelFor(selectedBody);
    if (!model) stopProgram();
    std::shared_ptr<SCNNode> copy = model->clone();
    if (!copy) stopProgram();
    // Half size, half a metre above the anchor; the copy keeps the model's name, so gestures find it.
    copy->setScale({0.5f, 0.5f, 0.5f});
    copy->setPosition({0, 0.5f, 0});
    anchorNode->addChildNode(copy);
}

}  // namespace orrery
