#pragma once
// The fixed content of the app: bodies, buttons and their fact texts.
//
// Everything here is compiled in. Rows are in catalogue order (Stars, Sun to
// Eris for bodies; SolarSystem, Help, Sun to Eris for buttons), which is the
// order loading walks them and the order the controller declares its fields.
// Names compare by exact, case-sensitive equality of the whole text.

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace orrery {

/// Number of a selectable body: Sun 0 to Eris 15. The star field has none.
using BodyIndex = std::uint8_t;

/// Number of selectable bodies (Sun to Eris, EarthNight included).
inline constexpr BodyIndex bodyCount = 16;

struct BodyEntry {
    std::string_view key;                      ///< "Sun"
    std::string_view nodeName;                 ///< the name the model's root node gets
    std::string_view assetPath;                ///< "art.scnassets/Sun/Sun.dae"
    std::optional<std::string_view> infoText;  ///< none for Stars; EarthNight shares the Earth text
    std::optional<BodyIndex> bodyIndex;        ///< none for Stars
};

struct ButtonEntry {
    std::string_view key;                ///< "Sun"
    std::string_view nodeName;           ///< "SunButton"
    std::string_view assetPath;          ///< "art.scnassets/Buttons/SunButton/SunButton.dae"
    std::optional<BodyIndex> bodyIndex;  ///< the body a press selects; none for Help
};

/// One fact text with the key of the body it describes.
struct InfoTextEntry {
    std::string_view key;
    std::string_view text;
};

class BodyCatalog {
public:
    // The fact texts, UTF-8, six lines each (every line feed preceded by one space).
    static constexpr std::string_view sunText =
        "Sun \nEquatorial diameter: 1.391.400 Km \nRotation period: 26 days \nAtmosphere: it is composed of four "
        "distinct parts: \nthe chromosphere, the transition region, the corona and the heliosphere \nGravity: 274 "
        "m/s\xC2\xB2";
    static constexpr std::string_view mercuryText =
        "Mercury \nEquatorial diameter: 4.880 Km \nRotation period: 59 days \nPeriod of revolution (around Sun): "
        "88 days \nAtmosphere: virtually none (very tenuous and highly variable) \nGravity: 3.7 m/s\xC2\xB2";
    static constexpr std::string_view venusText =
        "Venus \nEquatorial diameter: 12.100 Km \nRotation period: 243 days (retrograde) \nPeriod of revolution "
        "(around Sun): 224.7 days \nAtmosphere: carbon dioxide \nGravity: 8.87 m/s\xC2\xB2";
    static constexpr std::string_view earthText =
        "Earth \nEquatorial diameter: 12.756 Km \nRotation period: 23 hr 56 min 4 sec \nPeriod of revolution "
        "(around Sun): 365.2 days \nAtmosphere: nitrogen oxygen \nGravity: 9.798 m/s\xC2\xB2";
    static constexpr std::string_view moonText =
        "Moon \nEquatorial diameter: 3.474 km \nRotation period: 27 days \nPeriod of revolution (around Earth): "
        "27 giorni \nAtmosphere: little atmosphere (unusual gases) \nGravity: 1.62 m/s\xC2\xB2";
    static constexpr std::string_view marsText =
        "Mars \nEquatorial diameter: 6.794 Km \nRotation period: 24 hr 37 min \nPeriod of revolution (around "
        "Sun): 687 days \nAtmosphere: carbon dioxide \nGravity: 3.71 m/s\xC2\xB2";
    static constexpr std::string_view ceresText =
        "Ceres \nEquatorial diameter: 946 km \nRotation period: 9 hr \nPeriod of revolution (around Sun): 1.680 "
        "days \nAtmosphere: tenuous water vapor atmosphere outgassing from water ice on the surface \nGravity: "
        "0.27 m/s\xC2\xB2";
    static constexpr std::string_view jupiterText =
        "Jupiter \nEquatorial diameter: 142.800 Km \nRotation period: 9 hr 55 min 30 sec \nPeriod of revolution "
        "(around Sun): 11.86 yrs \nAtmosphere: hydrogen helium \nGravity: 24.92 m/s\xC2\xB2";
    static constexpr std::string_view saturnText =
        "Saturn \nEquatorial diameter: 120.660 Km \nRotation period: 10 hr 40 min 24 sec \nPeriod of revolution "
        "(around Sun): 29.46 yrs \nAtmosphere: hydrogen helium \nGravity: 10.44 m/s\xC2\xB2";
    static constexpr std::string_view uranusText =
        "Uranus \nEquatorial diameter: 51.810 Km \nRotation period: 16 hr 48 min (retrograde) \nPeriod of "
        "revolution (around Sun): 84 yrs \nAtmosphere: helium hydrogen methane \nGravity: 8.87 m/s\xC2\xB2";
    static constexpr std::string_view neptuneText =
        "Neptune \nEquatorial diameter: 49.528 Km \nRotation period: 16 hr 11 min \nPeriod of revolution (around "
        "Sun): 165 yrs \nAtmosphere: hydrogen helium methane \nGravity: 11.15 m/s\xC2\xB2";
    static constexpr std::string_view plutoText =
        "Pluto \nEquatorial diameter: 2.290 Km \nRotation period: 6 days 9 hr 18 mins (retrograde) \nPeriod of "
        "revolution (around Sun): 248 yrs \nAtmosphere: none detected \nGravity: 0.58 m/s\xC2\xB2";
    static constexpr std::string_view haumeaText =
        "Haumea \nEquatorial diameter: 1632 km \nRotation period: 4 hr \nPeriod of revolution (around Sun): 284 "
        "yrs \nAtmosphere: none \nGravity: 0.401 m/s\xC2\xB2";
    static constexpr std::string_view makemakeText =
        "Makemake \nEquatorial diameter: 1430 Km \nRotation period: 8 hr \nPeriod of revolution (around Sun): "
        "309 yrs \nAtmosphere: none \nGravity: 0.5 m/s\xC2\xB2";
    static constexpr std::string_view erisText =
        "Eris \nEquatorial diameter: 2326 Km \nRotation period: 8 hr \nPeriod of revolution (around Sun): 558 "
        "yrs \nAtmosphere: possible nitrogen, methane or argon atmosphere \nGravity: 0.82 m/s\xC2\xB2";

    /// The 17 body rows (Stars first) in catalogue order.
    static std::span<const BodyEntry> bodies();
    /// The 18 button rows (SolarSystem, Help, then Sun to Eris) in catalogue order.
    static std::span<const ButtonEntry> buttons();
    /// The 15 fact texts, Sun to Eris without EarthNight.
    static std::span<const InfoTextEntry> infoTexts();

    /// Node name of the body with this key ("Sun" -> "Sun"), or none.
    static std::optional<std::string_view> bodyNodeName(std::string_view key);
    /// Node name of the button with this key ("Sun" -> "SunButton"), or none.
    static std::optional<std::string_view> buttonNodeName(std::string_view key);
    /// The body row of a selectable body number, or none outside 0 to 15.
    static const BodyEntry* bodyOfIndex(BodyIndex index);

    /// Fact text of a body node name: "EarthNight" gives the Earth text; "Stars" and other names none.
    static std::optional<std::string_view> infoTextOfBodyName(std::string_view name);
    /// Whether `name` is one of the 16 selectable body names ("Stars" is not).
    static bool isBodyName(std::string_view name);
    /// Whether `name` is one of the 18 button names.
    static bool isButtonName(std::string_view name);
    /// BodyIndex of a body name or a button name; none for "HelpButton", "Stars" and others.
    static std::optional<BodyIndex> bodyIndexOfName(std::string_view name);
};

}  // namespace orrery
