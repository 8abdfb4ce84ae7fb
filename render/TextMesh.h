#pragma once
// The info label's geometry: the laid-out glyph outlines, tessellated and extruded.

#include "platform/memory/scene/MemoryScene.h"
#include "render/GlMath.h"

#include <cstdint>
#include <string>
#include <vector>

namespace orrery::render {

/// What the text mesh depends on (string, font, depth): a changed key means a new mesh.
std::string textMeshKey(const memory::MemoryTextGeometry& text);

/// Front face (+z), back face and sides of the extruded text, in the text's own units.
void buildTextMesh(const memory::MemoryTextGeometry& text, std::vector<Vertex>& vertices,
                   std::vector<std::uint32_t>& indices);

}  // namespace orrery::render
