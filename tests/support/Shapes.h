#pragma once
// Small scenes the renderer's tests draw.

#include "platform/memory/scene/MemoryScene.h"

#include <memory>

namespace orrery::testing {

/// A cube of side 1 around the origin in one colour, triangles counter-clockwise seen from outside.
inline std::shared_ptr<memory::MemoryMeshGeometry> cube(const UIColor& colour) {
    auto g = std::make_shared<memory::MemoryMeshGeometry>();
    for (int i = 0; i < 8; ++i)
        g->positions.push_back({i & 1 ? 0.5f : -0.5f, i & 2 ? 0.5f : -0.5f, i & 4 ? 0.5f : -0.5f});
    g->indices = {0, 2, 3, 0, 3, 1, 4, 5, 7, 4, 7, 6, 0, 1, 5, 0, 5, 4,
                  2, 6, 7, 2, 7, 3, 0, 4, 6, 0, 6, 2, 1, 3, 7, 1, 7, 5};
    g->computeBounds();
    auto material = std::make_shared<memory::MemoryMaterial>();
    material->diffuseProperty->contents = colour;
    g->materials.push_back(material);
    return g;
}

}  // namespace orrery::testing
