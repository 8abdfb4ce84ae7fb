#pragma once
// The simulated application object: browser requests, kept within a bound.

#include "platform/UIKit.h"
#include "platform/memory/CallLog.h"
#include <cstddef>
#include <functional>
#include <memory>
#include <vector>

namespace orrery::memory {

/// One browser request.
struct OpenURLRequest {
    NSURL url;
    UIApplicationOpenURLOptions options;
    std::function<void(bool)> completionHandler;
};

class MemoryApplication final : public UIApplication {
public:
    explicit MemoryApplication(std::shared_ptr<CallLog> log) : log_(std::move(log)) {}
    void openURLOptionsCompletionHandler(const NSURL& url, const UIApplicationOpenURLOptions& options,
                                         std::function<void(bool)> completionHandler) override;
    /// The latest browser requests, oldest first: at most kKeptURLRequests, so that a long
    /// session pressing the help button does not grow without bound.
    std::vector<OpenURLRequest> openedURLs;
    /// How many earlier requests were let go to keep that bound.
    std::size_t droppedURLRequests = 0;
    static constexpr std::size_t kKeptURLRequests = 256;
    /// Where completion handlers go (the platform's main queue); they run with `true`.
    std::function<void(std::function<void()>)> enqueueOnMain;

private:
    std::shared_ptr<CallLog> log_;
};

}  // namespace orrery::memory
