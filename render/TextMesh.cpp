// The info label's geometry: the shared layout's glyph contours filled by GLU's tessellator
// for the front (+z) and back (-z) faces, joined by side walls, the extrusion centred on z = 0.

#include "render/TextMesh.h"

#include "platform/memory/TextLayout.h"

#include <GL/glu.h>

#include <deque>

namespace orrery::render {

namespace {

/// Collects the tessellator's triangles (edge flags force separate triangles).
struct Tessellation {
    std::vector<std::array<double, 2>> points;  ///< triangle corners, three per triangle
    std::deque<std::array<double, 3>> created;  ///< corners the tessellator made at crossings
    bool failed = false;

    static void GLAPIENTRY begin(GLenum, void*) {}
    static void GLAPIENTRY end(void*) {}
    static void GLAPIENTRY edgeFlag(GLboolean, void*) {}
    static void GLAPIENTRY vertex(void* data, void* self) {
        const auto* p = static_cast<const double*>(data);
        static_cast<Tessellation*>(self)->points.push_back({p[0], p[1]});
    }
    static void GLAPIENTRY combine(GLdouble coords[3], void*[4], GLfloat[4], void** out, void* self) {
        auto& created = static_cast<Tessellation*>(self)->created;
        created.push_back({coords[0], coords[1], coords[2]});
        *out = created.back().data();
    }
    static void GLAPIENTRY error(GLenum, void* self) { static_cast<Tessellation*>(self)->failed = true; }
};

using Callback = void(GLAPIENTRY*)();

} // namespace

std::string textMeshKey(const memory::MemoryTextGeometry& text) {
    return text.string + '\0' + (text.font ? text.font->fontName + '\0' + std::to_string(text.font->pointSize) : "-") +
           '\0' + std::to_string(text.extrusionDepth);
}

void buildTextMesh(const memory::MemoryTextGeometry& text, std::vector<Vertex>& vertices, std::vector<std::uint32_t>& indices) {
    vertices.clear();
    indices.clear();
    const auto layout = memory::layoutText(text.string, text.font);
    if (layout->contours.empty()) return;

    Tessellation t;
    GLUtesselator* tess = gluNewTess();
    if (!tess) return;
    gluTessCallback(tess, GLU_TESS_BEGIN_DATA, reinterpret_cast<Callback>(&Tessellation::begin));
    gluTessCallback(tess, GLU_TESS_END_DATA, reinterpret_cast<Callback>(&Tessellation::end));
    gluTessCallback(tess, GLU_TESS_EDGE_FLAG_DATA, reinterpret_cast<Callback>(&Tessellation::edgeFlag));
    gluTessCallback(tess, GLU_TESS_VERTEX_DATA, reinterpret_cast<Callback>(&Tessellation::vertex));
    gluTessCallback(tess, GLU_TESS_COMBINE_DATA, reinterpret_cast<Callback>(&Tessellation::combine));
    gluTessCallback(tess, GLU_TESS_ERROR_DATA, reinterpret_cast<Callback>(&Tessellation::error));
    // Outer contours and holes wind oppositely in font outlines; non-zero winding fills both right.
    gluTessProperty(tess, GLU_TESS_WINDING_RULE, GLU_TESS_WINDING_NONZERO);
    gluTessNormal(tess, 0, 0, 1);
    std::deque<std::array<double, 3>> corners;  // the tessellator keeps pointers until it ends
    gluTessBeginPolygon(tess, &t);
    for (const memory::TextContour& contour : layout->contours) {
        gluTessBeginContour(tess);
        for (const auto& p : contour) {
            corners.push_back({p[0], p[1], 0});
            gluTessVertex(tess, corners.back().data(), corners.back().data());
        }
        gluTessEndContour(tess);
    }
    gluTessEndPolygon(tess);
    gluDeleteTess(tess);
    if (t.failed) return;

    const float front = static_cast<float>(std::max(text.extrusionDepth, 0.0) / 2.0), back = -front;
    auto add = [&](double x, double y, float z) {
        Vertex v;
        v.position = {static_cast<float>(x), static_cast<float>(y), z};
        indices.push_back(static_cast<std::uint32_t>(vertices.size()));
        vertices.push_back(v);
    };
    for (std::size_t i = 0; i + 2 < t.points.size(); i += 3) {
        auto a = t.points[i], b = t.points[i + 1], c = t.points[i + 2];
        // Front faces counter-clockwise seen from +z, back faces seen from -z.
        if ((b[0] - a[0]) * (c[1] - a[1]) - (b[1] - a[1]) * (c[0] - a[0]) < 0) std::swap(b, c);
        add(a[0], a[1], front), add(b[0], b[1], front), add(c[0], c[1], front);
        if (front > 0) add(a[0], a[1], back), add(c[0], c[1], back), add(b[0], b[1], back);
    }
    if (front <= 0) return;
    // Side walls face both ways: the text is a closed solid, so the inner sides never show,
    // and contour direction (outer or hole) does not matter.
    for (const memory::TextContour& contour : layout->contours)
        for (std::size_t i = 0; i < contour.size(); ++i) {
            const auto& p = contour[i];
            const auto& q = contour[(i + 1) % contour.size()];
            add(p[0], p[1], front), add(p[0], p[1], back), add(q[0], q[1], back);
            add(p[0], p[1], front), add(q[0], q[1], back), add(q[0], q[1], front);
            add(p[0], p[1], front), add(q[0], q[1], back), add(p[0], p[1], back);
            add(p[0], p[1], front), add(q[0], q[1], front), add(q[0], q[1], back);
        }
}

} // namespace orrery::render
