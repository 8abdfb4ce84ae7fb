#pragma once
// Readable accounts of a dump and of a call log, for the narrated demo.

#include "platform/memory/CallLog.h"
#include "sim/StateDump.h"

#include <functional>
#include <string>
#include <vector>

namespace orrery::sim {

/// A few indented lines describing a state dump: the whole scene, or with `previous` (the dump
/// told before) only the scene's changes since then. `bodyName` names a selectedBody value.
std::string describeState(const Json& state, const Json* previous, const std::function<std::string(int)>& bodyName);

/// One indented line counting the calls by operation, in order of first appearance; `dropped`
/// counts earlier calls that the bounded log let go unread.
std::string describeCalls(const std::vector<memory::PlatformCall>& calls, std::size_t dropped = 0);

}  // namespace orrery::sim
