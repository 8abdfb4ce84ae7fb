#pragma once
// Three-component vectors and 3x3 matrices in doubles: the turning and scaling part of node
// transforms, camera bases and ray tests. They are fixed-size arrays, so Debug builds check
// every index.

#include <array>
#include <optional>

namespace orrery::memory {

using Vector3d = std::array<double, 3>;

/// Row-major: `m[row][column]`.
using Matrix3d = std::array<Vector3d, 3>;

double dot(const Vector3d& a, const Vector3d& b);

Vector3d cross(const Vector3d& a, const Vector3d& b);

/// Scales `v` to unit length and returns the length it had; a zero or non-finite vector is
/// left as it is.
double makeUnit(Vector3d& v);

/// A unit vector at right angles to the unit vector `v`.
Vector3d perpendicular(const Vector3d& v);

/// `m * v`.
Vector3d times(const Matrix3d& m, const Vector3d& v);

/// `a * b`.
Matrix3d product(const Matrix3d& a, const Matrix3d& b);

Matrix3d transposed(const Matrix3d& m);

double determinant(const Matrix3d& m);

/// The transposed matrix of cofactors: `m`'s inverse times its determinant, defined (and
/// exact in direction) even where `m` is singular.
Matrix3d adjugate(const Matrix3d& m);

/// The inverse, or nothing where the determinant is not a finite number above `smallest` in size.
std::optional<Matrix3d> inverse(const Matrix3d& m, double smallest);

}  // namespace orrery::memory
