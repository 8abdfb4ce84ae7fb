#pragma once
// The platform interface the logic is written against.
//
// Objects (nodes, scenes, views...) carry their own operations; this class
// holds the class-level operations: constructors, lookups and the shared
// application services. One implementation runs over the device frameworks
// (platform/device), one in memory (platform/memory).

#include "platform/ARKit.h"
#include "platform/SceneKit.h"
#include "platform/Types.h"
#include "platform/UIKit.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace orrery {

class Platform {
public:
    virtual ~Platform() = default;
    // One platform serves the whole application, which keeps references to it.
    Platform(const Platform&) = delete;
    Platform& operator=(const Platform&) = delete;

    // Scene graph
    /// A new empty scene (plain construction).
    virtual std::shared_ptr<SCNScene> newScene() = 0;
    /// `SCNScene.sceneNamed:`: the model scene at a resource path, or null.
    virtual std::shared_ptr<SCNScene> sceneNamed(const std::string& path) = 0;
    /// `SCNNode.nodeWithGeometry:`: a new unnamed node carrying `geometry`.
    virtual std::shared_ptr<SCNNode> nodeWithGeometry(const std::shared_ptr<SCNGeometry>& geometry) = 0;
    /// `SCNText.textWithString:extrusionDepth:`.
    virtual std::shared_ptr<SCNText> textWithStringExtrusionDepth(const std::string& string, double extrusionDepth) = 0;

    // UIKit
    /// `UIFont.fontWithName:size:`: the font, or nothing when it is not available.
    virtual std::optional<UIFont> fontWithNameSize(const std::string& name, double size) = 0;
    virtual std::shared_ptr<UIPinchGestureRecognizer> newPinchGestureRecognizer(UIViewController* target,
                                                                                Selector action) = 0;
    virtual std::shared_ptr<UIRotationGestureRecognizer> newRotationGestureRecognizer(UIViewController* target,
                                                                                      Selector action) = 0;
    virtual std::shared_ptr<UIPanGestureRecognizer> newPanGestureRecognizer(UIViewController* target,
                                                                            Selector action) = 0;
    virtual std::shared_ptr<UILongPressGestureRecognizer> newLongPressGestureRecognizer(UIViewController* target,
                                                                                        Selector action) = 0;
    virtual std::shared_ptr<UITapGestureRecognizer> newTapGestureRecognizer(UIViewController* target,
                                                                            Selector action) = 0;
    /// `UIApplication.sharedApplication`.
    virtual UIApplication& sharedApplication() = 0;
    /// `URL(string:)`: the address, or nothing for a malformed text.
    virtual std::optional<NSURL> URLWithString(const std::string& text) = 0;

    /// `UIApplicationMain` with the process arguments, the principal class name (nothing: the
    /// platform's default) and the delegate class name (from `NSStringFromClass`). Never returns
    /// on the device.
    virtual int UIApplicationMain(int argc, char** argv, const std::optional<std::string>& principalClassName,
                                  const std::optional<std::string>& delegateClassName) = 0;

    // Dispatch
    /// Main queue `async`: `block` runs later on the main thread, in submission order.
    virtual void mainQueueAsync(std::function<void()> block) = 0;

protected:
    Platform() = default;
};

}  // namespace orrery
