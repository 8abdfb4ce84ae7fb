#pragma once
// Constants of the view modes: every body's spin and the overview's row.

#include "content/BodyCatalog.h"
#include "platform/Types.h"

#include <array>
#include <string_view>

namespace orrery {

/// One whole turn, as the spin's angle about y.
inline constexpr double fullTurn = 6.283185307179586;

/// How a body spins: one turn of `direction` radians about y every `period` seconds
/// (its rotation period in hours, one hour played as one second), under `key`.
struct SpinEntry {
    BodyIndex body;
    double period;
    double direction;
    std::string_view key;
};

/// One spin per selectable body, indexed by BodyIndex. Venus, Uranus and Pluto turn backwards.
inline constexpr std::array<SpinEntry, bodyCount> SpinTable{{
    {0, 624, fullTurn, "SunAnimation"},
    {1, 1416, fullTurn, "MercuryAnimation"},
    {2, 5832, -fullTurn, "VenusAnimation"},
    {3, 24, fullTurn, "EarthAnimation"},
    {4, 24, fullTurn, "EarthNightAnimation"},
    {5, 648, fullTurn, "MoonAnimation"},
    {6, 24, fullTurn, "MarsAnimation"},  // 24 h 37 min kept at 24
    {7, 9, fullTurn, "CeresAnimation"},
    {8, 10, fullTurn, "JupiterAnimation"},
    {9, 11, fullTurn, "SaturnAnimation"},
    {10, 17, -fullTurn, "UranusAnimation"},
    {11, 16, fullTurn, "NeptuneAnimation"},
    {12, 153, -fullTurn, "PlutoAnimation"},
    {13, 4, fullTurn, "HaumeaAnimation"},
    {14, 8, fullTurn, "MakemakeAnimation"},
    {15, 8, fullTurn, "ErisAnimation"},
}};

// SpinTable is indexed by BodyIndex.
static_assert([] {
    for (std::size_t i = 0; i < SpinTable.size(); ++i)
        if (SpinTable[i].body != BodyIndex(i)) return false;
    return true;
}());

/// One place of the overview row.
struct LayoutEntry {
    BodyIndex body;
    float scale;
    SCNVector3 position;
};

/// The overview, in placing order: 15 bodies (no EarthNight) at true size ratios to the Sun's scale 12.
inline constexpr std::array<LayoutEntry, 15> OverviewLayout{{
    {0, 12.0f, {-20.0f, 0.5f, -5.0f}},     // Sun
    {1, 0.04212f, {-5.9f, 0.5f, -5.0f}},   // Mercury
    {2, 0.1044f, {-5.0f, 0.5f, -5.0f}},    // Venus
    {3, 0.11004f, {-4.0f, 0.5f, -5.0f}},   // Earth
    {5, 0.03f, {-3.8f, 0.5f, -5.0f}},      // Moon
    {6, 0.05856f, {-3.0f, 0.5f, -5.0f}},   // Mars
    {7, 0.00816f, {-2.6f, 0.5f, -5.0f}},   // Ceres
    {8, 1.23156f, {-0.8f, 0.5f, -5.0f}},   // Jupiter
    {9, 1.04064f, {3.0f, 0.5f, -5.0f}},    // Saturn
    {10, 0.44676f, {7.0f, 0.5f, -5.0f}},   // Uranus
    {11, 0.42708f, {9.5f, 0.5f, -5.0f}},   // Neptune
    {12, 0.01968f, {12.0f, 0.5f, -5.0f}},  // Pluto
    {13, 0.01404f, {13.0f, 0.5f, -5.0f}},  // Haumea
    {14, 0.01236f, {13.5f, 0.5f, -5.0f}},  // Makemake
    {15, 0.02004f, {14.0f, 0.5f, -5.0f}},  // Eris
}};

/// The single-body pose shared by every body button.
inline constexpr float singleBodyScale = 0.5f;
inline constexpr SCNVector3 singleBodyPosition{0, 0, -2};

}  // namespace orrery
