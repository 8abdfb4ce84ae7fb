#pragma once

#include "app/ViewController.h"

namespace orrery {

/// The start every gesture handler shares: the gesture's point, the nearest hit, its body.
/// Returns the body's named node and raises gestureHandled, or returns null and changes nothing.
std::shared_ptr<SCNNode> bodyUnderGesture(ViewController& controller, const UIGestureRecognizer& recognizer);

}  // namespace orrery
