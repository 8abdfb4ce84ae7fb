#pragma once
// Whole items the camera cannot see, found before anything is drawn.

#include "render/GlMath.h"

#include <array>

namespace orrery::render {

/// Whether the box [lo, hi] of a mesh's own space lies wholly outside the view of
/// `modelViewProjection`: its eight corners, taken to clip space, all lie beyond one of the six
/// planes of the frustum. A box that only looks inside (across a corner of the frustum) is kept.
inline bool outsideView(const Matrix& modelViewProjection, const std::array<float, 3>& lo,
                        const std::array<float, 3>& hi) {
    // Counts, per plane (-x, +x, -y, +y, -z, +z), the corners beyond it.
    std::array<int, 6> beyond{};
    for (int corner = 0; corner < 8; ++corner) {
        const float p[3] = {corner & 1 ? hi[0] : lo[0], corner & 2 ? hi[1] : lo[1], corner & 4 ? hi[2] : lo[2]};
        std::array<float, 4> clip{};
        for (std::size_t r = 0; r < 4; ++r)
            clip[r] = modelViewProjection[r] * p[0] + modelViewProjection[4 + r] * p[1] +
                      modelViewProjection[8 + r] * p[2] + modelViewProjection[12 + r];
        for (std::size_t axis = 0; axis < 3; ++axis) {
            beyond[axis * 2] += clip[axis] < -clip[3];
            beyond[axis * 2 + 1] += clip[axis] > clip[3];
        }
    }
    for (const int count : beyond)
        if (count == 8) return true;
    return false;
}

}  // namespace orrery::render
