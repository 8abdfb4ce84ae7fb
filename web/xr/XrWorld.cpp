#include "web/xr/XrWorld.h"

#include "web/xr/XrMath.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

extern "C" {
// web/xr/XrLibrary.js
void orrery_xr_create_anchor(int id, float px, float py, float pz, float qx, float qy, float qz, float qw);
int orrery_xr_anchor_pose(int id, float* out);
}

namespace orrery::web {

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
