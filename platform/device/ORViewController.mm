#include "platform/device/RequireARC.h"

#import "platform/device/ORViewController.h"

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

@implementation ORViewController {
    // Shared: a main-queue block may keep the controller alive after this object is gone.
    std::shared_ptr<orrery::ViewController> _controller;
}

- (void)viewDidLoad {
    [super viewDidLoad];
    _controller = orrery::ViewController::make(devicePlatform());
    if (self.sceneView) _controller->sceneView = orrery::device::DevicePlatform::wrapView(self.sceneView);
    _controller->viewDidLoad();
}

- (void)dealloc {
    // From here on the framework reaches neither the controller nor its view wrapper; a block
    // already queued still holds the controller and runs safely.
    if (_controller && _controller->sceneView) orrery::device::DevicePlatform::detachView(*_controller->sceneView);
}

// The status bar stays hidden after launch too (Info.plist hides it only while launching).
- (BOOL)prefersStatusBarHidden {
    return YES;
}

- (void)viewWillAppear:(BOOL)animated {
    [super viewWillAppear:animated];
    _controller->viewWillAppear(animated);
}

- (void)viewWillDisappear:(BOOL)animated {
    [super viewWillDisappear:animated];
    _controller->viewWillDisappear(animated);
}

- (void)didReceiveMemoryWarning {
    [super didReceiveMemoryWarning];
    _controller->didReceiveMemoryWarning();
}

- (void)touchesEnded:(NSSet<::UITouch*>*)touches withEvent:(UIEvent*)event {
    (void)event;
    orrery::UITouchSet set;
    for (::UITouch* touch in touches) set.push_back(std::make_shared<DeviceTouch>(touch));
    _controller->touchesEndedWithEvent(set, nullptr);
}

@end
