// The info label's geometry: the shared layout's glyph contours, extruded (platform/memory/text).

#include "render/TextMesh.h"

#include "platform/memory/text/TextMesh.h"

namespace orrery::render {

std::string textMeshKey(const memory::MemoryTextGeometry& text) {
    return text.string + '\0' + (text.font ? text.font->fontName + '\0' + std::to_string(text.font->pointSize) : "-") +
           '\0' + std::to_string(text.extrusionDepth);
}

void buildTextMesh(const memory::MemoryTextGeometry& text, std::vector<Vertex>& vertices,
                   std::vector<std::uint32_t>& indices) {
    vertices.clear();
    indices.clear();
    const auto layout = memory::layoutText(text.string, memory::textFont(text.font));
    std::vector<std::array<float, 3>> corners;
    memory::extrudeText(*layout, text.extrusionDepth, corners);
    for (const auto& corner : corners) {
        Vertex v;
        v.position = corner;
        indices.push_back(static_cast<std::uint32_t>(vertices.size()));
        vertices.push_back(v);
    }
}

}  // namespace orrery::render
