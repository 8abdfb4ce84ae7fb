#pragma once
// The platform interface over SceneKit, ARKit and UIKit (Objective-C++ only).
//
// Every wrapper holds a strong reference to its framework object. A framework
// node is mapped back to its wrapper through an associated object, so that a
// hit on a child mesh deep inside a model yields the same wrapper the
// controller holds for it.

#include "platform/Platform.h"

#ifdef __OBJC__
@class ARSCNView;
@class SCNNode;
#endif

#include <memory>

namespace orrery::device {

class DevicePlatform final : public Platform {
public:
    std::shared_ptr<SCNScene> newScene() override;
    std::shared_ptr<SCNScene> sceneNamed(const std::string& path) override;
    std::shared_ptr<orrery::SCNNode> nodeWithGeometry(const std::shared_ptr<SCNGeometry>& geometry) override;
    std::shared_ptr<SCNText> textWithStringExtrusionDepth(const std::string& string, double extrusionDepth) override;
    std::optional<UIFont> fontWithNameSize(const std::string& name, double size) override;
    std::shared_ptr<UIPinchGestureRecognizer> newPinchGestureRecognizer(UIViewController* target, Selector action) override;
    std::shared_ptr<UIRotationGestureRecognizer> newRotationGestureRecognizer(UIViewController* target, Selector action) override;
    std::shared_ptr<UIPanGestureRecognizer> newPanGestureRecognizer(UIViewController* target, Selector action) override;
    std::shared_ptr<UILongPressGestureRecognizer> newLongPressGestureRecognizer(UIViewController* target, Selector action) override;
    std::shared_ptr<UITapGestureRecognizer> newTapGestureRecognizer(UIViewController* target, Selector action) override;
    UIApplication& sharedApplication() override;
    std::optional<NSURL> URLWithString(const std::string& text) override;
    int UIApplicationMain(int argc, char** argv, const std::optional<std::string>& principalClassName,
                          const std::optional<std::string>& delegateClassName) override;
    void mainQueueAsync(std::function<void()> block) override;

#ifdef __OBJC__
    /// The wrapper of a framework view, for the view controller shell.
    static std::shared_ptr<orrery::ARSCNView> wrapView(::ARSCNView* view);
    /// The framework view behind a view wrapper made by `wrapView`.
    static ::ARSCNView* unwrapView(const orrery::ARSCNView& view);
    /// The wrapper of a framework node: the existing one while it lives, else a new one.
    /// Safe on any thread.
    static std::shared_ptr<orrery::SCNNode> wrapNode(::SCNNode* node);
#endif
};

} // namespace orrery::device
