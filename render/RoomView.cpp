// The simulated room and the debug overlays as vertex-coloured geometry.

#include "render/RoomView.h"

#include <algorithm>
#include <cmath>

namespace orrery::render {

namespace {

constexpr float kCeilingAboveFloor = 2.7f;
constexpr float kTile = 0.5f;
constexpr float kFeatureSpacing = 0.2f;
constexpr float kAxisLength = 0.1f;

using Point = std::array<float, 3>;

void addQuad(std::vector<Vertex>& vertices, std::vector<std::uint32_t>& indices, const std::array<Point, 4>& corners,
             const Colour& colour) {
    const auto first = static_cast<std::uint32_t>(vertices.size());
    for (const Point& p : corners) {
        Vertex v;
        v.position = p;
        v.color = colour;
        vertices.push_back(v);
    }
    for (const std::uint32_t i : {0u, 1u, 2u, 0u, 2u, 3u}) indices.push_back(first + i);
}

Colour scaled(const Colour& c, float factor) { return {c[0] * factor, c[1] * factor, c[2] * factor, c[3]}; }

/// A stable pseudo-random number in [0, 1) from two integers.
float hash01(int a, int b) {
    auto h = static_cast<std::uint32_t>(a) * 0x9E3779B1u ^ static_cast<std::uint32_t>(b) * 0x85EBCA77u;
    h ^= h >> 15;
    h *= 0x2C1B3C6Du;
    h ^= h >> 12;
    return static_cast<float>(h & 0xFFFFFFu) / static_cast<float>(0x1000000u);
}

const memory::RoomSurface* lowest(const memory::SimulatedRoom& room) {
    const memory::RoomSurface* floor = nullptr;
    for (const auto& s : room.surfaces)
        if (!floor || s.height < floor->height) floor = &s;
    return floor;
}

}  // namespace

void buildRoom(const memory::SimulatedRoom& room, std::vector<Vertex>& vertices, std::vector<std::uint32_t>& indices) {
    vertices.clear();
    indices.clear();
    const memory::RoomSurface* floor = lowest(room);
    if (!floor) return;
    const float y = floor->height, top = y + kCeilingAboveFloor;

    // Floor boards in a checker of half-metre tiles, so distance and tilt read at a glance.
    const auto board = [](const std::array<float, 3>& c) { return linearFromSrgb(c[0], c[1], c[2]); };
    const Colour boardA = board(kFloorBoardsSrgb[0]), boardB = board(kFloorBoardsSrgb[1]);
    int row = 0;
    for (float z = floor->minZ; z < floor->maxZ - 1e-4f; z += kTile, ++row) {
        int column = 0;
        for (float x = floor->minX; x < floor->maxX - 1e-4f; x += kTile, ++column) {
            const float x1 = std::min(x + kTile, floor->maxX), z1 = std::min(z + kTile, floor->maxZ);
            addQuad(vertices, indices, {{{x, y, z}, {x1, y, z}, {x1, y, z1}, {x, y, z1}}},
                    (row + column) % 2 ? boardA : boardB);
        }
    }
    // Walls (each a slightly different shade, as daylight from one side would give) and the ceiling.
    const Colour wall = linearFromSrgb(0.80f, 0.78f, 0.72f);
    const float x0 = floor->minX, x1 = floor->maxX, z0 = floor->minZ, z1 = floor->maxZ;
    addQuad(vertices, indices, {{{x0, y, z0}, {x1, y, z0}, {x1, top, z0}, {x0, top, z0}}}, wall);
    addQuad(vertices, indices, {{{x0, y, z1}, {x1, y, z1}, {x1, top, z1}, {x0, top, z1}}}, scaled(wall, 0.8f));
    addQuad(vertices, indices, {{{x0, y, z0}, {x0, y, z1}, {x0, top, z1}, {x0, top, z0}}}, scaled(wall, 0.9f));
    addQuad(vertices, indices, {{{x1, y, z0}, {x1, y, z1}, {x1, top, z1}, {x1, top, z0}}}, scaled(wall, 0.7f));
    addQuad(vertices, indices, {{{x0, top, z0}, {x1, top, z0}, {x1, top, z1}, {x0, top, z1}}},
            linearFromSrgb(0.9f, 0.9f, 0.88f));

    // Furniture: a block from the floor up to each other surface, top lighter than the sides.
    const Colour palette[] = {linearFromSrgb(0.35f, 0.22f, 0.14f), linearFromSrgb(0.62f, 0.62f, 0.60f),
                              linearFromSrgb(0.25f, 0.30f, 0.40f), linearFromSrgb(0.45f, 0.50f, 0.30f)};
    std::size_t piece = 0;
    for (const auto& s : room.surfaces) {
        if (&s == floor) continue;
        const Colour c = palette[piece++ % std::size(palette)];
        const float h = s.height;
        addQuad(vertices, indices,
                {{{s.minX, h, s.minZ}, {s.maxX, h, s.minZ}, {s.maxX, h, s.maxZ}, {s.minX, h, s.maxZ}}}, c);
        addQuad(vertices, indices,
                {{{s.minX, y, s.maxZ}, {s.maxX, y, s.maxZ}, {s.maxX, h, s.maxZ}, {s.minX, h, s.maxZ}}},
                scaled(c, 0.6f));
        addQuad(vertices, indices,
                {{{s.minX, y, s.minZ}, {s.maxX, y, s.minZ}, {s.maxX, h, s.minZ}, {s.minX, h, s.minZ}}},
                scaled(c, 0.6f));
        addQuad(vertices, indices,
                {{{s.minX, y, s.minZ}, {s.minX, y, s.maxZ}, {s.minX, h, s.maxZ}, {s.minX, h, s.minZ}}},
                scaled(c, 0.75f));
        addQuad(vertices, indices,
                {{{s.maxX, y, s.minZ}, {s.maxX, y, s.maxZ}, {s.maxX, h, s.maxZ}, {s.maxX, h, s.minZ}}},
                scaled(c, 0.75f));
    }
}

void buildFeaturePoints(const memory::SimulatedRoom& room, std::vector<Vertex>& vertices,
                        std::vector<std::uint32_t>& indices) {
    vertices.clear();
    indices.clear();
    const Colour yellow = linearFromSrgb(1.0f, 0.85f, 0.0f);
    int surface = 0;
    for (const auto& s : room.surfaces) {
        ++surface;
        const int columns = static_cast<int>((s.maxX - s.minX) / kFeatureSpacing);
        const int rows = static_cast<int>((s.maxZ - s.minZ) / kFeatureSpacing);
        for (int i = 0; i < columns; ++i)
            for (int j = 0; j < rows; ++j) {
                const int cell = i * 7919 + j;
                Vertex v;
                v.position = {s.minX + (static_cast<float>(i) + 0.2f + 0.6f * hash01(surface, cell)) * kFeatureSpacing,
                              s.height + 0.002f,
                              s.minZ + (static_cast<float>(j) + 0.2f + 0.6f * hash01(cell, surface)) * kFeatureSpacing};
                v.color = yellow;
                indices.push_back(static_cast<std::uint32_t>(vertices.size()));
                vertices.push_back(v);
            }
    }
}

void buildAxes(const std::vector<simd_float4x4>& frames, std::vector<Vertex>& vertices,
               std::vector<std::uint32_t>& indices) {
    vertices.clear();
    indices.clear();
    const Colour colours[3] = {{1, 0, 0, 1}, {0, 1, 0, 1}, {0, 0, 1, 1}};
    for (const simd_float4x4& m : frames) {
        const auto& origin = m.columns[3];
        for (std::size_t axis = 0; axis < 3; ++axis) {
            const auto& d = m.columns[axis];
            Vertex a, b;
            a.position = {origin[0], origin[1], origin[2]};
            b.position = {origin[0] + d[0] * kAxisLength, origin[1] + d[1] * kAxisLength,
                          origin[2] + d[2] * kAxisLength};
            a.color = b.color = colours[axis];
            indices.push_back(static_cast<std::uint32_t>(vertices.size()));
            vertices.push_back(a);
            indices.push_back(static_cast<std::uint32_t>(vertices.size()));
            vertices.push_back(b);
        }
    }
}

}  // namespace orrery::render
