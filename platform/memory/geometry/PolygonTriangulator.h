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

/// Which regions of overlapping contours are inside.
enum class WindingRule {
    odd,      ///< inside an odd number of contours: holes of model outlines, whatever their direction
    nonZero,  ///< inside where the contours' turns do not cancel: glyph outlines, holes wound the other way
};

class PolygonTriangulator {
public:
    using Point = std::array<double, 3>;

    /// Triangulates one polygon: `points` holds the corners of each contour in turn, the outline
    /// first and then any holes; `contourSizes` says how many corners each contour has. Appends
    /// to `triangles` three corner numbers (indices into `points`) per triangle, wound like the
    /// outline. A convex outline without holes is fanned from its first corner; anything else
    /// goes through GLU's tessellator with `rule`. Where edges cross, the nearest corner stands
    /// in for the crossing point, unless `crossings` is given: then each crossing point is
    /// appended to it and numbered after the last of `points`. An outline the tessellator
    /// cannot fill is fanned as a convex one would be.
    void triangulate(std::span<const Point> points, std::span<const std::size_t> contourSizes, WindingRule rule,
                     std::vector<std::uint32_t>& triangles, std::vector<Point>* crossings = nullptr);

    /// True when the outline turns the same way at every corner (collinear corners allowed).
    static bool isConvex(std::span<const Point> outline);

private:
    struct TessellatorDeleter {
        void operator()(GLUtesselator* tessellator) const;
    };
    /// Made on the first polygon that needs it, then kept with its callbacks set.
    std::unique_ptr<GLUtesselator, TessellatorDeleter> tessellator_;
};

}  // namespace orrery::memory
