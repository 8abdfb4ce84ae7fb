#pragma once
// The app's fixed content written out literally, independently of the code that holds it:
// fact texts byte for byte, asset paths, button places, spins and the overview row.

#include "platform/Types.h"

#include <array>
#include <string_view>

namespace orrery::expected {

struct Text {
    std::string_view key, text;
};

// "²" is written as UTF-8 (C2 B2), as the texts are stored.
inline constexpr std::array<Text, 15> factTexts{{
    {"Sun",
     "Sun \nEquatorial diameter: 1.391.400 Km \nRotation period: 26 days \nAtmosphere: it is composed of four distinct "
     "parts: \nthe chromosphere, the transition region, the corona and the heliosphere \nGravity: 274 m/s²"},
    {"Mercury", "Mercury \nEquatorial diameter: 4.880 Km \nRotation period: 59 days \nPeriod of revolution (around "
                "Sun): 88 days \nAtmosphere: virtually none (very tenuous and highly variable) \nGravity: 3.7 m/s²"},
    {"Venus", "Venus \nEquatorial diameter: 12.100 Km \nRotation period: 243 days (retrograde) \nPeriod of revolution "
              "(around Sun): 224.7 days \nAtmosphere: carbon dioxide \nGravity: 8.87 m/s²"},
    {"Earth", "Earth \nEquatorial diameter: 12.756 Km \nRotation period: 23 hr 56 min 4 sec \nPeriod of revolution "
              "(around Sun): 365.2 days \nAtmosphere: nitrogen oxygen \nGravity: 9.798 m/s²"},
    {"Moon", "Moon \nEquatorial diameter: 3.474 km \nRotation period: 27 days \nPeriod of revolution (around Earth): "
             "27 giorni \nAtmosphere: little atmosphere (unusual gases) \nGravity: 1.62 m/s²"},
    {"Mars", "Mars \nEquatorial diameter: 6.794 Km \nRotation period: 24 hr 37 min \nPeriod of revolution (around "
             "Sun): 687 days \nAtmosphere: carbon dioxide \nGravity: 3.71 m/s²"},
    {"Ceres",
     "Ceres \nEquatorial diameter: 946 km \nRotation period: 9 hr \nPeriod of revolution (around Sun): 1.680 days "
     "\nAtmosphere: tenuous water vapor atmosphere outgassing from water ice on the surface \nGravity: 0.27 m/s²"},
    {"Jupiter", "Jupiter \nEquatorial diameter: 142.800 Km \nRotation period: 9 hr 55 min 30 sec \nPeriod of "
                "revolution (around Sun): 11.86 yrs \nAtmosphere: hydrogen helium \nGravity: 24.92 m/s²"},
    {"Saturn", "Saturn \nEquatorial diameter: 120.660 Km \nRotation period: 10 hr 40 min 24 sec \nPeriod of revolution "
               "(around Sun): 29.46 yrs \nAtmosphere: hydrogen helium \nGravity: 10.44 m/s²"},
    {"Uranus", "Uranus \nEquatorial diameter: 51.810 Km \nRotation period: 16 hr 48 min (retrograde) \nPeriod of "
               "revolution (around Sun): 84 yrs \nAtmosphere: helium hydrogen methane \nGravity: 8.87 m/s²"},
    {"Neptune", "Neptune \nEquatorial diameter: 49.528 Km \nRotation period: 16 hr 11 min \nPeriod of revolution "
                "(around Sun): 165 yrs \nAtmosphere: hydrogen helium methane \nGravity: 11.15 m/s²"},
    {"Pluto", "Pluto \nEquatorial diameter: 2.290 Km \nRotation period: 6 days 9 hr 18 mins (retrograde) \nPeriod of "
              "revolution (around Sun): 248 yrs \nAtmosphere: none detected \nGravity: 0.58 m/s²"},
    {"Haumea", "Haumea \nEquatorial diameter: 1632 km \nRotation period: 4 hr \nPeriod of revolution (around Sun): 284 "
               "yrs \nAtmosphere: none \nGravity: 0.401 m/s²"},
    {"Makemake", "Makemake \nEquatorial diameter: 1430 Km \nRotation period: 8 hr \nPeriod of revolution (around Sun): "
                 "309 yrs \nAtmosphere: none \nGravity: 0.5 m/s²"},
    {"Eris", "Eris \nEquatorial diameter: 2326 Km \nRotation period: 8 hr \nPeriod of revolution (around Sun): 558 yrs "
             "\nAtmosphere: possible nitrogen, methane or argon atmosphere \nGravity: 0.82 m/s²"},
}};

inline std::string_view factText(std::string_view key) {
    for (const Text& t : factTexts)
        if (t.key == key) return t.text;
    return "<no text>";
}

/// A body model: node name, asset path, the key of its fact text ("" for none), its number (-1 for none).
struct Body {
    std::string_view name, path, textKey;
    int index;
};

inline constexpr std::array<Body, 17> bodies{{
    {"Stars", "art.scnassets/Stars/Stars.dae", "", -1},
    {"Sun", "art.scnassets/Sun/Sun.dae", "Sun", 0},
    {"Mercury", "art.scnassets/Mercury/Mercury.dae", "Mercury", 1},
    {"Venus", "art.scnassets/Venus/Venus.dae", "Venus", 2},
    {"Earth", "art.scnassets/Earth/Earth.dae", "Earth", 3},
    {"EarthNight", "art.scnassets/Earth/EarthNight.dae", "Earth", 4},
    {"Moon", "art.scnassets/Moon/Moon.dae", "Moon", 5},
    {"Mars", "art.scnassets/Mars/Mars.dae", "Mars", 6},
    {"Ceres", "art.scnassets/Ceres/Ceres.dae", "Ceres", 7},
    {"Jupiter", "art.scnassets/Jupiter/Jupiter.dae", "Jupiter", 8},
    {"Saturn", "art.scnassets/Saturn/Saturn.dae", "Saturn", 9},
    {"Uranus", "art.scnassets/Uranus/Uranus.dae", "Uranus", 10},
    {"Neptune", "art.scnassets/Neptune/Neptune.dae", "Neptune", 11},
    {"Pluto", "art.scnassets/Pluto/Pluto.dae", "Pluto", 12},
    {"Haumea", "art.scnassets/Haumea/Haumea.dae", "Haumea", 13},
    {"Makemake", "art.scnassets/Makemake/Makemake.dae", "Makemake", 14},
    {"Eris", "art.scnassets/Eris/Eris.dae", "Eris", 15},
}};

/// A button: node name, asset path, place, and the body number a press selects (-1 for none).
struct Button {
    std::string_view name, path;
    SCNVector3 position;
    int selects;
};

inline constexpr std::array<Button, 18> buttons{{
    {"SolarSystemButton", "art.scnassets/Buttons/SolarSystemButton/SolarSystemButton.dae", {-1.25f, -2, -1.3f}, 0},
    {"HelpButton", "art.scnassets/Buttons/HelpButton/HelpButton.dae", {-1.75f, -2, -1.3f}, -1},
    {"SunButton", "art.scnassets/Buttons/SunButton/SunButton.dae", {-1.75f, -2, -2}, 0},
    {"MercuryButton", "art.scnassets/Buttons/MercuryButton/MercuryButton.dae", {-1.25f, -2, -2}, 1},
    {"VenusButton", "art.scnassets/Buttons/VenusButton/VenusButton.dae", {-0.75f, -2, -2}, 2},
    {"EarthButton", "art.scnassets/Buttons/EarthButton/EarthButton.dae", {-0.25f, -2, -2}, 3},
    {"EarthNightButton", "art.scnassets/Buttons/EarthButton/EarthNightButton.dae", {0.25f, -2, -2}, 4},
    {"MoonButton", "art.scnassets/Buttons/MoonButton/MoonButton.dae", {0.75f, -2, -2}, 5},
    {"MarsButton", "art.scnassets/Buttons/MarsButton/MarsButton.dae", {1.25f, -2, -2}, 6},
    {"CeresButton", "art.scnassets/Buttons/CeresButton/CeresButton.dae", {1.75f, -2, -2}, 7},
    {"JupiterButton", "art.scnassets/Buttons/JupiterButton/JupiterButton.dae", {-1.75f, -2, -2.7f}, 8},
    {"SaturnButton", "art.scnassets/Buttons/SaturnButton/SaturnButton.dae", {-1.25f, -2, -2.7f}, 9},
    {"UranusButton", "art.scnassets/Buttons/UranusButton/UranusButton.dae", {-0.75f, -2, -2.7f}, 10},
    {"NeptuneButton", "art.scnassets/Buttons/NeptuneButton/NeptuneButton.dae", {-0.25f, -2, -2.7f}, 11},
    {"PlutoButton", "art.scnassets/Buttons/PlutoButton/PlutoButton.dae", {0.25f, -2, -2.7f}, 12},
    {"HaumeaButton", "art.scnassets/Buttons/HaumeaButton/HaumeaButton.dae", {0.75f, -2, -2.7f}, 13},
    {"MakemakeButton", "art.scnassets/Buttons/MakemakeButton/MakemakeButton.dae", {1.25f, -2, -2.7f}, 14},
    {"ErisButton", "art.scnassets/Buttons/ErisButton/ErisButton.dae", {1.75f, -2, -2.7f}, 15},
}};

/// How a body spins: hours of its rotation period played as seconds, and the sense of the turn.
struct Spin {
    std::string_view body, key;
    double period;
    int sense;
};

inline constexpr std::array<Spin, 16> spins{{
    {"Sun", "SunAnimation", 624, 1},
    {"Mercury", "MercuryAnimation", 1416, 1},
    {"Venus", "VenusAnimation", 5832, -1},
    {"Earth", "EarthAnimation", 24, 1},
    {"EarthNight", "EarthNightAnimation", 24, 1},
    {"Moon", "MoonAnimation", 648, 1},
    {"Mars", "MarsAnimation", 24, 1},
    {"Ceres", "CeresAnimation", 9, 1},
    {"Jupiter", "JupiterAnimation", 10, 1},
    {"Saturn", "SaturnAnimation", 11, 1},
    {"Uranus", "UranusAnimation", 17, -1},
    {"Neptune", "NeptuneAnimation", 16, 1},
    {"Pluto", "PlutoAnimation", 153, -1},
    {"Haumea", "HaumeaAnimation", 4, 1},
    {"Makemake", "MakemakeAnimation", 8, 1},
    {"Eris", "ErisAnimation", 8, 1},
}};

/// The overview row in placing order; every body stands at y 0.5, z -5.
struct Place {
    std::string_view body;
    float scale, x;
};

inline constexpr std::array<Place, 15> overview{{
    {"Sun", 12, -20},
    {"Mercury", 0.04212f, -5.9f},
    {"Venus", 0.1044f, -5},
    {"Earth", 0.11004f, -4},
    {"Moon", 0.03f, -3.8f},
    {"Mars", 0.05856f, -3},
    {"Ceres", 0.00816f, -2.6f},
    {"Jupiter", 1.23156f, -0.8f},
    {"Saturn", 1.04064f, 3},
    {"Uranus", 0.44676f, 7},
    {"Neptune", 0.42708f, 9.5f},
    {"Pluto", 0.01968f, 12},
    {"Haumea", 0.01404f, 13},
    {"Makemake", 0.01236f, 13.5f},
    {"Eris", 0.02004f, 14},
}};

inline constexpr std::string_view helpAddress = "http://orrery-ar.github.io/orrery/guide.html";

}  // namespace orrery::expected
