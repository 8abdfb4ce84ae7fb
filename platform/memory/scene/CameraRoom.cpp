#include "platform/memory/scene/CameraRoom.h"

#include "platform/memory/geometry/Matrix3.h"
#include <algorithm>
#include <cmath>
#include <utility>

namespace orrery::memory {

namespace {

using Vec = Vector3d;

Vec toVec(SCNVector3 v) { return {static_cast<double>(v.x), static_cast<double>(v.y), static_cast<double>(v.z)}; }

SCNVector3 toVector3(const Vec& v) {
    return {static_cast<float>(v[0]), static_cast<float>(v[1]), static_cast<float>(v[2])};
}

/// Rows of the camera's orientation: yaw about y, then pitch about the turned x axis.
Matrix3d cameraBasis(const SimulatedCamera& camera) {
    const double cy = std::cos(static_cast<double>(camera.yaw)), sy = std::sin(static_cast<double>(camera.yaw));
    const double cp = std::cos(static_cast<double>(camera.pitch)), sp = std::sin(static_cast<double>(camera.pitch));
    // Ry(yaw) * Rx(pitch)
    return {{{cy, sy * sp, sy * cp}, {0, cp, -sp}, {-sy, cy * sp, cy * cp}}};
}

/// Focal length in points of the pinhole projection.
double focalLength(const SimulatedCamera& camera) {
    return (camera.viewport.height / 2.0) / std::tan(camera.verticalFieldOfView / 2.0);
}

}  // namespace

simd_float4x4 SimulatedCamera::transform() const {
    const Matrix3d r = cameraBasis(*this);
    simd_float4x4 m = matrix_identity_float4x4();
    for (int c = 0; c < 3; ++c)
        for (int row = 0; row < 3; ++row) m.columns[c][row] = static_cast<float>(r[row][c]);
    m.columns[3] = {position.x, position.y, position.z, 1.0f};
    return m;
}

void SimulatedCamera::rayThrough(CGPoint point, SCNVector3& origin, SCNVector3& direction) const {
    const double f = focalLength(*this);
    // Camera space: x right, y up, looking along -z; view points have y down.
    Vec world =
        times(cameraBasis(*this), {(point.x - viewport.width / 2.0) / f, -(point.y - viewport.height / 2.0) / f, -1.0});
    makeUnit(world);
    origin = position;
    direction = toVector3(world);
}

std::optional<CGPoint> SimulatedCamera::project(SCNVector3 world) const {
    const Vec p = toVec(world), o = toVec(position);
    // Into camera space with the transposed basis.
    const Vec local = times(transposed(cameraBasis(*this)), {p[0] - o[0], p[1] - o[1], p[2] - o[2]});
    if (!(local[2] < 0)) return std::nullopt;
    const double f = focalLength(*this);
    return CGPoint{viewport.width / 2.0 + f * local[0] / -local[2], viewport.height / 2.0 - f * local[1] / -local[2]};
}

bool SimulatedCamera::onScreen(CGPoint point) const {
    return point.x >= 0 && point.y >= 0 && point.x <= viewport.width && point.y <= viewport.height;
}

SimulatedRoom SimulatedRoom::standard() {
    // Heights are relative to the device where tracking started (about 1.4 m above the floor).
    return {{
        {-1.4f, -5.0f, 5.0f, -5.0f, 5.0f},     // floor
        {-1.0f, -0.5f, 0.5f, -2.2f, -1.6f},    // coffee table
        {-0.65f, 1.2f, 2.4f, -1.5f, -0.7f},    // desk
        {-0.55f, -2.6f, -2.1f, -3.0f, -1.5f},  // sideboard
    }};
}

std::vector<SCNVector3> SimulatedRoom::intersect(SCNVector3 origin, SCNVector3 direction) const {
    const Vec o = toVec(origin), dir = toVec(direction);
    std::vector<std::pair<double, SCNVector3>> hits;
    if (dir[1] == 0.0) return {};
    for (const auto& surface : surfaces) {
        const double t = (static_cast<double>(surface.height) - o[1]) / dir[1];
        if (!(t > 0)) continue;
        const double x = o[0] + t * dir[0], z = o[2] + t * dir[2];
        if (x < surface.minX || x > surface.maxX || z < surface.minZ || z > surface.maxZ) continue;
        hits.emplace_back(t, SCNVector3{static_cast<float>(x), surface.height, static_cast<float>(z)});
    }
    std::stable_sort(hits.begin(), hits.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    std::vector<SCNVector3> points;
    for (const auto& hit : hits) points.push_back(hit.second);
    return points;
}

}  // namespace orrery::memory
