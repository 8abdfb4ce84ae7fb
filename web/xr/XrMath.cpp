#include "web/xr/XrMath.h"

#include <cmath>
#include <cstddef>

namespace orrery::web {

simd_float4x4 matrixFrom(const float* m) {
    simd_float4x4 out;
    for (std::size_t c = 0; c < 4; ++c)
        for (std::size_t r = 0; r < 4; ++r) out.columns[c][r] = m[c * 4 + r];
    return out;
}

std::array<float, 4> rotationQuaternion(const simd_float4x4& m) {
    const auto at = [&](std::size_t r, std::size_t c) { return static_cast<double>(m.columns[c][r]); };
    const double trace = at(0, 0) + at(1, 1) + at(2, 2);
    double x, y, z, w;
    if (trace > 0) {
        const double s = std::sqrt(trace + 1.0) * 2;
        w = s / 4, x = (at(2, 1) - at(1, 2)) / s, y = (at(0, 2) - at(2, 0)) / s, z = (at(1, 0) - at(0, 1)) / s;
    } else if (at(0, 0) > at(1, 1) && at(0, 0) > at(2, 2)) {
        const double s = std::sqrt(1.0 + at(0, 0) - at(1, 1) - at(2, 2)) * 2;
        w = (at(2, 1) - at(1, 2)) / s, x = s / 4, y = (at(0, 1) + at(1, 0)) / s, z = (at(0, 2) + at(2, 0)) / s;
    } else if (at(1, 1) > at(2, 2)) {
        const double s = std::sqrt(1.0 + at(1, 1) - at(0, 0) - at(2, 2)) * 2;
        w = (at(0, 2) - at(2, 0)) / s, x = (at(0, 1) + at(1, 0)) / s, y = s / 4, z = (at(1, 2) + at(2, 1)) / s;
    } else {
        const double s = std::sqrt(1.0 + at(2, 2) - at(0, 0) - at(1, 1)) * 2;
        w = (at(1, 0) - at(0, 1)) / s, x = (at(0, 2) + at(2, 0)) / s, y = (at(1, 2) + at(2, 1)) / s, z = s / 4;
    }
    const double n = std::sqrt(x * x + y * y + z * z + w * w);
    return {static_cast<float>(x / n), static_cast<float>(y / n), static_cast<float>(z / n), static_cast<float>(w / n)};
}

CameraAngles cameraAngles(const Matrix& pose) {
    // Forward is -z: the third column negated.
    const double fx = -static_cast<double>(pose[8]), fy = -static_cast<double>(pose[9]),
                 fz = -static_cast<double>(pose[10]);
    const double horizontal = std::sqrt(fx * fx + fz * fz);
    return {static_cast<float>(std::atan2(-fx, -fz)), static_cast<float>(std::atan2(fy, horizontal))};
}

std::array<float, 3> viewerRayThrough(CGPoint point, CGSize screen, const Matrix& p) {
    // Normalised device coordinates of the point, y up.
    const double nx = 2.0 * point.x / screen.width - 1.0, ny = 1.0 - 2.0 * point.y / screen.height;
    // Eye space at depth z = -1 of a perspective projection: x_clip = p0 x + p8 z, w = -z.
    const double x = (nx + static_cast<double>(p[8])) / static_cast<double>(p[0]);
    const double y = (ny + static_cast<double>(p[9])) / static_cast<double>(p[5]);
    const double length = std::sqrt(x * x + y * y + 1.0);
    return {static_cast<float>(x / length), static_cast<float>(y / length), static_cast<float>(-1.0 / length)};
}

double verticalFieldOfView(const Matrix& p) {
    // Both edges of a possibly off-centre frustum: tan(top) = (1 + p9) / p5, tan(bottom) = (1 - p9) / p5.
    const double p5 = static_cast<double>(p[5]), p9 = static_cast<double>(p[9]);
    return std::atan((1.0 + p9) / p5) + std::atan((1.0 - p9) / p5);
}

}  // namespace orrery::web
