#include "platform/memory/Application.h"

#include <utility>

namespace orrery::memory {

namespace {

using Json = nlohmann::json;

}  // namespace

void MemoryApplication::openURLOptionsCompletionHandler(const NSURL& url, const UIApplicationOpenURLOptions& options,
                                                        std::function<void(bool)> completionHandler) {
    if (log_)
        log_->record("openURL:options:completionHandler:", std::nullopt,
                     Json::array({url.absoluteString, Json(options), static_cast<bool>(completionHandler)}));
    if (openedURLs.size() >= kKeptURLRequests) {
        // The older half goes at once, so that each request is moved at most once more.
        const std::size_t drop = openedURLs.size() - kKeptURLRequests / 2;
        openedURLs.erase(openedURLs.begin(), openedURLs.begin() + static_cast<std::ptrdiff_t>(drop));
        droppedURLRequests += drop;
    }
    openedURLs.push_back({url, options, completionHandler});
    // The simulated browser always opens the address.
    if (completionHandler && enqueueOnMain) enqueueOnMain([completionHandler] { completionHandler(true); });
}

}  // namespace orrery::memory
