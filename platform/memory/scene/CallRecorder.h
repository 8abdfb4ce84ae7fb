#pragma once
// How scene objects tell whoever listens which platform calls were made on them: one call at a
// time, with the arguments as the platform passed them. The in-memory platform's call log
// (platform/memory/CallLog.h) is the listener; objects without one record nothing.

#include "platform/SceneKit.h"

#include <cstddef>
#include <initializer_list>
#include <optional>
#include <string>
#include <variant>

namespace orrery::memory {

/// One argument of a recorded call: none (null), a text (a name, a key, a node by its name), a
/// vector, an axis and angle, a colour, a font or an action (null for none).
using CallArg = std::variant<std::nullptr_t, std::string, SCNVector3, SCNVector4, UIColor, UIFont, const SCNAction*>;

class CallRecorder {
public:
    virtual ~CallRecorder() = default;
    /// One platform call: `op` as the platform writes it ("setScale:"), `target` the receiving
    /// node's name where it has one.
    virtual void recordCall(const char* op, const std::optional<std::string>& target,
                            std::initializer_list<CallArg> args) = 0;
};

}  // namespace orrery::memory
