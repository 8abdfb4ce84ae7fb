#pragma once
// The simulator's state dump and call log lines (JSON, one object a line).

#include "platform/memory/CallLog.h"
#include "platform/memory/MemoryPlatform.h"
#include "platform/memory/MemoryScene.h"

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

/// A 32-bit value as the shortest decimal that reads back as the same float; one that is not
/// finite as the text "inf", "-inf" or "nan", which a reader tells apart from null (no value).
Json floatJson(float value);
/// A 64-bit value as a number, or as floatJson writes one that is not finite.
Json doubleJson(double value);
Json vectorJson(SCNVector3 v);
Json rotationJson(SCNVector4 v);
Json matrixJson(const simd_float4x4& m);  ///< 16 numbers, column-major
Json actionJson(const SCNAction& action);
Json geometryJson(const SCNGeometry* geometry);
Json nodeJson(const memory::MemoryNode& node);

/// The whole dump object, keys in the documented order.
Json stateJson(memory::MemoryPlatform& platform, const AppFlags& flags);

/// `{"calls":[{"op":..,"target":..,"args":[..]}...]}`, followed by `,"dropped":N` when the
/// bounded call log let N unread calls go.
std::string callsLine(const std::vector<memory::PlatformCall>& calls, std::size_t dropped = 0);

/// One line of JSON; invalid UTF-8 in texts is replaced rather than rejected.
std::string jsonLine(const Json& value);

} // namespace orrery::sim
