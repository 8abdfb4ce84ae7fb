#pragma once
// What must hold after every command, whatever a session did: checked by the soak and the
// session fuzz target.

#include "sim/Simulator.h"

#include <string>
#include <vector>

namespace orrery::sim {

/// The broken invariants, each as a sentence; empty when all hold:
/// - `selectedBody` is 0 to 15;
/// - once a label has been shown, the controller's label hangs under the scene root and exactly one
///   node of the scene carries the label's name;
/// - no node appears twice in the scene tree, and every child names its parent as parent;
/// - no node runs two actions under the same key.
std::vector<std::string> brokenInvariants(Simulator& simulator);

}  // namespace orrery::sim
