#include "platform/device/RequireARC.h"

#import "app/ORViewController.h"

#include "app/ViewController.h"
#include "platform/device/DevicePlatform.h"

#include <memory>

namespace {

class DeviceTouch final : public orrery::UITouch {
public:
    explicit DeviceTouch(::UITouch* touch) : touch_(touch) {}
    orrery::CGPoint locationInView(const orrery::ARSCNView& view) const override {
        CGPoint p = [touch_ locationInView:orrery::device::DevicePlatform::unwrapView(view)];
        return {p.x, p.y};
    }

private:
    ::UITouch* touch_;
};

/// The platform has no state of its own; it lives for the whole process, so that a controller
/// kept alive by a queued block never outlives it.
orrery::device::DevicePlatform& devicePlatform() {
    static orrery::device::DevicePlatform platform;
    return platform;
}

} // namespace

// Teardown needs no order here: the controller owns its view wrapper, whose destructor cuts
// every way back from the framework view (waiting for a renderer callback in flight), and a
// callback that finds the controller already let go of does nothing.
@implementation ORViewController {
    // Shared: a main-queue block may keep the controller alive after this object is gone.
    // Empty until the view has loaded; every event before that is the framework's alone.
    std::shared_ptr<orrery::ViewController> _controller;
}

- (void)viewDidLoad {
    [super viewDidLoad];
    _controller = orrery::ViewController::make(devicePlatform());
    if (self.sceneView) _controller->sceneView = orrery::device::DevicePlatform::wrapView(self.sceneView);
    _controller->viewDidLoad();
}

// The status bar stays hidden after launch too (Info.plist hides it only while launching).
- (BOOL)prefersStatusBarHidden {
    return YES;
}

- (void)viewWillAppear:(BOOL)animated {
    [super viewWillAppear:animated];
    if (_controller) _controller->viewWillAppear(animated);
}

- (void)viewWillDisappear:(BOOL)animated {
    [super viewWillDisappear:animated];
    if (_controller) _controller->viewWillDisappear(animated);
}

- (void)didReceiveMemoryWarning {
    [super didReceiveMemoryWarning];
    if (_controller) _controller->didReceiveMemoryWarning();
}

// UIKit asks for all four touch methods when one is overridden without calling super; only
// the end of a touch means anything to the app.
- (void)touchesBegan:(NSSet<::UITouch*>*)touches withEvent:(UIEvent*)event {
    (void)touches;
    (void)event;
}

- (void)touchesMoved:(NSSet<::UITouch*>*)touches withEvent:(UIEvent*)event {
    (void)touches;
    (void)event;
}

- (void)touchesCancelled:(NSSet<::UITouch*>*)touches withEvent:(UIEvent*)event {
    (void)touches;
    (void)event;
}

- (void)touchesEnded:(NSSet<::UITouch*>*)touches withEvent:(UIEvent*)event {
    (void)event;
    if (!_controller) return;
    orrery::UITouchSet set;
    for (::UITouch* touch in touches) set.push_back(std::make_shared<DeviceTouch>(touch));
    _controller->touchesEndedWithEvent(set, nullptr);
}

@end
