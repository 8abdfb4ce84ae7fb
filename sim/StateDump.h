#pragma once
// The simulator's state dump and call log lines (JSON, one object a line). The platform's values
// in them are written by the one encoder of platform/memory/PlatformJson.h.

#include "platform/memory/CallLog.h"
#include "platform/memory/MemoryPlatform.h"

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

namespace orrery::sim {

/// Keys stay in the order they were written.
using Json = nlohmann::ordered_json;

/// The process-wide values of the app, read by the caller.
struct AppFlags {
    int selectedBody = 0;
    bool gestureHandled = false;
    bool isTextShown = false;
};

/// The whole dump object, keys in the documented order.
Json stateJson(memory::MemoryPlatform& platform, const AppFlags& flags);

/// `{"calls":[{"op":..,"target":..,"args":[..]}...]}`, followed by `,"dropped":N` when the
/// bounded call log let N unread calls go.
std::string callsLine(const std::vector<memory::PlatformCall>& calls, std::size_t dropped = 0);

/// One line of JSON; invalid UTF-8 in texts is replaced rather than rejected.
std::string jsonLine(const Json& value);

}  // namespace orrery::sim
