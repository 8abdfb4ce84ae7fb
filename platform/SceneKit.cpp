#include "platform/SceneKit.h"

#include <limits>

namespace orrery {

std::shared_ptr<const SCNAction> SCNAction::rotateByXYZDuration(double x, double y, double z, double duration) {
    auto a = std::make_shared<SCNAction>();
    a->type = Type::rotateBy;
    a->x = x;
    a->y = y;
    a->z = z;
    a->duration = duration;
    return a;
}

std::shared_ptr<const SCNAction> SCNAction::scaleByDuration(double factor, double duration) {
    auto a = std::make_shared<SCNAction>();
    a->type = Type::scaleBy;
    a->factor = factor;
    a->duration = duration;
    return a;
}

std::shared_ptr<const SCNAction> SCNAction::moveByDuration(SCNVector3 delta, double duration) {
    auto a = std::make_shared<SCNAction>();
    a->type = Type::moveBy;
    a->delta = delta;
    a->duration = duration;
    return a;
}

std::shared_ptr<const SCNAction> SCNAction::repeatActionCount(std::shared_ptr<const SCNAction> action,
                                                              unsigned long count) {
    auto a = std::make_shared<SCNAction>();
    a->type = Type::repeat;
    a->count = count;
    a->action = std::move(action);
    return a;
}

std::shared_ptr<const SCNAction> SCNAction::repeatActionForever(std::shared_ptr<const SCNAction> action) {
    auto a = std::make_shared<SCNAction>();
    a->type = Type::repeatForever;
    a->action = std::move(action);
    return a;
}

double SCNAction::totalDuration() const {
    switch (type) {
    case Type::repeat: return action ? action->totalDuration() * static_cast<double>(count) : 0.0;
    case Type::repeatForever: return std::numeric_limits<double>::infinity();
    default: return duration;
    }
}

}  // namespace orrery
