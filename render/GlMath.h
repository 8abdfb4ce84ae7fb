#pragma once
// Small column-major matrix and colour helpers for the renderer.

#include "platform/Types.h"

#include <array>
#include <cmath>
#include <cstdint>

namespace orrery::render {

/// 4x4 column-major matrix: element (row r, column c) is [c * 4 + r], as OpenGL reads it.
using Matrix = std::array<float, 16>;
/// Linear RGBA.
using Colour = std::array<float, 4>;

/// One vertex as the renderer's shader reads it.
struct Vertex {
    std::array<float, 3> position{};
    std::array<float, 2> texCoord{};
    Colour color{1, 1, 1, 1};
    friend bool operator==(const Vertex&, const Vertex&) = default;
};

inline Matrix fromSimd(const simd_float4x4& m) {
    Matrix out{};
    for (int c = 0; c < 4; ++c)
        for (int r = 0; r < 4; ++r)
            out[static_cast<std::size_t>(c * 4 + r)] =
                m.columns[static_cast<std::size_t>(c)][static_cast<std::size_t>(r)];
    return out;
}

inline Matrix multiply(const Matrix& a, const Matrix& b) {
    Matrix out{};
    for (int c = 0; c < 4; ++c)
        for (int r = 0; r < 4; ++r) {
            float sum = 0;
            for (int k = 0; k < 4; ++k)
                sum += a[static_cast<std::size_t>(k * 4 + r)] * b[static_cast<std::size_t>(c * 4 + k)];
            out[static_cast<std::size_t>(c * 4 + r)] = sum;
        }
    return out;
}

/// Inverse of a rotation-plus-translation matrix.
inline Matrix rigidInverse(const Matrix& m) {
    Matrix out{};
    for (int c = 0; c < 3; ++c)
        for (int r = 0; r < 3; ++r) out[static_cast<std::size_t>(c * 4 + r)] = m[static_cast<std::size_t>(r * 4 + c)];
    for (int r = 0; r < 3; ++r) {
        float sum = 0;
        for (int k = 0; k < 3; ++k)
            sum += out[static_cast<std::size_t>(k * 4 + r)] * m[static_cast<std::size_t>(12 + k)];
        out[static_cast<std::size_t>(12 + r)] = -sum;
    }
    out[15] = 1;
    return out;
}

/// OpenGL perspective projection: vertical field of view in radians, width / height.
inline Matrix perspective(float verticalFieldOfView, float aspect, float nearPlane, float farPlane) {
    const float f = 1.0f / std::tan(verticalFieldOfView / 2.0f);
    Matrix out{};
    out[0] = f / aspect;
    out[5] = f;
    out[10] = (farPlane + nearPlane) / (nearPlane - farPlane);
    out[11] = -1;
    out[14] = 2.0f * farPlane * nearPlane / (nearPlane - farPlane);
    return out;
}

/// sRGB-encoded component to linear light.
inline float srgbToLinear(float c) { return c <= 0.04045f ? c / 12.92f : std::pow((c + 0.055f) / 1.055f, 2.4f); }

/// Linear light to an sRGB-encoded component, clamped to 0..1.
inline float linearToSrgb(float linear) {
    linear = linear < 0.0f ? 0.0f : (linear > 1.0f ? 1.0f : linear);
    return linear <= 0.0031308f ? linear * 12.92f : 1.055f * std::pow(linear, 1.0f / 2.4f) - 0.055f;
}

inline Colour linearFromSrgb(float r, float g, float b, float a = 1) {
    return {srgbToLinear(r), srgbToLinear(g), srgbToLinear(b), a};
}

}  // namespace orrery::render
