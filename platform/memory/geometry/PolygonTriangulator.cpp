#include "platform/memory/geometry/PolygonTriangulator.h"

#include <GL/glu.h>

#include <cstdint>
#include <utility>

namespace orrery::memory {

namespace {

using Point = PolygonTriangulator::Point;

/// The outline's normal by Newell's method: the sum of the cross products of its edges.
Point newellNormal(std::span<const Point> outline) {
    Point n{0, 0, 0};
    for (std::size_t i = 0; i < outline.size(); ++i) {
        const Point& a = outline[i];
        const Point& b = outline[(i + 1) % outline.size()];
        n = {n[0] + (a[1] - b[1]) * (a[2] + b[2]), n[1] + (a[2] - b[2]) * (a[0] + b[0]),
             n[2] + (a[0] - b[0]) * (a[1] + b[1])};
    }
    return n;
}

/// What the tessellator's callbacks fill in.
struct Output {
    std::vector<std::uint32_t>* triangles;
    std::size_t before;
    std::size_t pointCount;         ///< corners given; crossing points are numbered after them
    std::vector<Point>* crossings;  ///< where crossing points go, or null
    std::size_t crossingsBefore;    ///< what `crossings` held before this polygon
    bool failed = false;
};

void onVertex(void* vertex, void* data) {
    auto& out = *static_cast<Output*>(data);
    out.triangles->push_back(static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(vertex) - 1));
}

void onEdgeFlag(GLboolean, void*) {}  // registered so that the tessellator emits plain triangles only

void onCombine(GLdouble coords[3], void* sources[4], GLfloat weights[4], void** result, void* data) {
    auto& out = *static_cast<Output*>(data);
    if (out.crossings) {
        // A new corner, numbered after the given ones (vertex data is the number plus one).
        out.crossings->push_back({coords[0], coords[1], coords[2]});
        *result = reinterpret_cast<void*>(
            static_cast<std::uintptr_t>(out.pointCount + out.crossings->size() - out.crossingsBefore));
        return;
    }
    // The nearest existing corner stands in, so that no new vertex is needed.
    int best = 0;
    for (int i = 1; i < 4; ++i)
        if (sources[i] && weights[i] > weights[best]) best = i;
    *result = sources[best];
}

void onError(GLenum, void* data) { static_cast<Output*>(data)->failed = true; }

void fan(std::size_t corners, std::vector<std::uint32_t>& triangles) {
    for (std::size_t k = 1; k + 1 < corners; ++k) {
        triangles.push_back(0);
        triangles.push_back(static_cast<std::uint32_t>(k));
        triangles.push_back(static_cast<std::uint32_t>(k + 1));
    }
}

}  // namespace

void PolygonTriangulator::TessellatorDeleter::operator()(GLUtesselator* tessellator) const {
    gluDeleteTess(tessellator);
}

bool PolygonTriangulator::isConvex(std::span<const Point> outline) {
    const Point n = newellNormal(outline);
    const std::size_t count = outline.size();
    for (std::size_t i = 0; i < count; ++i) {
        const Point& a = outline[(i + count - 1) % count];
        const Point& b = outline[i];
        const Point& c = outline[(i + 1) % count];
        const Point u{b[0] - a[0], b[1] - a[1], b[2] - a[2]}, v{c[0] - b[0], c[1] - b[1], c[2] - b[2]};
        const double turn = n[0] * (u[1] * v[2] - u[2] * v[1]) + n[1] * (u[2] * v[0] - u[0] * v[2]) +
                            n[2] * (u[0] * v[1] - u[1] * v[0]);
        if (turn < 0) return false;
    }
    return true;
}

void PolygonTriangulator::triangulate(std::span<const Point> points, std::span<const std::size_t> contourSizes,
                                      WindingRule rule, std::vector<std::uint32_t>& triangles,
                                      std::vector<Point>* crossings) {
    if (contourSizes.empty()) return;
    const std::size_t outlineSize = contourSizes[0];
    if (contourSizes.size() == 1 && (outlineSize <= 3 || isConvex(points.first(outlineSize)))) {
        fan(outlineSize, triangles);
        return;
    }
    if (!tessellator_) {
        tessellator_.reset(gluNewTess());
        if (!tessellator_) {
            fan(outlineSize, triangles);
            return;
        }
        using Callback = void (*)();
        const std::pair<GLenum, Callback> callbacks[] = {
            {GLU_TESS_VERTEX_DATA, reinterpret_cast<Callback>(&onVertex)},
            {GLU_TESS_EDGE_FLAG_DATA, reinterpret_cast<Callback>(&onEdgeFlag)},
            {GLU_TESS_COMBINE_DATA, reinterpret_cast<Callback>(&onCombine)},
            {GLU_TESS_ERROR_DATA, reinterpret_cast<Callback>(&onError)},
        };
        for (const auto& [which, callback] : callbacks) gluTessCallback(tessellator_.get(), which, callback);
    }
    GLUtesselator* const tessellator = tessellator_.get();
    const Point n = newellNormal(points.first(outlineSize));
    gluTessNormal(tessellator, n[0], n[1], n[2]);
    gluTessProperty(tessellator, GLU_TESS_WINDING_RULE,
                    rule == WindingRule::odd ? GLU_TESS_WINDING_ODD : GLU_TESS_WINDING_NONZERO);
    const std::size_t crossingsBefore = crossings ? crossings->size() : 0;
    Output out{&triangles, triangles.size(), points.size(), crossings, crossingsBefore};
    // GLU keeps pointers to the coordinates until the polygon ends; `points` outlives the call.
    gluTessBeginPolygon(tessellator, &out);
    std::size_t first = 0;
    for (const std::size_t size : contourSizes) {
        gluTessBeginContour(tessellator);
        for (std::size_t i = first; i < first + size; ++i)
            gluTessVertex(tessellator, const_cast<GLdouble*>(points[i].data()),
                          reinterpret_cast<void*>(static_cast<std::uintptr_t>(i) + 1));  // never null
        gluTessEndContour(tessellator);
        first += size;
    }
    gluTessEndPolygon(tessellator);
    if (out.failed || (triangles.size() - out.before) % 3 != 0 || triangles.size() == out.before) {
        // Nothing usable (a degenerate or broken outline): fall back to the outline's fan.
        triangles.resize(out.before);
        if (crossings) crossings->resize(crossingsBefore);
        fan(outlineSize, triangles);
    }
}

}  // namespace orrery::memory
