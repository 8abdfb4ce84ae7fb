#include "app/ViewController.h"
#include "app/ControllerFields.h"
#include "modes/ViewModes.h"
#include "platform/Fatal.h"

#include <string>

namespace orrery {

namespace {

/// The model handle of `body`, which must be filled by now.
SCNNode& loadedModel(ViewController& controller, BodyIndex body) {
    std::shared_ptr<SCNNode>& handle = controller.modelFor(body);
    if (!handle) stopProgram();
    return *handle;
}

}  // namespace

void ViewController::placeBody(BodyIndex body, float scale, SCNVector3 position) {
    if (body >= SpinTable.size()) stopProgram();
    const SpinEntry& spin = SpinTable[body];

    loadedModel(*this, body).setScale({scale, scale, scale});
    // Undo any turn a gesture or an earlier spin gave the node.
    loadedModel(*this, body).setRotation({0, 1, 0, 0});
    loadedModel(*this, body).setPosition(position);
    sceneRootOf(*this)->addChildNode(modelFor(body));
    // Same key as any earlier spin of this body, so it is replaced and starts again.
    loadedModel(*this, body)
        .runActionForKey(
            SCNAction::repeatActionForever(SCNAction::rotateByXYZDuration(0, spin.direction, 0, spin.period)),
            std::string(spin.key));
}

}  // namespace orrery
