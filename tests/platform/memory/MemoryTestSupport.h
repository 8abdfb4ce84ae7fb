#pragma once
// Helpers shared by the in-memory platform tests.

#include "platform/memory/scene/MemoryScene.h"

#include <cmath>
#include <memory>
#include <optional>
#include <string>

namespace orrery::memory::support {

/// A node carrying a mesh whose bounds are the given box.
inline std::shared_ptr<MemoryNode> boxNode(SCNVector3 min, SCNVector3 max,
                                           std::optional<std::string> name = std::nullopt,
                                           std::shared_ptr<CallRecorder> log = nullptr) {
    auto mesh = std::make_shared<MemoryMeshGeometry>(log);
    mesh->positions = {min, max};
    mesh->computeBounds();
    mesh->materials.push_back(std::make_shared<MemoryMaterial>(log));
    auto node = MemoryNode::make(log);
    node->nodeName = std::move(name);
    node->assignGeometry(mesh);
    return node;
}

/// `v` turned by an axis-angle rotation (Rodrigues), worked out independently of the platform.
inline SCNVector3 rotated(SCNVector4 r, SCNVector3 v) {
    const double length = std::sqrt(double(r.x) * r.x + double(r.y) * r.y + double(r.z) * r.z);
    if (length == 0) return v;
    const double kx = r.x / length, ky = r.y / length, kz = r.z / length, c = std::cos(r.w), s = std::sin(r.w);
    const double dot = kx * v.x + ky * v.y + kz * v.z;
    const double cx = ky * v.z - kz * v.y, cy = kz * v.x - kx * v.z, cz = kx * v.y - ky * v.x;
    return {float(v.x * c + cx * s + kx * dot * (1 - c)), float(v.y * c + cy * s + ky * dot * (1 - c)),
            float(v.z * c + cz * s + kz * dot * (1 - c))};
}

}  // namespace orrery::memory::support

#define EXPECT_VEC3_NEAR(actual, ex, ey, ez, tolerance)                                                                \
    do {                                                                                                               \
        const auto v_ = (actual);                                                                                      \
        EXPECT_NEAR(v_.x, (ex), (tolerance)) << "x";                                                                   \
        EXPECT_NEAR(v_.y, (ey), (tolerance)) << "y";                                                                   \
        EXPECT_NEAR(v_.z, (ez), (tolerance)) << "z";                                                                   \
    } while (0)
