// The info label's geometry (first version: not drawn yet).

#include "render/TextMesh.h"

namespace orrery::render {

std::string textMeshKey(const memory::MemoryTextGeometry& text) {
    return text.string + '\n' + (text.font ? text.font->fontName + '/' + std::to_string(text.font->pointSize) : "-") + '/' +
           std::to_string(text.extrusionDepth);
}

void buildTextMesh(const memory::MemoryTextGeometry&, std::vector<Vertex>& vertices, std::vector<std::uint32_t>& indices) {
    vertices.clear();
    indices.clear();
}

} // namespace orrery::render
