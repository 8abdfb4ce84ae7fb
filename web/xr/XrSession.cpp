#include "web/xr/XrSession.h"

#include "window/InputMapping.h"

#include <algorithm>
#include <iostream>

extern "C" {
// web/xr/XrLibrary.js
int orrery_xr_running();
void orrery_xr_request();
void orrery_xr_end();
int orrery_xr_viewer(float* out);
int orrery_xr_views(float* out, int most);
void orrery_xr_request_hits(int id, float x, float y, float z);
int orrery_xr_take_hits(int id, float* out, int most);
int orrery_xr_transient_hits(double age, float* out, int most);
}

namespace orrery::web {

namespace {

constexpr int kMostHits = 8;
constexpr int kMostViews = 4;

std::vector<simd_float4x4> matrices(const float* values, int count) {
    std::vector<simd_float4x4> out;
    for (int i = 0; i < count; ++i) out.push_back(matrixFrom(values + i * 16));
    return out;
}

}  // namespace

bool xrRunning() { return orrery_xr_running() != 0; }
void requestXrSession() { orrery_xr_request(); }
void endXrSession() { orrery_xr_end(); }

void XrSession::started() {
    waiting_.clear();
    lastCameraLine_.clear();
    world_.reset();
    simulator_.platform().view->world = &world_;  // anchors added before stay where they were
}

void XrSession::ended() {
    waiting_.clear();
    simulator_.platform().view->world = nullptr;
}

bool XrSession::touch(int eventType, const EmscriptenTouchEvent& event, double time) {
    PendingTouch pending{eventType, event, time, -1, {}};
    if (eventType == EMSCRIPTEN_EVENT_TOUCHEND) {
        for (int i = 0; i < event.numTouches; ++i) {
            const EmscriptenTouchPoint& t = event.touches[i];
            if (!t.isChanged) continue;
            const CGPoint point =
                layout_.screen.toPoints(static_cast<double>(t.clientX), static_cast<double>(t.clientY));
            pending.point = point;
            float hits[kMostHits * 16];
            const int count = orrery_xr_transient_hits(kTouchHitAge, hits, kMostHits);
            if (count >= 0) {
                world_.found(point, matrices(hits, count));
            } else if (!projections_.empty()) {
                const auto ray =
                    viewerRayThrough(point, simulator_.platform().view->camera.viewport, projections_.front());
                pending.request = nextRequest_++;
                orrery_xr_request_hits(pending.request, ray[0], ray[1], ray[2]);
            }
            break;  // one finger's lift at a time is what the app hit-tests
        }
    }
    if (waiting_.empty() && pending.request < 0) return input_.touch(eventType, event, time);
    waiting_.push_back(pending);
    return true;
}

void XrSession::deliverTouches() {
    while (!waiting_.empty()) {
        PendingTouch& next = waiting_.front();
        if (next.request >= 0) {
            float hits[kMostHits * 16];
            const int count = orrery_xr_take_hits(next.request, hits, kMostHits);
            if (count < 0 && ++next.framesWaited < kHitWaitFrames) return;
            world_.found(next.point, matrices(hits, std::max(0, count)));
        }
        input_.touch(next.type, next.event, next.time);
        waiting_.pop_front();
    }
}

void XrSession::followViewer(const std::vector<Matrix>& projections) {
    memory::SimulatedCamera& camera = simulator_.platform().view->camera;
    if (!projections.empty()) camera.verticalFieldOfView = verticalFieldOfView(projections.front());
    float values[16];
    if (!orrery_xr_viewer(values)) return;
    Matrix pose;
    std::copy_n(values, 16, pose.begin());
    const CameraAngles angles = cameraAngles(pose);
    using window::formatFloat;
    const std::string line = "camera " + formatFloat(pose[12]) + " " + formatFloat(pose[13]) + " " +
                             formatFloat(pose[14]) + " " + formatFloat(angles.yaw) + " " + formatFloat(angles.pitch);
    if (line == lastCameraLine_) return;
    lastCameraLine_ = line;
    std::string error;
    if (!session_.run(line, &error)) std::cerr << "orrery: " << error << '\n';
}

void XrSession::frame(double time, CGSize css, render::Renderer* renderer, const render::RenderOptions& options) {
    memory::MemoryARSCNView& view = *simulator_.platform().view;
    float values[kMostViews * 36];
    const int count = orrery_xr_views(values, kMostViews);
    std::vector<Matrix> views, projections;
    std::vector<render::Viewport> viewports;
    for (int i = 0; i < count; ++i) {
        const float* v = values + i * 36;
        Matrix a, b;
        std::copy_n(v, 16, a.begin());
        std::copy_n(v + 16, 16, b.begin());
        views.push_back(a);
        projections.push_back(b);
        viewports.push_back(
            {static_cast<int>(v[32]), static_cast<int>(v[33]), static_cast<int>(v[34]), static_cast<int>(v[35])});
    }
    // The app's screen is the page, one point a CSS pixel, showing what the first view shows.
    view.camera.viewport = css;
    layout_ = layoutPage(static_cast<int>(css.width), static_cast<int>(css.height), false, css);
    input_.setLayout(layout_);
    if (!projections.empty()) projections_ = projections;
    followViewer(projections);
    deliverTouches();
    session_.advanceTo(time);
    world_.createAnchors();
    if (!renderer) return;
    const memory::SceneFrame scene = view.frame();
    for (std::size_t i = 0; i < views.size(); ++i)
        renderer->drawView(scene, views[i], projections[i], viewports[i], options);
}

}  // namespace orrery::web
