#include "app/ViewController.h"

#include "app/ControllerFields.h"
#include "platform/Fatal.h"

namespace orrery {

ViewController::ViewController(Platform& platform) : platform_(platform) {}

std::shared_ptr<ViewController> ViewController::make(Platform& platform) {
    return std::shared_ptr<ViewController>(new ViewController(platform));
}

std::shared_ptr<SCNNode>& ViewController::modelFor(BodyIndex body) {
    if (body >= bodyCount) stopProgram();
    return bodyModelField(*this, bodyRowOf(body));
}

}  // namespace orrery
