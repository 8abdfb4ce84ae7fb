#include "platform/memory/text/TextMesh.h"

#include "platform/memory/geometry/PolygonTriangulator.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>

namespace orrery::memory {

void extrudeText(const TextLayout& layout, double extrusionDepth, std::vector<std::array<float, 3>>& corners) {
    if (layout.contours.empty()) return;
    std::vector<PolygonTriangulator::Point> points;
    std::vector<std::size_t> sizes;
    for (const TextContour& contour : layout.contours) {
        for (const auto& p : contour) points.push_back({p[0], p[1], 0});
        sizes.push_back(contour.size());
    }
    std::vector<std::uint32_t> triangles;
    std::vector<PolygonTriangulator::Point> crossings;
    PolygonTriangulator().triangulate(points, sizes, WindingRule::nonZero, triangles, &crossings);
    const auto corner = [&](std::uint32_t i) { return i < points.size() ? points[i] : crossings[i - points.size()]; };

    const float front = static_cast<float>(std::max(extrusionDepth, 0.0) / 2.0), back = -front;
    const auto add = [&](double x, double y, float z) {
        corners.push_back({static_cast<float>(x), static_cast<float>(y), z});
    };
    for (std::size_t i = 0; i + 2 < triangles.size(); i += 3) {
        auto a = corner(triangles[i]), b = corner(triangles[i + 1]), c = corner(triangles[i + 2]);
        // Front faces counter-clockwise seen from +z, back faces seen from -z.
        if ((b[0] - a[0]) * (c[1] - a[1]) - (b[1] - a[1]) * (c[0] - a[0]) < 0) std::swap(b, c);
        add(a[0], a[1], front), add(b[0], b[1], front), add(c[0], c[1], front);
        if (front > 0) add(a[0], a[1], back), add(c[0], c[1], back), add(b[0], b[1], back);
    }
    if (front <= 0) return;
    // Side walls face both ways: the text is a closed solid, so the inner sides never show,
    // and contour direction (outer or hole) does not matter.
    for (const TextContour& contour : layout.contours)
        for (std::size_t i = 0; i < contour.size(); ++i) {
            const auto& p = contour[i];
            const auto& q = contour[(i + 1) % contour.size()];
            add(p[0], p[1], front), add(p[0], p[1], back), add(q[0], q[1], back);
            add(p[0], p[1], front), add(q[0], q[1], back), add(q[0], q[1], front);
            add(p[0], p[1], front), add(q[0], q[1], back), add(p[0], p[1], back);
            add(p[0], p[1], front), add(q[0], q[1], front), add(q[0], q[1], back);
        }
}

}  // namespace orrery::memory
