#include "platform/memory/geometry/PolygonTriangulator.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace orrery::memory {
namespace {

TEST(PolygonTriangulator, ACrossingIsStoodInForByTheCornerItLiesClosestTo) {
    // A bow-tie: edge 0-1 meets edge 2-3 at 40% of the first and 46% of the second, so corner 0
    // stands in for the crossing, and the lobe with corner 1 is the triangle 0, 1, 2.
    const PolygonTriangulator::Point bowTie[] = {{0, 0, 0}, {4, 4, 0}, {3, 0, 0}, {0, 3.5, 0}};
    const std::size_t sizes[] = {4};
    PolygonTriangulator triangulator;
    std::vector<std::uint32_t> triangles;
    triangulator.triangulate(bowTie, sizes, memory::WindingRule::odd, triangles);
    ASSERT_EQ(triangles.size(), 6u);
    const auto lobe = std::find(triangles.begin(), triangles.end(), 1u) - triangles.begin();
    std::vector<std::uint32_t> corners(triangles.begin() + lobe / 3 * 3, triangles.begin() + lobe / 3 * 3 + 3);
    std::sort(corners.begin(), corners.end());
    EXPECT_EQ(corners, (std::vector<std::uint32_t>{0, 1, 2}));
}

TEST(PolygonTriangulator, ConcaveOutlinesInEveryPlaneAreCoveredOnceFacingTheirNormal) {
    // An L of area 3/16 whose first corner cannot see the whole outline, so a fan from it would
    // fold over; laid in each coordinate plane, wound to face the plane's positive or negative
    // axis. Small, so that a normal off by a unit vector would turn round.
    const double l[][2] = {{2, 1}, {1, 1}, {1, 2}, {0, 2}, {0, 0}, {2, 0}};
    const std::size_t sizes[] = {6};
    for (int axis = 0; axis < 3; ++axis)
        for (const double facingSign : {1.0, -1.0}) {
            std::vector<PolygonTriangulator::Point> outline;
            for (const auto& [u, v] : l) {
                PolygonTriangulator::Point p{0, 0, 0};
                p[(axis + 1) % 3] = u / 4;
                p[(axis + 2) % 3] = v / 4;
                outline.push_back(p);
            }
            if (facingSign < 0) std::reverse(outline.begin() + 1, outline.end());
            PolygonTriangulator triangulator;
            std::vector<std::uint32_t> triangles;
            triangulator.triangulate(outline, sizes, memory::WindingRule::odd, triangles);
            double area = 0;
            for (std::size_t t = 0; t + 2 < triangles.size(); t += 3) {
                const auto &a = outline.at(triangles[t]), &b = outline.at(triangles[t + 1]),
                           &c = outline.at(triangles[t + 2]);
                const int i = (axis + 1) % 3, j = (axis + 2) % 3;  // the facing part of (b - a) x (c - a)
                const double facing =
                    facingSign * 0.5 * ((b[i] - a[i]) * (c[j] - a[j]) - (b[j] - a[j]) * (c[i] - a[i]));
                EXPECT_GE(facing, 0.0) << "axis " << axis << " facing " << facingSign << ", triangle " << t / 3;
                area += facing;
            }
            EXPECT_DOUBLE_EQ(area, 3.0 / 16) << "axis " << axis << " facing " << facingSign;
        }
}

TEST(PolygonTriangulator, ConvexityLooksAtEveryCornerWhicheverComesFirst) {
    struct Case {
        const char* name;
        std::vector<PolygonTriangulator::Point> outline;
        bool convex;
    };
    const Case cases[] = {
        {"square with a corner on an edge", {{0, 0, 0}, {1, 0, 0}, {2, 0, 0}, {2, 2, 0}, {0, 2, 0}}, true},
        {"L", {{2, 1, 0}, {1, 1, 0}, {1, 2, 0}, {0, 2, 0}, {0, 0, 0}, {2, 0, 0}}, false},
    };
    for (const Case& c : cases)
        for (std::size_t first = 0; first < c.outline.size(); ++first) {
            auto outline = c.outline;
            std::rotate(outline.begin(), outline.begin() + static_cast<std::ptrdiff_t>(first), outline.end());
            EXPECT_EQ(PolygonTriangulator::isConvex(outline), c.convex) << c.name << " from corner " << first;
            std::reverse(outline.begin(), outline.end());
            EXPECT_EQ(PolygonTriangulator::isConvex(outline), c.convex)
                << c.name << " from corner " << first << ", reversed";
        }
}

}  // namespace
}  // namespace orrery::memory
