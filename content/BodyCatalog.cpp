#include "content/BodyCatalog.h"

#include <array>

namespace orrery {

namespace {

using C = BodyCatalog;

constexpr std::array<BodyEntry, 17> bodyRows{{
    {"Stars", "Stars", "art.scnassets/Stars/Stars.dae", std::nullopt, std::nullopt},
    {"Sun", "Sun", "art.scnassets/Sun/Sun.dae", C::sunText, 0},
    {"Mercury", "Mercury", "art.scnassets/Mercury/Mercury.dae", C::mercuryText, 1},
    {"Venus", "Venus", "art.scnassets/Venus/Venus.dae", C::venusText, 2},
    {"Earth", "Earth", "art.scnassets/Earth/Earth.dae", C::earthText, 3},
    // The night side is a body of its own but shares the Earth folder and text.
    {"EarthNight", "EarthNight", "art.scnassets/Earth/EarthNight.dae", C::earthText, 4},
    {"Moon", "Moon", "art.scnassets/Moon/Moon.dae", C::moonText, 5},
    {"Mars", "Mars", "art.scnassets/Mars/Mars.dae", C::marsText, 6},
    {"Ceres", "Ceres", "art.scnassets/Ceres/Ceres.dae", C::ceresText, 7},
    {"Jupiter", "Jupiter", "art.scnassets/Jupiter/Jupiter.dae", C::jupiterText, 8},
    {"Saturn", "Saturn", "art.scnassets/Saturn/Saturn.dae", C::saturnText, 9},
    {"Uranus", "Uranus", "art.scnassets/Uranus/Uranus.dae", C::uranusText, 10},
    {"Neptune", "Neptune", "art.scnassets/Neptune/Neptune.dae", C::neptuneText, 11},
    {"Pluto", "Pluto", "art.scnassets/Pluto/Pluto.dae", C::plutoText, 12},
    {"Haumea", "Haumea", "art.scnassets/Haumea/Haumea.dae", C::haumeaText, 13},
    {"Makemake", "Makemake", "art.scnassets/Makemake/Makemake.dae", C::makemakeText, 14},
    {"Eris", "Eris", "art.scnassets/Eris/Eris.dae", C::erisText, 15},
}};

constexpr std::array<ButtonEntry, 18> buttonRows{{
    {"SolarSystem", "SolarSystemButton", "art.scnassets/Buttons/SolarSystemButton/SolarSystemButton.dae", 0},
    {"Help", "HelpButton", "art.scnassets/Buttons/HelpButton/HelpButton.dae", std::nullopt},
    {"Sun", "SunButton", "art.scnassets/Buttons/SunButton/SunButton.dae", 0},
    {"Mercury", "MercuryButton", "art.scnassets/Buttons/MercuryButton/MercuryButton.dae", 1},
    {"Venus", "VenusButton", "art.scnassets/Buttons/VenusButton/VenusButton.dae", 2},
    {"Earth", "EarthButton", "art.scnassets/Buttons/EarthButton/EarthButton.dae", 3},
    // Lies in the EarthButton folder, not a folder of its own.
    {"EarthNight", "EarthNightButton", "art.scnassets/Buttons/EarthButton/EarthNightButton.dae", 4},
    {"Moon", "MoonButton", "art.scnassets/Buttons/MoonButton/MoonButton.dae", 5},
    {"Mars", "MarsButton", "art.scnassets/Buttons/MarsButton/MarsButton.dae", 6},
    {"Ceres", "CeresButton", "art.scnassets/Buttons/CeresButton/CeresButton.dae", 7},
    {"Jupiter", "JupiterButton", "art.scnassets/Buttons/JupiterButton/JupiterButton.dae", 8},
    {"Saturn", "SaturnButton", "art.scnassets/Buttons/SaturnButton/SaturnButton.dae", 9},
    {"Uranus", "UranusButton", "art.scnassets/Buttons/UranusButton/UranusButton.dae", 10},
    {"Neptune", "NeptuneButton", "art.scnassets/Buttons/NeptuneButton/NeptuneButton.dae", 11},
    {"Pluto", "PlutoButton", "art.scnassets/Buttons/PlutoButton/PlutoButton.dae", 12},
    {"Haumea", "HaumeaButton", "art.scnassets/Buttons/HaumeaButton/HaumeaButton.dae", 13},
    {"Makemake", "MakemakeButton", "art.scnassets/Buttons/MakemakeButton/MakemakeButton.dae", 14},
    {"Eris", "ErisButton", "art.scnassets/Buttons/ErisButton/ErisButton.dae", 15},
}};

constexpr std::array<InfoTextEntry, 15> infoTextRows{{
    {"Sun", C::sunText},
    {"Mercury", C::mercuryText},
    {"Venus", C::venusText},
    {"Earth", C::earthText},
    {"Moon", C::moonText},
    {"Mars", C::marsText},
    {"Ceres", C::ceresText},
    {"Jupiter", C::jupiterText},
    {"Saturn", C::saturnText},
    {"Uranus", C::uranusText},
    {"Neptune", C::neptuneText},
    {"Pluto", C::plutoText},
    {"Haumea", C::haumeaText},
    {"Makemake", C::makemakeText},
    {"Eris", C::erisText},
}};

/// The selectable body row named `name`; Stars has no index and never matches.
const BodyEntry* selectableBodyNamed(std::string_view name) {
    for (const BodyEntry& row : bodyRows) {
        if (row.bodyIndex && row.nodeName == name) return &row;
    }
    return nullptr;
}

const ButtonEntry* buttonNamed(std::string_view name) {
    for (const ButtonEntry& row : buttonRows) {
        if (row.nodeName == name) return &row;
    }
    return nullptr;
}

}  // namespace

std::span<const BodyEntry> BodyCatalog::bodies() { return bodyRows; }
std::span<const ButtonEntry> BodyCatalog::buttons() { return buttonRows; }
std::span<const InfoTextEntry> BodyCatalog::infoTexts() { return infoTextRows; }

std::optional<std::string_view> BodyCatalog::bodyNodeName(std::string_view key) {
    for (const BodyEntry& row : bodyRows) {
        if (row.key == key) return row.nodeName;
    }
    return std::nullopt;
}

std::optional<std::string_view> BodyCatalog::buttonNodeName(std::string_view key) {
    for (const ButtonEntry& row : buttonRows) {
        if (row.key == key) return row.nodeName;
    }
    return std::nullopt;
}

const BodyEntry* BodyCatalog::bodyOfIndex(BodyIndex index) {
    for (const BodyEntry& row : bodyRows) {
        if (row.bodyIndex == index) return &row;
    }
    return nullptr;
}

std::optional<std::string_view> BodyCatalog::infoTextOfBodyName(std::string_view name) {
    const BodyEntry* row = selectableBodyNamed(name);
    if (row == nullptr) return std::nullopt;
    return row->infoText;
}

bool BodyCatalog::isBodyName(std::string_view name) { return selectableBodyNamed(name) != nullptr; }

bool BodyCatalog::isButtonName(std::string_view name) { return buttonNamed(name) != nullptr; }

std::optional<BodyIndex> BodyCatalog::bodyIndexOfName(std::string_view name) {
    if (const BodyEntry* body = selectableBodyNamed(name)) return body->bodyIndex;
    if (const ButtonEntry* button = buttonNamed(name)) return button->bodyIndex;
    return std::nullopt;
}

}  // namespace orrery
