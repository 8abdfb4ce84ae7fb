#include "platform/memory/PolygonTriangulator.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace orrery::memory {
namespace {

TEST(PolygonTriangulator, ACrossingIsStoodInForByTheCornerItLiesClosestTo) {
    // A bow-tie: edge 0-1 meets edge 2-3 at 40% of the first and 46% of the second, so corner 0
    // stands in for the crossing, and the lobe with corner 1 is the triangle 0, 1, 2.
    const PolygonTriangulator::Point bowTie[] = {{0, 0, 0}, {4, 4, 0}, {3, 0, 0}, {0, 3.5, 0}};
    const std::size_t sizes[] = {4};
    PolygonTriangulator triangulator;
    std::vector<std::uint32_t> triangles;
    triangulator.triangulate(bowTie, sizes, triangles);
    ASSERT_EQ(triangles.size(), 6u);
    const auto lobe = std::find(triangles.begin(), triangles.end(), 1u) - triangles.begin();
    std::vector<std::uint32_t> corners(triangles.begin() + lobe / 3 * 3, triangles.begin() + lobe / 3 * 3 + 3);
    std::sort(corners.begin(), corners.end());
    EXPECT_EQ(corners, (std::vector<std::uint32_t>{0, 1, 2}));
}

} // namespace
} // namespace orrery::memory
