#pragma once
// Laid-out text as a solid: the glyph contours filled for the front (+z) and back (-z) faces
// and joined by side walls, the extrusion centred on z = 0.

#include "platform/memory/text/TextLayout.h"

#include <array>
#include <vector>

namespace orrery::memory {

/// Appends the triangles of `layout` extruded `extrusionDepth` deep to `corners`, three corners
/// a triangle, in text units: front faces counter-clockwise seen from +z, back faces seen from
/// -z, side walls both ways. A depth of 0 or less gives the front faces only. Contours are filled
/// by the non-zero winding rule, so outer contours and holes may wind either way as long as they
/// wind oppositely, as in font outlines.
void extrudeText(const TextLayout& layout, double extrusionDepth, std::vector<std::array<float, 3>>& corners);

}  // namespace orrery::memory
