#include "platform/memory/geometry/Matrix3.h"

#include <cmath>

namespace orrery::memory {

double dot(const Vector3d& a, const Vector3d& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }

Vector3d cross(const Vector3d& a, const Vector3d& b) {
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

double makeUnit(Vector3d& v) {
    const double length = std::sqrt(dot(v, v));
    if (length > 0 && std::isfinite(length))
        for (double& x : v) x /= length;
    return length;
}

Vector3d perpendicular(const Vector3d& v) {
    // Of the x and y axes, the one `v` is further from gives a cross product far from zero.
    Vector3d p = cross(v, std::abs(v[0]) < 0.9 ? Vector3d{1, 0, 0} : Vector3d{0, 1, 0});
    makeUnit(p);
    return p;
}

Vector3d times(const Matrix3d& m, const Vector3d& v) { return {dot(m[0], v), dot(m[1], v), dot(m[2], v)}; }

Matrix3d product(const Matrix3d& a, const Matrix3d& b) {
    const Matrix3d bt = transposed(b);
    Matrix3d out;
    for (std::size_t r = 0; r < out.size(); ++r) out[r] = times(bt, a[r]);
    return out;
}

Matrix3d transposed(const Matrix3d& m) {
    Matrix3d t;
    for (std::size_t r = 0; r < m.size(); ++r)
        for (std::size_t c = 0; c < m.size(); ++c) t[c][r] = m[r][c];
    return t;
}

double determinant(const Matrix3d& m) { return dot(m[0], cross(m[1], m[2])); }

Matrix3d adjugate(const Matrix3d& m) {
    // The columns of the inverse are the cross products of the rows, over the determinant.
    return transposed({cross(m[1], m[2]), cross(m[2], m[0]), cross(m[0], m[1])});
}

std::optional<Matrix3d> inverse(const Matrix3d& m, double smallest) {
    const double det = determinant(m);
    if (!std::isfinite(det) || !(std::abs(det) > smallest)) return std::nullopt;
    Matrix3d inv = adjugate(m);
    for (auto& row : inv)
        for (double& x : row) x /= det;
    return inv;
}

}  // namespace orrery::memory
