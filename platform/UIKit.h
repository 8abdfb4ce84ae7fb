#pragma once
// User-interface services: the view controller base, touches, gesture
// recognisers, the application object and web addresses.

#include "platform/SceneKit.h"
#include "platform/Types.h"

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace orrery {

class ARSCNView;
class UIGestureRecognizer;

/// Recogniser states, in the platform's numbering.
enum class UIGestureRecognizerState : int {
    possible = 0,
    began = 1,
    changed = 2,
    ended = 3,
    cancelled = 4,
    failed = 5,
};

/// A target-action selector: the action's platform name ("didPinch:") and
/// the method it invokes on the target.
struct Selector {
    std::string name;
    std::function<void(UIGestureRecognizer&)> method;
};

/// Recogniser delegate. Every question keeps the platform's default
/// (no simultaneous recognition, no failure requirements).
class UIGestureRecognizerDelegate {
public:
    virtual ~UIGestureRecognizerDelegate() = default;
};

class UIGestureRecognizer {
public:
    virtual ~UIGestureRecognizer() = default;
    virtual UIGestureRecognizerState state() const = 0;
    /// The gesture's current point in `view` (centroid of its touches).
    virtual CGPoint locationInView(const ARSCNView& view) const = 0;
    virtual void setDelegate(UIGestureRecognizerDelegate* delegate) = 0;
};

class UIPinchGestureRecognizer : public UIGestureRecognizer {
public:
    /// Scale accumulated since the gesture began (1.0 at the start).
    virtual double scale() const = 0;
};

class UIRotationGestureRecognizer : public UIGestureRecognizer {
public:
    /// Angle in radians accumulated since the gesture began, positive clockwise on screen.
    virtual double rotation() const = 0;
};

class UIPanGestureRecognizer : public UIGestureRecognizer {
public:
    /// Displacement in points accumulated since the gesture began (y grows downward).
    virtual CGPoint translationInView(const ARSCNView& view) const = 0;
};

class UILongPressGestureRecognizer : public UIGestureRecognizer {
public:
    virtual void setMinimumPressDuration(double seconds) = 0;
};

class UITapGestureRecognizer : public UIGestureRecognizer {
public:
    virtual void setNumberOfTapsRequired(unsigned long taps) = 0;
    virtual void setNumberOfTouchesRequired(unsigned long touches) = 0;
};

class UITouch {
public:
    virtual ~UITouch() = default;
    virtual CGPoint locationInView(const ARSCNView& view) const = 0;
};

/// The set of touches that ended, in the platform's enumeration order.
using UITouchSet = std::vector<std::shared_ptr<UITouch>>;

/// The event that carried the touches; no part of it is read.
class UIEvent {
public:
    virtual ~UIEvent() = default;
};

/// A web address; made from text by Platform::URLWithString.
struct NSURL {
    std::string absoluteString;
    friend bool operator==(const NSURL&, const NSURL&) = default;
};

/// Option table of a browser request: text keys to values.
using UIApplicationOpenURLOptions = std::map<std::string, std::string>;

class UIApplication {
public:
    virtual ~UIApplication() = default;
    /// Hands `url` to the system browser; returns at once. A null handler asks for no result.
    virtual void openURLOptionsCompletionHandler(const NSURL& url, const UIApplicationOpenURLOptions& options,
                                                 std::function<void(bool)> completionHandler) = 0;
};

/// Base of the view controller. Each lifecycle operation is the platform's own
/// handling, which an override calls first.
class UIViewController {
public:
    /// The platform's own part of the lifecycle operations below: called with the operation's
    /// name and its animated flag (none for the two without one). Left empty on the device,
    /// where the host runs the framework's versions itself; the in-memory platform records it.
    std::function<void(const char* operation, std::optional<bool> animated)> platformLifecycle;

    virtual ~UIViewController() = default;
    virtual void viewDidLoad() { runPlatformLifecycle("viewDidLoad", std::nullopt); }
    virtual void viewWillAppear(bool animated) { runPlatformLifecycle("viewWillAppear:", animated); }
    virtual void viewWillDisappear(bool animated) { runPlatformLifecycle("viewWillDisappear:", animated); }
    virtual void didReceiveMemoryWarning() { runPlatformLifecycle("didReceiveMemoryWarning", std::nullopt); }
    virtual void touchesEndedWithEvent(const UITouchSet& /*touches*/, const UIEvent* /*event*/) {}

private:
    void runPlatformLifecycle(const char* operation, std::optional<bool> animated) {
        if (platformLifecycle) platformLifecycle(operation, animated);
    }
};

}  // namespace orrery
