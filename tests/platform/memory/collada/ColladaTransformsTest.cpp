// A node transform split into position, rotation and scale (and an inner turn for shears)
// reproduces the matrix it came from, whatever its rank or handedness.

#include "platform/memory/collada/ColladaTransforms.h"

#include <gtest/gtest.h>

#include <cmath>
#include <optional>
#include <random>

namespace orrery::memory::collada {
namespace {

/// m applied to p through the node and, for a shear, the inner node it hangs its contents under.
SCNVector3 throughNodes(const Matrix& m, SCNVector3 p, Placement& placement) {
    auto node = MemoryNode::make();
    std::shared_ptr<MemoryNode> inner;
    placement = placeNode(m, *node, inner);
    if (inner) node->appendChild(inner);
    const simd_float4x4 w = (inner ? inner : node)->worldTransform();
    const auto& c = w.columns;
    return {c[0][0] * p.x + c[1][0] * p.y + c[2][0] * p.z + c[3][0],
            c[0][1] * p.x + c[1][1] * p.y + c[2][1] * p.z + c[3][1],
            c[0][2] * p.x + c[1][2] * p.y + c[2][2] * p.z + c[3][2]};
}

Matrix matrixOf(const double a[3][3], double tx = 0.5, double ty = -1, double tz = 2) {
    Matrix m;
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c) m.m[r][c] = a[r][c];
    m.m[0][3] = tx, m.m[1][3] = ty, m.m[2][3] = tz;
    return m;
}

TEST(ColladaTransforms, NodesReproduceTheirMatrixAtEveryRankAndHandedness) {
    struct Case {
        const char* what;
        double a[3][3];
        Placement placement;
    };
    const Case cases[] = {
        {"turn and scale", {{0, -2, 0}, {2, 0, 0}, {0, 0, 2}}, Placement::exact},
        {"mirror", {{-1, 0, 0}, {0, 1, 0}, {0, 0, 1}}, Placement::exact},
        {"shear", {{1, 1, 0}, {0, 1, 0}, {0, 0, 1}}, Placement::sheared},
        {"shear of z along x", {{1, 0, 1}, {0, 1, 0}, {0, 0, 1}}, Placement::sheared},
        {"shear of z along y", {{1, 0, 0}, {0, 1, 1}, {0, 0, 1}}, Placement::sheared},
        {"mirrored shear", {{1, 0.5, 0}, {0, -1, 0.3}, {0.2, 0, 1}}, Placement::sheared},
        {"shear flattened onto a plane", {{1, 1, 0}, {0, 1, 0}, {0, 0, 0}}, Placement::sheared},
        {"shear flattened onto a line", {{1, 1, 0}, {0, 0, 0}, {0, 0, 0}}, Placement::sheared},
        {"shear flattened onto a line along z", {{0, 0, 0}, {0, 0, 0}, {1, 2, 0}}, Placement::sheared},
        {"everything to the origin", {{0, 0, 0}, {0, 0, 0}, {0, 0, 0}}, Placement::exact},
    };
    const SCNVector3 points[] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {0.3f, -0.7f, 1.1f}};
    const auto check = [&](const char* what, const double a[3][3], std::optional<Placement> expected) {
        SCOPED_TRACE(what);
        for (const SCNVector3& p : points) {
            Placement placement{};
            const SCNVector3 got = throughNodes(matrixOf(a), p, placement);
            if (expected) {
                EXPECT_EQ(placement, *expected);
            }
            EXPECT_NEAR(got.x, a[0][0] * p.x + a[0][1] * p.y + a[0][2] * p.z + 0.5, 1e-4);
            EXPECT_NEAR(got.y, a[1][0] * p.x + a[1][1] * p.y + a[1][2] * p.z - 1, 1e-4);
            EXPECT_NEAR(got.z, a[2][0] * p.x + a[2][1] * p.y + a[2][2] * p.z + 2, 1e-4);
        }
    };
    for (const Case& c : cases) check(c.what, c.a, c.placement);

    // Random matrices, about half of them mirrors, some with a column or two collapsed.
    std::mt19937 random(20261124);
    std::uniform_real_distribution<double> entry(-2, 2);
    for (int round = 0; round < 200; ++round) {
        double a[3][3];
        for (auto& row : a)
            for (double& x : row) x = entry(random);
        for (int c = 0; c < round % 3; ++c)  // every column gets to be the one left
            for (auto& row : a) row[(round / 3 + c) % 3] = 0;
        check("random", a, std::nullopt);
    }
}

TEST(Matrix3, PerpendicularIsAUnitVectorAtRightAnglesForEveryDirection) {
    const double h = std::sqrt(0.5);
    for (const Vector3d& v : {Vector3d{1, 0, 0}, Vector3d{0, 1, 0}, Vector3d{0, 0, -1}, Vector3d{h, h, 0},
                              Vector3d{h, 0, -h}, Vector3d{h, 0, h}, Vector3d{0, h, h}, Vector3d{0.48, 0.6, 0.64},
                              Vector3d{-0.95, 0, std::sqrt(1 - 0.95 * 0.95)}}) {
        const Vector3d p = perpendicular(v);
        EXPECT_NEAR(dot(p, p), 1.0, 1e-12) << v[0] << " " << v[1] << " " << v[2];
        EXPECT_NEAR(dot(p, v), 0.0, 1e-12) << v[0] << " " << v[1] << " " << v[2];
    }
}

}  // namespace
}  // namespace orrery::memory::collada
