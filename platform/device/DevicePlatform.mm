// The platform interface over the device frameworks. Thin: every operation is
// one framework call; the only state is the wrapper registry and the bridges
// for delegates and target-action.
//
// Who keeps whom alive:
// - a node wrapper keeps its framework node; the node finds its wrapper through an
//   associated box holding a weak reference (the registry, guarded by a lock because the
//   renderer callback wraps nodes on the rendering thread);
// - a recogniser wrapper keeps its framework recogniser; the framework recogniser keeps its
//   target (associated object), and the target reaches the wrapper only through a weak
//   reference, so a recogniser that outlives its wrapper calls nothing;
// - a view wrapper keeps its framework view and the delegate bridge; the view holds the
//   bridge weakly. The bridge points back at the view wrapper and the delegate without
//   owning them: `detach` (run by the view wrapper's destructor, so when the controller that
//   owns the wrapper goes) clears both under the bridge's lock, waits for a callback in flight
//   on the rendering thread, and takes the recognisers off the view.

#include "platform/device/RequireARC.h"

#import <ARKit/ARKit.h>
#import <SceneKit/SceneKit.h>
#import <UIKit/UIKit.h>
#import <objc/runtime.h>

#include <mutex>
#include <vector>

#include "platform/device/DevicePlatform.h"

// Framework classes under names that do not collide with the interface's.
@compatibility_alias FWNode SCNNode;
@compatibility_alias FWScene SCNScene;
@compatibility_alias FWText SCNText;
@compatibility_alias FWGeometry SCNGeometry;
@compatibility_alias FWMaterial SCNMaterial;
@compatibility_alias FWMaterialProperty SCNMaterialProperty;
@compatibility_alias FWAction SCNAction;
@compatibility_alias FWView ARSCNView;
@compatibility_alias FWSession ARSession;
@compatibility_alias FWAnchor ARAnchor;
@compatibility_alias FWPlaneAnchor ARPlaneAnchor;
@compatibility_alias FWFont UIFont;
@compatibility_alias FWColor UIColor;
@compatibility_alias FWURL NSURL;
@compatibility_alias FWTouch UITouch;
@compatibility_alias FWRecognizer UIGestureRecognizer;

namespace od = orrery::device;

/// Holds the wrapper of a framework object without keeping it alive.
@interface ORWrapperBox : NSObject {
@public
    std::weak_ptr<orrery::SCNNode> node;
}
@end
@implementation ORWrapperBox
@end

/// Target of a recogniser, owned by the framework recogniser: calls the selector's method with
/// the recogniser's wrapper while that wrapper lives.
@interface ORGestureTarget : NSObject {
@public
    std::function<void()> fire;
}
- (void)fire:(FWRecognizer*)sender;
@end
@implementation ORGestureTarget
- (void)fire:(FWRecognizer*)sender {
    (void)sender;
    if (fire) fire();
}
@end

/// Forwards the view's renderer and session callbacks to the interface delegate until detached.
@interface ORViewDelegateBridge : NSObject <ARSCNViewDelegate> {
    std::mutex _lock;
    orrery::ARSCNViewDelegate* _target;
    orrery::ARSCNView* _view;
}
- (instancetype)initWithTarget:(orrery::ARSCNViewDelegate*)target view:(orrery::ARSCNView*)view;
/// No callback reaches the delegate after this returns; one in flight is waited for.
- (void)detach;
@end

static char wrapperKey;
static char targetKey;
/// Guards the node-to-wrapper registry: the renderer callback wraps nodes off the main thread.
static std::mutex wrapperLock;

