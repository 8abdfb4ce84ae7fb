#pragma once
// The record of every platform call made through the in-memory implementation.

#include "platform/memory/scene/CallRecorder.h"

#include <nlohmann/json.hpp>

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace orrery::memory {

struct PlatformCall {
    /// The operation as the platform writes it: "setScale:", "runAction:forKey:", "hitTest:options:"...
    std::string op;
    /// The receiver: a node's name where it has one, else nothing.
    std::optional<std::string> target;
    /// The arguments as JSON values (nodes by name, vectors as arrays, actions as objects).
    nlohmann::json args = nlohmann::json::array();
};

/// The log keeps at most `capacity()` calls, so that a long session does not grow without
/// bound when nobody reads it: when full, the older half is let go, calls already taken first,
/// and unread calls let go are counted.
class CallLog final : public CallRecorder {
public:
    /// About 10 MB of calls; far more than any test or scenario reads between two looks.
    static constexpr std::size_t kDefaultCapacity = 65536;

    void record(std::string op, std::optional<std::string> target, nlohmann::json args = nlohmann::json::array());
    /// A call on a scene object, its arguments written as JSON (platform/memory/PlatformJson.h).
    void recordCall(const char* op, const std::optional<std::string>& target,
                    std::initializer_list<CallArg> args) override;
    /// The calls kept, oldest first: every call since construction while fewer than capacity() were made.
    const std::vector<PlatformCall>& calls() const { return calls_; }
    /// The calls recorded since the previous takeNew(), oldest first, less those let go unread.
    std::vector<PlatformCall> takeNew();
    /// How many calls recorded since the previous takeNew() were let go before being read.
    std::size_t droppedUnread() const { return droppedUnread_; }
    /// Only the calls with this operation name.
    std::vector<PlatformCall> withOp(const std::string& op) const;
    /// Forgets every call and the count of those let go unread.
    void clear();

    std::size_t capacity() const { return capacity_; }
    /// 0 keeps nothing (only the count of what was let go), for runs where nobody reads the log.
    void setCapacity(std::size_t capacity);

private:
    void shrinkTo(std::size_t kept);

    std::vector<PlatformCall> calls_;
    std::size_t taken_ = 0;
    std::size_t droppedUnread_ = 0;
    std::size_t capacity_ = kDefaultCapacity;
};

}  // namespace orrery::memory
