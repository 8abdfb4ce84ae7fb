#include "platform/memory/collada/ColladaTransforms.h"

#include "platform/memory/collada/ColladaNumbers.h"
#include "platform/memory/geometry/Matrix3.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <numbers>
#include <string_view>
#include <utility>
#include <vector>

namespace orrery::memory::collada {

Matrix Matrix::operator*(const Matrix& b) const {
    Matrix r;
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j) {
            double sum = 0;
            for (int k = 0; k < 4; ++k) sum += m[i][k] * b.m[k][j];
            r.m[i][j] = sum;
        }
    return r;
}

Matrix3d Matrix::linear() const {
    return {{{m[0][0], m[0][1], m[0][2]}, {m[1][0], m[1][1], m[1][2]}, {m[2][0], m[2][1], m[2][2]}}};
}

Vector3d Matrix::translation() const { return {m[0][3], m[1][3], m[2][3]}; }

bool Matrix::isIdentity() const {
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j)
            if (m[i][j] != (i == j ? 1.0 : 0.0)) return false;
    return true;
}

namespace {

using Vec = Vector3d;

/// Every pair of distinct axes (or columns) of a 3x3 matrix, each once.
constexpr std::array<std::pair<int, int>, 3> kAxisPairs{{{0, 1}, {0, 2}, {1, 2}}};

/// `v` at unit length; false for a zero or non-finite vector.
bool normalize(Vec& v) {
    const double length = makeUnit(v);
    return length > 0 && std::isfinite(length);
}

/// Sets the turning and scaling part of `m`.
void setLinear(Matrix& m, const Matrix3d& a) {
    for (std::size_t r = 0; r < a.size(); ++r)
        for (std::size_t c = 0; c < a.size(); ++c) m.m[r][c] = a[r][c];
}

Matrix rotation(Vec axis, double degrees) {
    Matrix step;
    if (!normalize(axis)) return step;  // no axis, no turn
    const double x = axis[0], y = axis[1], z = axis[2];
    const double a = degrees * std::numbers::pi / 180.0, c = std::cos(a), s = std::sin(a), t = 1 - c;
    setLinear(step, {{{t * x * x + c, t * x * y - s * z, t * x * z + s * y},
                      {t * x * y + s * z, t * y * y + c, t * y * z - s * x},
                      {t * x * z - s * y, t * y * z + s * x, t * z * z + c}}});
    return step;
}

/// Eigen-decomposition of a symmetric 3x3 by Jacobi rotations: `s` becomes diagonal
/// (the eigenvalues), `v` holds the eigenvectors as columns.
void symmetricEigen(Matrix3d& s, Matrix3d& v) {
    v = {{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};
    for (int sweep = 0; sweep < 50; ++sweep) {
        const double off = s[0][1] * s[0][1] + s[0][2] * s[0][2] + s[1][2] * s[1][2];
        const double diagonal = s[0][0] * s[0][0] + s[1][1] * s[1][1] + s[2][2] * s[2][2];
        if (off <= 1e-30 * diagonal || off == 0) return;
        for (const auto& [p, q] : kAxisPairs) {
            if (s[p][q] == 0) continue;
            const double theta = (s[q][q] - s[p][p]) / (2 * s[p][q]);
            const double t = std::copysign(1.0, theta) / (std::abs(theta) + std::sqrt(theta * theta + 1));
            const double c = 1 / std::sqrt(t * t + 1), sn = t * c;
            for (int k = 0; k < 3; ++k) {  // s = J^T s J, v = v J
                const double kp = s[k][p], kq = s[k][q];
                s[k][p] = c * kp - sn * kq;
                s[k][q] = sn * kp + c * kq;
            }
            for (int k = 0; k < 3; ++k) {
                const double pk = s[p][k], qk = s[q][k];
                s[p][k] = c * pk - sn * qk;
                s[q][k] = sn * pk + c * qk;
            }
            for (int k = 0; k < 3; ++k) {
                const double kp = v[k][p], kq = v[k][q];
                v[k][p] = c * kp - sn * kq;
                v[k][q] = sn * kp + c * kq;
            }
        }
    }
}

/// Sets the node from a 3x3 linear part whose columns are orthogonal, and a translation.
/// A mirroring part (negative determinant) becomes negative scale on every axis.
bool setOrthogonal(MemoryNode& node, const Matrix3d& a, const Vec& t) {
    const double sign = determinant(a) < 0 ? -1.0 : 1.0;
    simd_float4x4 matrix = matrix_identity_float4x4();
    for (int r = 0; r < 3; ++r) {
        for (int c = 0; c < 3; ++c) {
            const double v = sign * a[r][c];
            if (!std::isfinite(v) || std::abs(v) > std::numeric_limits<float>::max()) return false;
            matrix.columns[c][r] = static_cast<float>(v);
        }
        if (!std::isfinite(t[r]) || std::abs(t[r]) > std::numeric_limits<float>::max()) return false;
        matrix.columns[3][r] = static_cast<float>(t[r]);
    }
    node.setTransformMatrix(matrix);
    if (sign < 0) node.assignScale({-node.nodeScale().x, -node.nodeScale().y, -node.nodeScale().z});
    const SCNVector3 s = node.nodeScale();
    const SCNVector4 q = node.nodeRotation();
    return std::isfinite(s.x) && std::isfinite(s.y) && std::isfinite(s.z) && std::isfinite(q.x) && std::isfinite(q.y) &&
           std::isfinite(q.z) && std::isfinite(q.w);
}

/// Whether any two columns of `a` are off right angles by more than rounding.
bool shears(const Matrix3d& a) {
    for (const auto& [i, j] : kAxisPairs) {
        double ij = 0, ii = 0, jj = 0;
        for (int r = 0; r < 3; ++r) {
            ij += a[r][i] * a[r][j];
            ii += a[r][i] * a[r][i];
            jj += a[r][j] * a[r][j];
        }
        if (std::abs(ij) > 1e-5 * std::sqrt(ii * jj)) return true;
    }
    return false;
}

}  // namespace

TransformStep readTransformElement(const pugi::xml_node& element, Matrix& step, std::string& why) {
    const char* name = element.name();
    const std::size_t expected = !std::strcmp(name, "matrix")                                     ? 16
                                 : !std::strcmp(name, "translate") || !std::strcmp(name, "scale") ? 3
                                 : !std::strcmp(name, "rotate")                                   ? 4
                                 : !std::strcmp(name, "lookat")                                   ? 9
                                 : !std::strcmp(name, "skew")                                     ? 7
                                                                                                  : 0;
    if (expected == 0) return TransformStep::none;
    std::vector<double> v;
    {
        std::vector<float> values;
        if (!parseFloats(element.child_value(), values, expected, &why)) return TransformStep::unreadable;
        if (values.size() != expected) {
            why = std::to_string(expected) + " numbers expected, " + std::to_string(values.size()) + " found";
            return TransformStep::unreadable;
        }
        v.assign(values.begin(), values.end());
    }
    step = Matrix{};
    if (expected == 16) {
        for (int r = 0; r < 4; ++r)
            for (int c = 0; c < 4; ++c) step.m[r][c] = v[r * 4 + c];
    } else if (!std::strcmp(name, "translate")) {
        for (int r = 0; r < 3; ++r) step.m[r][3] = v[r];
    } else if (!std::strcmp(name, "scale")) {
        for (int r = 0; r < 3; ++r) step.m[r][r] = v[r];
    } else if (expected == 4) {
        step = rotation({v[0], v[1], v[2]}, v[3]);
    } else if (expected == 9) {
        // The node sits at the eye and looks at the point of interest down its -z axis.
        const Vec eye{v[0], v[1], v[2]};
        Vec forward{v[3] - v[0], v[4] - v[1], v[5] - v[2]};
        Vec side = cross(forward, {v[6], v[7], v[8]});
        if (!normalize(forward) || !normalize(side)) {
            why = "the eye, the point of interest and the up direction do not make a view";
            return TransformStep::unreadable;
        }
        const Vec up = cross(side, forward);
        for (int r = 0; r < 3; ++r) {
            step.m[r][0] = side[r];
            step.m[r][1] = up[r];
            step.m[r][2] = -forward[r];
            step.m[r][3] = eye[r];
        }
    } else {
        // Points move along the second axis by tan(angle) times their distance along the first.
        Vec along{v[1], v[2], v[3]}, direction{v[4], v[5], v[6]};
        const double s = std::tan(v[0] * std::numbers::pi / 180.0);
        if (!normalize(along) || !normalize(direction) || !(std::abs(v[0]) < 90)) {
            why = "a skew needs two axes and an angle below 90 degrees";
            return TransformStep::unreadable;
        }
        for (int r = 0; r < 3; ++r)
            for (int c = 0; c < 3; ++c) step.m[r][c] += s * direction[r] * along[c];
    }
    return TransformStep::read;
}

Matrix assetConversion(const pugi::xml_node& asset, std::string& warning) {
    Matrix conversion;
    const std::string_view up = asset.child_value("up_axis");
    if (up == "Z_UP") {  // (x, y, z) becomes (x, z, -y)
        conversion.m[1][1] = 0, conversion.m[1][2] = 1, conversion.m[2][1] = -1, conversion.m[2][2] = 0;
    } else if (up == "X_UP") {  // (x, y, z) becomes (-y, x, z)
        conversion.m[0][0] = 0, conversion.m[0][1] = -1, conversion.m[1][0] = 1, conversion.m[1][1] = 0;
    } else if (!up.empty() && up != "Y_UP") {
        warning = "up axis " + quoted(up) + " is none of X_UP, Y_UP, Z_UP; taken as Y_UP";
    }
    if (const auto unit = asset.child("unit")) {
        const auto meter = unit.attribute("meter");
        std::vector<float> value;
        if (meter && parseFloats(meter.value(), value) && value.size() == 1 && value[0] > 0) {
            const double s = value[0];
            setLinear(conversion, product(conversion.linear(), {{{s, 0, 0}, {0, s, 0}, {0, 0, s}}}));
        } else if (meter) {
            warning = "unit of " + quoted(meter.value()) + " metres is not a positive number; taken as 1";
        }
    }
    return conversion;
}

Placement placeNode(const Matrix& m, MemoryNode& node, std::shared_ptr<MemoryNode>& inner) {
    const Matrix3d a = m.linear();
    const Vec t = m.translation();
    for (const auto& row : a)
        for (const double x : row)
            if (!std::isfinite(x)) return Placement::tooLarge;
    if (!shears(a)) return setOrthogonal(node, a, t) ? Placement::exact : Placement::tooLarge;

    // a = u * diag(sigma) * v^T with rotations u and v: the node takes u and sigma, the inner
    // node v^T. v and sigma come from the eigen-decomposition of a^T a; v is a product of plane
    // rotations, so a rotation itself.
    Matrix3d s = product(transposed(a), a), v;
    symmetricEigen(s, v);
    Vec sigma;
    const Matrix3d u = product(a, v);
    const double largest = std::sqrt(std::max({s[0][0], s[1][1], s[2][2], 0.0}));
    for (std::size_t c = 0; c < sigma.size(); ++c) sigma[c] = std::sqrt(std::max(s[c][c], 0.0));
    // Columns of u are a v_i / sigma_i. An axis the matrix collapses keeps scale 0 and no
    // direction; the node completes its frame. A mirror stays in u (its determinant is
    // negative), which setOrthogonal turns into negative scale.
    Matrix3d outer;
    for (std::size_t c = 0; c < outer.size(); ++c) {
        Vec column{u[0][c], u[1][c], u[2][c]};
        const bool kept = sigma[c] > 1e-12 * largest && normalize(column);
        for (std::size_t r = 0; r < outer.size(); ++r) outer[r][c] = kept ? column[r] * sigma[c] : 0.0;
    }
    if (!setOrthogonal(node, outer, t)) return Placement::tooLarge;
    inner = MemoryNode::make();
    if (!setOrthogonal(*inner, transposed(v), Vec{})) return Placement::tooLarge;
    return Placement::sheared;
}

}  // namespace orrery::memory::collada
