#include "web/xr/XrWorld.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

extern "C" {
// web/xr/XrLibrary.js
void orrery_xr_create_anchor(int id, float px, float py, float pz, float qx, float qy, float qz, float qw);
int orrery_xr_anchor_pose(int id, float* out);
}

namespace orrery::web {

simd_float4x4 matrixFrom(const float* m) {
    simd_float4x4 out;
    for (std::size_t c = 0; c < 4; ++c)
        for (std::size_t r = 0; r < 4; ++r) out.columns[c][r] = m[c * 4 + r];
    return out;
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

void XrWorld::found(CGPoint point, std::vector<simd_float4x4> hits) { found_.emplace(point, std::move(hits)); }

std::vector<simd_float4x4> XrWorld::featurePoints(CGPoint point) {
    if (!found_) return {};
    auto [at, hits] = std::move(*found_);
    found_.reset();
    if (std::hypot(at.x - point.x, at.y - point.y) > kSamePoint) return {};
    return hits;
}

void XrWorld::track(const std::shared_ptr<ARAnchor>& anchor) { queued_.push_back(anchor); }

std::optional<simd_float4x4> XrWorld::trackedTransform(const ARAnchor& anchor) {
    const auto entry = std::find_if(ids_.begin(), ids_.end(), [&](const auto& e) { return e.first.get() == &anchor; });
    if (entry == ids_.end()) return std::nullopt;
    float pose[16];
    if (orrery_xr_anchor_pose(entry->second, pose) != 1) return std::nullopt;
    return matrixFrom(pose);
}

void XrWorld::createAnchors() {
    for (const auto& anchor : queued_) {
        const simd_float4x4& t = anchor->transform();
        const auto q = rotationQuaternion(t);
        ids_.emplace_back(anchor, nextId_);
        orrery_xr_create_anchor(nextId_++, t.columns[3][0], t.columns[3][1], t.columns[3][2], q[0], q[1], q[2], q[3]);
    }
    queued_.clear();
}

void XrWorld::reset() {
    found_.reset();
    queued_.clear();
    ids_.clear();
}

}  // namespace orrery::web