namespace {

orrery::SCNVector3 fromFW(SCNVector3 v) { return {float(v.x), float(v.y), float(v.z)}; }
SCNVector3 toFW(orrery::SCNVector3 v) { return SCNVector3Make(v.x, v.y, v.z); }
orrery::SCNVector4 fromFW(SCNVector4 v) { return {float(v.x), float(v.y), float(v.z), float(v.w)}; }
SCNVector4 toFW(orrery::SCNVector4 v) { return SCNVector4Make(v.x, v.y, v.z, v.w); }
NSString* toNS(const std::string& s) { return [[NSString alloc] initWithBytes:s.data() length:s.size() encoding:NSUTF8StringEncoding]; }
std::string fromNS(NSString* s) {
    const char* utf8 = s.UTF8String;  // nil for nil, and NULL when the text cannot be encoded
    return utf8 ? std::string(utf8) : std::string();
}
orrery::simd_float4x4 fromFW(simd_float4x4 m) {
    orrery::simd_float4x4 r;
    for (int c = 0; c < 4; ++c)
        for (int row = 0; row < 4; ++row) r.columns[c][row] = m.columns[c][row];
    return r;
}
simd_float4x4 toFW(const orrery::simd_float4x4& m) {
    simd_float4x4 r;
    for (int c = 0; c < 4; ++c)
        for (int row = 0; row < 4; ++row) r.columns[c][row] = m.columns[c][row];
    return r;
}
orrery::CGPoint fromFW(CGPoint p) { return {p.x, p.y}; }
CGPoint toFW(orrery::CGPoint p) { return CGPointMake(p.x, p.y); }

FWAction* toFW(const orrery::SCNAction& a) {
    using T = orrery::SCNAction::Type;
    switch (a.type) {
    case T::rotateBy: return [FWAction rotateByX:a.x y:a.y z:a.z duration:a.duration];
    case T::scaleBy: return [FWAction scaleBy:a.factor duration:a.duration];
    case T::moveBy: return [FWAction moveBy:toFW(a.delta) duration:a.duration];
    case T::repeat: return [FWAction repeatAction:toFW(*a.action) count:a.count];
    case T::repeatForever: return [FWAction repeatActionForever:toFW(*a.action)];
    }
    return nil;
}

class DeviceMaterialProperty final : public orrery::SCNMaterialProperty {
public:
    explicit DeviceMaterialProperty(FWMaterialProperty* p) : p_(p) {}
    void setContents(const orrery::UIColor& c) override {
        p_.contents = [FWColor colorWithRed:c.red green:c.green blue:c.blue alpha:c.alpha];
    }

private:
    FWMaterialProperty* p_;
};

class DeviceMaterial final : public orrery::SCNMaterial {
public:
    explicit DeviceMaterial(FWMaterial* m) : m_(m) {}
    std::shared_ptr<orrery::SCNMaterialProperty> diffuse() override { return std::make_shared<DeviceMaterialProperty>(m_.diffuse); }
    std::shared_ptr<orrery::SCNMaterialProperty> specular() override { return std::make_shared<DeviceMaterialProperty>(m_.specular); }

private:
    FWMaterial* m_;
};

orrery::SCNBoundingBox boundsOf(id<SCNBoundingVolume> volume) {
    // Without an extent (no geometry below) the framework leaves both corners unwritten; the
    // box is then empty at the origin, as the framework's own boundingBox property reports it.
    SCNVector3 lo = SCNVector3Zero, hi = SCNVector3Zero;
    if (![volume getBoundingBoxMin:&lo max:&hi]) return {};
    return {fromFW(lo), fromFW(hi)};
}

class DeviceGeometry final : public orrery::SCNGeometry {
public:
    explicit DeviceGeometry(FWGeometry* g) : g(g) {}
    orrery::SCNBoundingBox boundingBox() const override { return boundsOf(g); }
    std::shared_ptr<orrery::SCNMaterial> firstMaterial() override {
        FWMaterial* m = g.firstMaterial;
        return m ? std::make_shared<DeviceMaterial>(m) : nullptr;
    }
    FWGeometry* g;
};

class DeviceText final : public orrery::SCNText {
public:
    explicit DeviceText(FWText* t) : t(t) {}
    orrery::SCNBoundingBox boundingBox() const override { return boundsOf(t); }
    std::shared_ptr<orrery::SCNMaterial> firstMaterial() override {
        FWMaterial* m = t.firstMaterial;
        return m ? std::make_shared<DeviceMaterial>(m) : nullptr;
    }
    void setFont(const std::optional<orrery::UIFont>& font) override {
        t.font = font ? [FWFont fontWithName:toNS(font->fontName) size:font->pointSize] : nil;
    }
    FWText* t;
};

FWGeometry* unwrapGeometry(const std::shared_ptr<orrery::SCNGeometry>& g) {
    if (auto* text = dynamic_cast<DeviceText*>(g.get())) return text->t;
    if (auto* plain = dynamic_cast<DeviceGeometry*>(g.get())) return plain->g;
    return nil;
}

class DeviceNode final : public orrery::SCNNode {
public:
    explicit DeviceNode(FWNode* n) : n(n) {}
    std::optional<std::string> name() const override {
        return n.name ? std::optional<std::string>(fromNS(n.name)) : std::nullopt;
    }
    void setName(const std::optional<std::string>& name) override { n.name = name ? toNS(*name) : nil; }
    orrery::SCNVector3 position() const override { return fromFW(n.position); }
    void setPosition(orrery::SCNVector3 p) override { n.position = toFW(p); }
    orrery::SCNVector3 scale() const override { return fromFW(n.scale); }
    void setScale(orrery::SCNVector3 s) override { n.scale = toFW(s); }
    orrery::SCNVector4 rotation() const override { return fromFW(n.rotation); }
    void setRotation(orrery::SCNVector4 r) override { n.rotation = toFW(r); }
    std::shared_ptr<orrery::SCNNode> parentNode() const override { return od::DevicePlatform::wrapNode(n.parentNode); }
    std::vector<std::shared_ptr<orrery::SCNNode>> childNodes() const override {
        std::vector<std::shared_ptr<orrery::SCNNode>> out;
        for (FWNode* child in n.childNodes) out.push_back(od::DevicePlatform::wrapNode(child));
        return out;
    }
    void addChildNode(const std::shared_ptr<orrery::SCNNode>& child) override {
        [n addChildNode:static_cast<DeviceNode&>(*child).n];
    }
    void removeFromParentNode() override { [n removeFromParentNode]; }
    std::shared_ptr<orrery::SCNNode> clone() override { return od::DevicePlatform::wrapNode([n clone]); }
    std::shared_ptr<orrery::SCNGeometry> geometry() const override {
        if (!n.geometry) return nullptr;
        if ([n.geometry isKindOfClass:[FWText class]]) return std::make_shared<DeviceText>((FWText*)n.geometry);
        return std::make_shared<DeviceGeometry>(n.geometry);
    }
    void runActionForKey(std::shared_ptr<const orrery::SCNAction> action, const std::optional<std::string>& key) override {
        [n runAction:toFW(*action) forKey:key ? toNS(*key) : nil];
    }
    void removeAllActions() override { [n removeAllActions]; }
    FWNode* n;
};

class DeviceScene final : public orrery::SCNScene {
public:
    explicit DeviceScene(FWScene* s) : s(s) {}
    std::shared_ptr<orrery::SCNNode> rootNode() const override { return od::DevicePlatform::wrapNode(s.rootNode); }
    FWScene* s;
};

class DeviceSession final : public orrery::ARSession {
public:
    explicit DeviceSession(FWView* view) : view_(view) {}
    void runWithConfigurationOptions(const orrery::ARWorldTrackingConfiguration& c, unsigned options) override {
        ARWorldTrackingConfiguration* configuration = [ARWorldTrackingConfiguration new];
        configuration.planeDetection = c.planeDetection;
        [view_.session runWithConfiguration:configuration options:options];
    }
    void pause() override { [view_.session pause]; }
    std::shared_ptr<const orrery::ARFrame> currentFrame() const override {
        ARFrame* frame = view_.session.currentFrame;
        if (!frame) return nullptr;
        auto out = std::make_shared<orrery::ARFrame>();
        out->timestamp = frame.timestamp;
        simd_float3 e = frame.camera.eulerAngles;
        out->camera.eulerAngles = {e.x, e.y, e.z};
        out->camera.transform = fromFW(frame.camera.transform);
        return out;
    }
    void addAnchor(const std::shared_ptr<orrery::ARAnchor>& anchor) override {
        [view_.session addAnchor:[[FWAnchor alloc] initWithTransform:toFW(anchor->transform())]];
    }

private:
    __weak FWView* view_;
};

class DeviceView final : public orrery::ARSCNView {
public:
    explicit DeviceView(FWView* v) : v(v), session_(v) {}
    ~DeviceView() override { detach(); }
    DeviceView(const DeviceView&) = delete;
    DeviceView& operator=(const DeviceView&) = delete;
    std::shared_ptr<orrery::SCNScene> scene() const override {
        return v.scene ? std::make_shared<DeviceScene>(v.scene) : nullptr;
    }
    void setScene(const std::shared_ptr<orrery::SCNScene>& scene) override {
        v.scene = static_cast<DeviceScene&>(*scene).s;
    }
    void setDelegate(orrery::ARSCNViewDelegate* delegate) override {
        [bridge_ detach];
        bridge_ = delegate ? [[ORViewDelegateBridge alloc] initWithTarget:delegate view:this] : nil;
        v.delegate = bridge_;
    }
    /// Ends every way back from the framework view into this wrapper and its delegate.
    void detach();
    void setShowsStatistics(bool shows) override { v.showsStatistics = shows; }
    void setAntialiasingMode(orrery::SCNAntialiasingMode mode) override {
        v.antialiasingMode = static_cast<SCNAntialiasingMode>(mode);
    }
    orrery::ARSession& session() override { return session_; }
    std::vector<orrery::SCNHitTestResult> hitTestOptions(orrery::CGPoint point, const orrery::SCNHitTestOptions& options) override {
        NSMutableDictionary<SCNHitTestOption, id>* fw = [NSMutableDictionary dictionary];
        for (const auto& [key, value] : options)
            if (key == orrery::SCNHitTestBoundingBoxOnlyKey) fw[SCNHitTestBoundingBoxOnlyKey] = @(value);
        std::vector<orrery::SCNHitTestResult> out;
        for (SCNHitTestResult* hit in [v hitTest:toFW(point) options:fw]) out.push_back({od::DevicePlatform::wrapNode(hit.node)});
        return out;
    }
    std::vector<orrery::ARHitTestResult> hitTestTypes(orrery::CGPoint point, std::uint64_t types) override {
        std::vector<orrery::ARHitTestResult> out;
        // The feature-point hit test is the operation the logic is written against; its
        // replacement (raycasting) does not hit feature points.
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wdeprecated-declarations"
        for (ARHitTestResult* hit in [v hitTest:toFW(point) types:(ARHitTestResultType)types]) out.push_back({fromFW(hit.worldTransform)});
#pragma clang diagnostic pop
        return out;
    }
    void addGestureRecognizer(const std::shared_ptr<orrery::UIGestureRecognizer>& recognizer) override;

