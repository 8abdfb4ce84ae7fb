#pragma once
// Triangles of polygon outlines as modelling tools write them: convex or concave, with holes.

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

struct GLUtesselator;

namespace orrery::memory {

class PolygonTriangulator {
public:
    using Point = std::array<double, 3>;

    /// Triangulates one polygon: `points` holds the corners of each contour in turn, the outline
    /// first and then any holes; `contourSizes` says how many corners each contour has. Appends
    /// to `triangles` three corner numbers (indices into `points`) per triangle, wound like the
    /// outline. A convex outline without holes is fanned from its first corner; anything else
    /// goes through GLU's tessellator (odd winding rule: holes are the regions inside an even
    /// number of contours). Corners where edges cross stand in for the crossing points.
    void triangulate(std::span<const Point> points, std::span<const std::size_t> contourSizes,
                     std::vector<std::uint32_t>& triangles);

    /// True when the outline turns the same way at every corner (collinear corners allowed).
    static bool isConvex(std::span<const Point> outline);

private:
    struct TessellatorDeleter {
        void operator()(GLUtesselator* tessellator) const;
    };
    /// Made on the first polygon that needs it, then kept with its callbacks set.
    std::unique_ptr<GLUtesselator, TessellatorDeleter> tessellator_;
};

} // namespace orrery::memory
