#pragma once
// The record of every platform call made through the in-memory implementation.

#include <nlohmann/json.hpp>

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

class CallLog {
public:
    void record(std::string op, std::optional<std::string> target, nlohmann::json args = nlohmann::json::array());
    /// Every call since construction.
    const std::vector<PlatformCall>& calls() const { return calls_; }
    /// The calls recorded since the previous take(), oldest first.
    std::vector<PlatformCall> takeNew();
    /// Only the calls with this operation name.
    std::vector<PlatformCall> withOp(const std::string& op) const;
    void clear();

private:
    std::vector<PlatformCall> calls_;
    std::size_t taken_ = 0;
};

} // namespace orrery::memory