    FWView* v;

private:
    DeviceSession session_;
    ORViewDelegateBridge* bridge_ = nil;
    // The recognisers stay on the view, and their wrappers alive, until `detach`.
    std::vector<std::shared_ptr<orrery::UIGestureRecognizer>> attachedRecognizers_;
};

/// Operations common to the recogniser wrappers; `r` is the framework recogniser.
template <class Base, class FW>
class DeviceRecognizer : public Base {
public:
    explicit DeviceRecognizer(FW* recognizer) : r(recognizer) {}
    orrery::UIGestureRecognizerState state() const override {
        return static_cast<orrery::UIGestureRecognizerState>(r.state);
    }
    orrery::CGPoint locationInView(const orrery::ARSCNView& view) const override {
        return fromFW([r locationInView:static_cast<const DeviceView&>(view).v]);
    }
    void setDelegate(orrery::UIGestureRecognizerDelegate* delegate) override {
        // No delegate question is answered, so the framework's defaults hold; the
        // recogniser's delegate stays nil, which gives exactly those defaults.
        (void)delegate;
    }
    FW* r;
};

class DevicePinch final : public DeviceRecognizer<orrery::UIPinchGestureRecognizer, UIPinchGestureRecognizer> {
public:
    using DeviceRecognizer::DeviceRecognizer;
    double scale() const override { return r.scale; }
};
class DeviceRotation final : public DeviceRecognizer<orrery::UIRotationGestureRecognizer, UIRotationGestureRecognizer> {
public:
    using DeviceRecognizer::DeviceRecognizer;
    double rotation() const override { return r.rotation; }
};
class DevicePan final : public DeviceRecognizer<orrery::UIPanGestureRecognizer, UIPanGestureRecognizer> {
public:
    using DeviceRecognizer::DeviceRecognizer;
    orrery::CGPoint translationInView(const orrery::ARSCNView& view) const override {
        return fromFW([r translationInView:static_cast<const DeviceView&>(view).v]);
    }
};
class DeviceLongPress final : public DeviceRecognizer<orrery::UILongPressGestureRecognizer, UILongPressGestureRecognizer> {
public:
    using DeviceRecognizer::DeviceRecognizer;
    void setMinimumPressDuration(double seconds) override { r.minimumPressDuration = seconds; }
};
class DeviceTap final : public DeviceRecognizer<orrery::UITapGestureRecognizer, UITapGestureRecognizer> {
public:
    using DeviceRecognizer::DeviceRecognizer;
    void setNumberOfTapsRequired(unsigned long taps) override { r.numberOfTapsRequired = taps; }
    void setNumberOfTouchesRequired(unsigned long touches) override { r.numberOfTouchesRequired = touches; }
};

FWRecognizer* unwrapRecognizer(orrery::UIGestureRecognizer& g) {
    if (auto* x = dynamic_cast<DevicePinch*>(&g)) return x->r;
    if (auto* x = dynamic_cast<DeviceRotation*>(&g)) return x->r;
    if (auto* x = dynamic_cast<DevicePan*>(&g)) return x->r;
    if (auto* x = dynamic_cast<DeviceLongPress*>(&g)) return x->r;
    if (auto* x = dynamic_cast<DeviceTap*>(&g)) return x->r;
    return nil;
}

void DeviceView::addGestureRecognizer(const std::shared_ptr<orrery::UIGestureRecognizer>& recognizer) {
    if (!recognizer) return;
    [v addGestureRecognizer:unwrapRecognizer(*recognizer)];
    attachedRecognizers_.push_back(recognizer);
}

void DeviceView::detach() {
    [bridge_ detach];
    bridge_ = nil;
    v.delegate = nil;
    for (const auto& recognizer : attachedRecognizers_) [v removeGestureRecognizer:unwrapRecognizer(*recognizer)];
    attachedRecognizers_.clear();
}

/// Makes a framework recogniser whose action calls the selector's method with its wrapper.
template <class Wrapper, class FW>
std::shared_ptr<Wrapper> makeRecognizer(orrery::Selector action) {
    ORGestureTarget* target = [ORGestureTarget new];
    FW* fw = [[FW alloc] initWithTarget:target action:@selector(fire:)];
    // UIKit does not retain a recogniser's target: the recogniser keeps it for as long as it lives.
    objc_setAssociatedObject(fw, &targetKey, target, OBJC_ASSOCIATION_RETAIN_NONATOMIC);
    auto wrapper = std::make_shared<Wrapper>(fw);
    std::weak_ptr<Wrapper> weak = wrapper;
    target->fire = [weak, method = std::move(action.method)] {
        if (auto w = weak.lock()) method(*w);
    };
    return wrapper;
}

class DeviceApplication final : public orrery::UIApplication {
public:
    void openURLOptionsCompletionHandler(const orrery::NSURL& url, const orrery::UIApplicationOpenURLOptions& options,
                                         std::function<void(bool)> completion) override {
        NSMutableDictionary<UIApplicationOpenExternalURLOptionsKey, id>* fw = [NSMutableDictionary dictionary];
        for (const auto& [key, value] : options) fw[toNS(key)] = toNS(value);
        void (^handler)(BOOL) = nil;
        if (completion) handler = ^(BOOL success) { completion(success); };
        // The interface's address was made by URLWithString, but nothing stops a caller from
        // building one by hand; a text the framework does not take is a failed request.
        FWURL* address = [FWURL URLWithString:toNS(url.absoluteString)];
        if (!address) {
            if (handler) handler(NO);
            return;
        }
        [[::UIApplication sharedApplication] openURL:address options:fw completionHandler:handler];
    }
};

} // namespace

