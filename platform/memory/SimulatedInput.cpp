// The simulated input the simulator, the tests and the benchmarks give the app: recognisers found
// by type, and touches that end at a point.

#include "platform/memory/MemoryPlatform.h"

namespace orrery::memory {

MemoryRecognizerBase* MemoryPlatform::recognizer(std::string_view name) const {
    for (const auto& attached : view->gestureRecognizers)
        if (auto* simulated = dynamic_cast<MemoryRecognizerBase*>(attached.get());
            simulated && (simulated->record.type == name || simulated->record.action.name == name))
            return simulated;
    return nullptr;
}

void MemoryPlatform::endTouch(UIViewController& controller, CGPoint point) {
    MemoryEvent event;
    controller.touchesEndedWithEvent({std::make_shared<MemoryTouch>(log, point)}, &event);
}

}  // namespace orrery::memory
