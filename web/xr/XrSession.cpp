#include "web/xr/XrSession.h"

#include "window/InputMapping.h"

#include <algorithm>
#include <cmath>
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
void orrery_xr_create_anchor(int id, float px, float py, float pz, float qx, float qy, float qz, float qw);
int orrery_xr_anchor_pose(int id, float* out);
}

namespace orrery::web {

namespace {

constexpr int kMostHits = 8;
constexpr int kMostViews = 4;

simd_float4x4 toSimd(const float* m) {
    simd_float4x4 out;
    for (std::size_t c = 0; c < 4; ++c)
        for (std::size_t r = 0; r < 4; ++r) out.columns[c][r] = m[c * 4 + r];
    return out;
}

std::vector<simd_float4x4> matrices(const float* values, int count) {
    std::vector<simd_float4x4> out;
    for (int i = 0; i < count; ++i) out.push_back(toSimd(values + i * 16));
    return out;
}

}  // namespace

CameraAngles cameraAngles(const Matrix& pose) {
    // Forward is -z: the third column negated.
    const double fx = -static_cast<double>(pose[8]), fy = -static_cast<double>(pose[9]),
                 fz = -static_cast<double>(pose[10]);
    const double horizontal = std::sqrt(fx * fx + fz * fz);
    return {static_cast<float>(std::atan2(-fx, -fz)), static_cast<float>(std::atan2(fy, horizontal))};
}

std::array<float, 3> viewerRayThrough(CGPoint point, CGSize screen, const Matrix& p) {
    // Normalised device coordinates of the point, y up.
    const double nx = 2.0 * point.x / screen.width - 1.0, ny = 1.0 - 2.0 * point.y / screen.height;
    // Eye space at depth z = -1 of a perspective projection: x_clip = p0 x + p8 z, w = -z.
    const double x = (nx + static_cast<double>(p[8])) / static_cast<double>(p[0]);
    const double y = (ny + static_cast<double>(p[9])) / static_cast<double>(p[5]);
    const double length = std::sqrt(x * x + y * y + 1.0);
    return {static_cast<float>(x / length), static_cast<float>(y / length), static_cast<float>(-1.0 / length)};
}

double verticalFieldOfView(const Matrix& p) {
    // Both edges of a possibly off-centre frustum: tan(top) = (1 + p9) / p5, tan(bottom) = (1 - p9) / p5.
    const double p5 = static_cast<double>(p[5]), p9 = static_cast<double>(p[9]);
    return std::atan((1.0 + p9) / p5) + std::atan((1.0 - p9) / p5);
}

std::array<float, 4> rotationQuaternion(const simd_float4x4& m) {
    const auto at = [&](std::size_t r, std::size_t c) { return static_cast<double>(m.columns[c][r]); };
    const double trace = at(0, 0) + at(1, 1) + at(2, 2);
    double x, y, z, w;
    if (trace > 0) {
        const double s = std::sqrt(trace + 1.0) * 2;
        w = s / 4, x = (at(2, 1) - at(1, 2)) / s, y = (at(0, 2) - at(2, 0)) / s, z = (at(1, 0) - at(0, 1)) / s;
    } else if (at(0, 0) > at(1, 1) && at(0, 0) > at(2, 2)) {
        const double s = std::sqrt(1.0 + at(0, 0) - at(1, 1) - at(2, 2)) * 2;
        w = (at(2, 1) - at(1, 2)) / s, x = s / 4, y = (at(0, 1) + at(1, 0)) / s, z = (at(0, 2) + at(2, 0)) / s;
    } else if (at(1, 1) > at(2, 2)) {
        const double s = std::sqrt(1.0 + at(1, 1) - at(0, 0) - at(2, 2)) * 2;
        w = (at(0, 2) - at(2, 0)) / s, x = (at(0, 1) + at(1, 0)) / s, y = s / 4, z = (at(1, 2) + at(2, 1)) / s;
    } else {
        const double s = std::sqrt(1.0 + at(2, 2) - at(0, 0) - at(1, 1)) * 2;
        w = (at(1, 0) - at(0, 1)) / s, x = (at(0, 2) + at(2, 0)) / s, y = (at(1, 2) + at(2, 1)) / s, z = s / 4;
    }
    const double n = std::sqrt(x * x + y * y + z * z + w * w);
    return {static_cast<float>(x / n), static_cast<float>(y / n), static_cast<float>(z / n), static_cast<float>(w / n)};
}

bool xrRunning() { return orrery_xr_running() != 0; }
void requestXrSession() { orrery_xr_request(); }
void endXrSession() { orrery_xr_end(); }

void XrSession::started() {
    waiting_.clear();
    anchorsMirrored_ = simulator_.platform().view->arSession.anchors.size();  // earlier ones stay as they were
    lastCameraLine_.clear();
}

bool XrSession::touch(int eventType, const EmscriptenTouchEvent& event, double time) {
    PendingTouch pending{eventType, event, time, -1};
    if (eventType == EMSCRIPTEN_EVENT_TOUCHEND) {
        for (int i = 0; i < event.numTouches; ++i) {
            const EmscriptenTouchPoint& t = event.touches[i];
            if (!t.isChanged) continue;
            float hits[kMostHits * 16];
            const int count = orrery_xr_transient_hits(kTouchHitAge, hits, kMostHits);
            if (count >= 0) {
                prepare(matrices(hits, count));
            } else {
                const CGPoint point =
                    layout_.screen.toPoints(static_cast<double>(t.clientX), static_cast<double>(t.clientY));
                if (!projections_.empty()) {
                    const auto ray =
                        viewerRayThrough(point, simulator_.platform().view->camera.viewport, projections_.front());
                    pending.request = nextRequest_++;
                    orrery_xr_request_hits(pending.request, ray[0], ray[1], ray[2]);
                }
            }
            break;  // one finger's lift at a time is what the app hit-tests
        }
    }
    if (waiting_.empty() && pending.request < 0) return input_.touch(eventType, event, time);
    waiting_.push_back(pending);
    return true;
}

void XrSession::prepare(const std::vector<simd_float4x4>& hits) {
    simulator_.platform().view->prepareFeatureHits(hits);
}

void XrSession::deliverTouches() {
    while (!waiting_.empty()) {
        PendingTouch& next = waiting_.front();
        if (next.request >= 0) {
            float hits[kMostHits * 16];
            const int count = orrery_xr_take_hits(next.request, hits, kMostHits);
            if (count < 0 && ++next.framesWaited < kHitWaitFrames) return;
            prepare(matrices(hits, std::max(0, count)));
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

void XrSession::mirrorAnchors() {
    memory::MemoryARSCNView& view = *simulator_.platform().view;
    const auto& anchors = view.arSession.anchors;
    if (anchorsMirrored_ > anchors.size()) anchorsMirrored_ = anchors.size();  // the app removed them all
    for (; anchorsMirrored_ < anchors.size(); ++anchorsMirrored_) {
        const simd_float4x4& t = anchors[anchorsMirrored_]->transform();
        const auto q = rotationQuaternion(t);
        orrery_xr_create_anchor(static_cast<int>(anchorsMirrored_), t.columns[3][0], t.columns[3][1], t.columns[3][2],
                                q[0], q[1], q[2], q[3]);
    }
    // The nodes of tracked anchors go where the session sees them now.
    for (auto& [anchor, node] : view.anchorNodes) {
        const auto at = std::find(anchors.begin(), anchors.end(), anchor);
        if (at == anchors.end()) continue;
        float pose[16];
        if (orrery_xr_anchor_pose(static_cast<int>(at - anchors.begin()), pose) == 1) node->setTransformMatrix(toSimd(pose));
    }
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
        viewports.push_back({static_cast<int>(v[32]), static_cast<int>(v[33]), static_cast<int>(v[34]),
                             static_cast<int>(v[35])});
    }
    // The app's screen is the page, one point a CSS pixel, showing what the first view shows.
    view.camera.viewport = css;
    layout_ = layoutPage(static_cast<int>(css.width), static_cast<int>(css.height), false, css);
    input_.setLayout(layout_);
    if (!projections.empty()) projections_ = projections;
    followViewer(projections);
    deliverTouches();
    session_.advanceTo(time);
    mirrorAnchors();
    if (!renderer) return;
    const memory::SceneFrame scene = view.frame();
    for (std::size_t i = 0; i < views.size(); ++i) renderer->drawView(scene, views[i], projections[i], viewports[i], options);
}

}  // namespace orrery::web