@implementation ORViewDelegateBridge
- (instancetype)initWithTarget:(orrery::ARSCNViewDelegate*)target view:(orrery::ARSCNView*)view {
    if ((self = [super init])) {
        _target = target;
        _view = view;
    }
    return self;
}
- (void)detach {
    std::lock_guard<std::mutex> hold(_lock);
    _target = nullptr;
    _view = nullptr;
}
// Each callback runs under the lock, so `detach` cannot free what it is using.
- (void)renderer:(id<SCNSceneRenderer>)renderer didAddNode:(FWNode*)node forAnchor:(FWAnchor*)anchor {
    (void)renderer;
    std::lock_guard<std::mutex> hold(_lock);
    if (!_target || !_view) return;
    std::shared_ptr<orrery::ARAnchor> wrapped;
    if ([anchor isKindOfClass:[FWPlaneAnchor class]])
        wrapped = std::make_shared<orrery::ARPlaneAnchor>(fromFW(anchor.transform));
    else
        wrapped = std::make_shared<orrery::ARAnchor>(fromFW(anchor.transform));
    _target->rendererDidAddNodeForAnchor(*_view, od::DevicePlatform::wrapNode(node), wrapped);
}
- (void)session:(FWSession*)session didFailWithError:(NSError*)error {
    (void)session;
    std::lock_guard<std::mutex> hold(_lock);
    if (_target && _view) _target->sessionDidFailWithError(_view->session(), {fromNS(error.domain), static_cast<long>(error.code)});
}
- (void)sessionWasInterrupted:(FWSession*)session {
    (void)session;
    std::lock_guard<std::mutex> hold(_lock);
    if (_target && _view) _target->sessionWasInterrupted(_view->session());
}
- (void)sessionInterruptionEnded:(FWSession*)session {
    (void)session;
    std::lock_guard<std::mutex> hold(_lock);
    if (_target && _view) _target->sessionInterruptionEnded(_view->session());
}
@end

