#pragma once
// What the simulated device camera films: the room as coloured triangles, and the debug
// overlays (feature points, anchor axes).

#include "platform/memory/scene/CameraRoom.h"
#include "render/GlMath.h"

#include <array>
#include <cstdint>
#include <vector>

namespace orrery::render {

/// The floor's two board colours (sRGB, 0 to 1), laid in a checker of half-metre tiles.
inline constexpr std::array<std::array<float, 3>, 2> kFloorBoardsSrgb{{{0.56f, 0.44f, 0.33f}, {0.49f, 0.38f, 0.28f}}};

/// The room: a tiled floor (the lowest surface), walls and ceiling around it, and every other
/// surface as a block from the floor up to its top. Triangles, counter-clockwise seen from inside.
void buildRoom(const memory::SimulatedRoom& room, std::vector<Vertex>& vertices, std::vector<std::uint32_t>& indices);

/// Points on every surface where the session finds features: a 20 cm grid, jittered by a hash
/// so it does not look ruled, the same on every run.
void buildFeaturePoints(const memory::SimulatedRoom& room, std::vector<Vertex>& vertices,
                        std::vector<std::uint32_t>& indices);

/// Line pairs: red x, green y, blue z axes, 10 cm long, for each frame.
void buildAxes(const std::vector<simd_float4x4>& frames, std::vector<Vertex>& vertices,
               std::vector<std::uint32_t>& indices);

}  // namespace orrery::render
