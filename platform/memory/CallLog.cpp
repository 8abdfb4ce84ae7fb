#include "platform/memory/CallLog.h"

#include <utility>

namespace orrery::memory {

void CallLog::record(std::string op, std::optional<std::string> target, nlohmann::json args) {
    calls_.push_back(PlatformCall{std::move(op), std::move(target), std::move(args)});
}

std::vector<PlatformCall> CallLog::takeNew() {
    std::vector<PlatformCall> fresh(calls_.begin() + static_cast<std::ptrdiff_t>(taken_), calls_.end());
    taken_ = calls_.size();
    return fresh;
}

std::vector<PlatformCall> CallLog::withOp(const std::string& op) const {
    std::vector<PlatformCall> matching;
    for (const auto& call : calls_)
        if (call.op == op) matching.push_back(call);
    return matching;
}

void CallLog::clear() {
    calls_.clear();
    taken_ = 0;
}

} // namespace orrery::memory