namespace orrery::device {

std::shared_ptr<orrery::SCNNode> DevicePlatform::wrapNode(::FWNode* node) {
    if (!node) return nullptr;
    std::lock_guard<std::mutex> hold(wrapperLock);
    ORWrapperBox* box = objc_getAssociatedObject(node, &wrapperKey);
    if (box) {
        if (auto existing = box->node.lock()) return existing;
    } else {
        box = [ORWrapperBox new];
        objc_setAssociatedObject(node, &wrapperKey, box, OBJC_ASSOCIATION_RETAIN_NONATOMIC);
    }
    auto wrapper = std::make_shared<DeviceNode>(node);
    box->node = wrapper;
    return wrapper;
}

std::shared_ptr<orrery::ARSCNView> DevicePlatform::wrapView(::FWView* view) { return std::make_shared<DeviceView>(view); }

::FWView* DevicePlatform::unwrapView(const orrery::ARSCNView& view) { return static_cast<const DeviceView&>(view).v; }

std::shared_ptr<SCNScene> DevicePlatform::newScene() { return std::make_shared<DeviceScene>([FWScene scene]); }

std::shared_ptr<SCNScene> DevicePlatform::sceneNamed(const std::string& path) {
    FWScene* scene = [FWScene sceneNamed:toNS(path)];
    return scene ? std::make_shared<DeviceScene>(scene) : nullptr;
}

std::shared_ptr<orrery::SCNNode> DevicePlatform::nodeWithGeometry(const std::shared_ptr<SCNGeometry>& geometry) {
    return wrapNode([FWNode nodeWithGeometry:unwrapGeometry(geometry)]);
}

std::shared_ptr<SCNText> DevicePlatform::textWithStringExtrusionDepth(const std::string& string, double depth) {
    return std::make_shared<DeviceText>([FWText textWithString:toNS(string) extrusionDepth:depth]);
}

std::optional<UIFont> DevicePlatform::fontWithNameSize(const std::string& name, double size) {
    FWFont* font = [FWFont fontWithName:toNS(name) size:size];
    if (!font) return std::nullopt;
    return UIFont{fromNS(font.fontName), font.pointSize};
}

std::shared_ptr<UIPinchGestureRecognizer> DevicePlatform::newPinchGestureRecognizer(UIViewController*, Selector action) {
    return makeRecognizer<DevicePinch, ::UIPinchGestureRecognizer>(std::move(action));
}
std::shared_ptr<UIRotationGestureRecognizer> DevicePlatform::newRotationGestureRecognizer(UIViewController*, Selector action) {
    return makeRecognizer<DeviceRotation, ::UIRotationGestureRecognizer>(std::move(action));
}
std::shared_ptr<UIPanGestureRecognizer> DevicePlatform::newPanGestureRecognizer(UIViewController*, Selector action) {
    return makeRecognizer<DevicePan, ::UIPanGestureRecognizer>(std::move(action));
}
std::shared_ptr<UILongPressGestureRecognizer> DevicePlatform::newLongPressGestureRecognizer(UIViewController*, Selector action) {
    return makeRecognizer<DeviceLongPress, ::UILongPressGestureRecognizer>(std::move(action));
}
std::shared_ptr<UITapGestureRecognizer> DevicePlatform::newTapGestureRecognizer(UIViewController*, Selector action) {
    return makeRecognizer<DeviceTap, ::UITapGestureRecognizer>(std::move(action));
}

UIApplication& DevicePlatform::sharedApplication() {
    static DeviceApplication application;
    return application;
}

std::optional<NSURL> DevicePlatform::URLWithString(const std::string& text) {
    FWURL* url = [FWURL URLWithString:toNS(text)];
    if (!url) return std::nullopt;
    return NSURL{fromNS(url.absoluteString)};
}

int DevicePlatform::UIApplicationMain(int argc, char** argv, const std::optional<std::string>& principalClassName,
                                      const std::optional<std::string>& delegateClassName) {
    return ::UIApplicationMain(argc, argv, principalClassName ? toNS(*principalClassName) : nil,
                               delegateClassName ? toNS(*delegateClassName) : nil);
}

void DevicePlatform::mainQueueAsync(std::function<void()> block) {
    dispatch_async(dispatch_get_main_queue(), ^{ block(); });
}

} // namespace orrery::device
