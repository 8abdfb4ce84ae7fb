#pragma once
// Value types passed through the platform interface.
//
// Precisions follow the frameworks: node transforms and matrices are 32-bit,
// screen points, action angles and durations are 64-bit.

#include <array>
#include <cstdint>

namespace orrery {

/// Three 32-bit floats: a node position (metres), a node scale or a move delta.
struct SCNVector3 {
    float x = 0, y = 0, z = 0;
    friend bool operator==(const SCNVector3&, const SCNVector3&) = default;
};

/// Axis-angle rotation: axis (x, y, z) and angle w in radians, 32-bit floats.
struct SCNVector4 {
    float x = 0, y = 0, z = 0, w = 0;
    friend bool operator==(const SCNVector4&, const SCNVector4&) = default;
};

/// 4x4 single-precision matrix, column-major: element (row r, column c) is m[c * 4 + r].
struct SCNMatrix4 {
    std::array<float, 16> m{};
    friend bool operator==(const SCNMatrix4&, const SCNMatrix4&) = default;
};

/// 4x4 single-precision matrix stored as four columns; columns[c][r] is row r of column c.
struct simd_float4x4 {
    std::array<std::array<float, 4>, 4> columns{};
    friend bool operator==(const simd_float4x4&, const simd_float4x4&) = default;
};

/// A point in a view's coordinate space, in points (64-bit).
struct CGPoint {
    double x = 0, y = 0;
    friend bool operator==(const CGPoint&, const CGPoint&) = default;
};

/// A size in points (64-bit).
struct CGSize {
    double width = 0, height = 0;
    friend bool operator==(const CGSize&, const CGSize&) = default;
};

/// The identity matrix.
simd_float4x4 matrix_identity_float4x4();

/// A pure translation.
simd_float4x4 makeTranslation(SCNVector3 t);

/// Rotation by `angle` radians about the axis (x, y, z), right-handed.
SCNMatrix4 SCNMatrix4MakeRotation(float angle, float x, float y, float z);

/// Element-by-element copy of a column-major SCNMatrix4 into four columns.
simd_float4x4 simd_matrix4x4(const SCNMatrix4& m);

/// Ordinary matrix product a * b: column j of the result is a applied to column j of b.
simd_float4x4 simd_mul(const simd_float4x4& a, const simd_float4x4& b);

}  // namespace orrery
