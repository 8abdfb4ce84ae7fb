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

} // namespace

@implementation ORViewController {
    std::unique_ptr<orrery::device::DevicePlatform> _platform;
    std::unique_ptr<orrery::ViewController> _controller;
}

- (void)viewDidLoad {
    [super viewDidLoad];
    _platform = std::make_unique<orrery::device::DevicePlatform>();
    _controller = std::make_unique<orrery::ViewController>(*_platform);
    if (self.sceneView) _controller->sceneView = orrery::device::DevicePlatform::wrapView(self.sceneView);
    _controller->viewDidLoad();
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
