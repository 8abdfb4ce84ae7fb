#include "platform/memory/CallLog.h"

#include "platform/memory/PlatformJson.h"

#include <utility>

namespace orrery::memory {

void CallLog::record(std::string op, std::optional<std::string> target, nlohmann::json args) {
    if (capacity_ == 0) {
        ++droppedUnread_;
        return;
    }
    // Letting go of half at a time keeps recording cheap: each call is moved at most once more.
    if (calls_.size() >= capacity_) shrinkTo(capacity_ / 2);
    calls_.push_back(PlatformCall{std::move(op), std::move(target), std::move(args)});
}

void CallLog::recordCall(const char* op, const std::optional<std::string>& target,
                         std::initializer_list<CallArg> args) {
    if (capacity_ == 0) {  // nobody reads the log: no need to write the arguments
        ++droppedUnread_;
        return;
    }
    nlohmann::json json = nlohmann::json::array();
    for (const CallArg& arg : args) json.push_back(CallJson::argument(arg));
    record(op, target, std::move(json));
}

void CallLog::shrinkTo(std::size_t kept) {
    if (calls_.size() <= kept) return;
    const std::size_t drop = calls_.size() - kept;
    droppedUnread_ += drop > taken_ ? drop - taken_ : 0;
    taken_ = drop > taken_ ? 0 : taken_ - drop;
    calls_.erase(calls_.begin(), calls_.begin() + static_cast<std::ptrdiff_t>(drop));
}

std::vector<PlatformCall> CallLog::takeNew() {
    std::vector<PlatformCall> fresh(calls_.begin() + static_cast<std::ptrdiff_t>(taken_), calls_.end());
    taken_ = calls_.size();
    droppedUnread_ = 0;
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
    droppedUnread_ = 0;
}

void CallLog::setCapacity(std::size_t capacity) {
    capacity_ = capacity;
    shrinkTo(capacity);
}

}  // namespace orrery::memory
