#include "platform/Types.h"

#include <cmath>

namespace orrery {

simd_float4x4 matrix_identity_float4x4() {
    simd_float4x4 r;
    for (int i = 0; i < 4; ++i) r.columns[i][i] = 1.0f;
    return r;
}

simd_float4x4 makeTranslation(SCNVector3 t) {
    simd_float4x4 r = matrix_identity_float4x4();
    r.columns[3] = {t.x, t.y, t.z, 1.0f};
    return r;
}

SCNMatrix4 SCNMatrix4MakeRotation(float angle, float x, float y, float z) {
    SCNMatrix4 r;
    const float length = std::sqrt(x * x + y * y + z * z);
    if (length == 0.0f) {
        for (int i = 0; i < 4; ++i) r.m[i * 4 + i] = 1.0f;
        return r;
    }
    x /= length;
    y /= length;
    z /= length;
    const float c = std::cos(angle), s = std::sin(angle), t = 1.0f - c;
    auto at = [&r](int row, int column) -> float& { return r.m[column * 4 + row]; };
    at(0, 0) = t * x * x + c;
    at(0, 1) = t * x * y - s * z;
    at(0, 2) = t * x * z + s * y;
    at(1, 0) = t * x * y + s * z;
    at(1, 1) = t * y * y + c;
    at(1, 2) = t * y * z - s * x;
    at(2, 0) = t * x * z - s * y;
    at(2, 1) = t * y * z + s * x;
    at(2, 2) = t * z * z + c;
    at(3, 3) = 1.0f;
    return r;
}

simd_float4x4 simd_matrix4x4(const SCNMatrix4& m) {
    simd_float4x4 r;
    for (int c = 0; c < 4; ++c)
        for (int row = 0; row < 4; ++row) r.columns[c][row] = m.m[c * 4 + row];
    return r;
}

simd_float4x4 simd_mul(const simd_float4x4& a, const simd_float4x4& b) {
    simd_float4x4 r;
    for (int j = 0; j < 4; ++j)
        for (int row = 0; row < 4; ++row) {
            float sum = 0.0f;
            for (int k = 0; k < 4; ++k) sum += a.columns[k][row] * b.columns[j][k];
            r.columns[j][row] = sum;
        }
    return r;
}

}  // namespace orrery
