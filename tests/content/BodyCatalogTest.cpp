#include "content/BodyCatalog.h"

#include <gtest/gtest.h>

#include <map>
#include <string>

namespace orrery {
namespace {

TEST(BodyCatalog, FactTextsHaveTheirByteCountsAndSixLines) {
    const std::map<std::string, std::size_t> bytes{
        {"Sun", 209},     {"Mercury", 191}, {"Venus", 173},  {"Earth", 172},    {"Moon", 177},
        {"Mars", 160},    {"Ceres", 210},   {"Jupiter", 174}, {"Saturn", 174},  {"Uranus", 183},
        {"Neptune", 173}, {"Pluto", 179},   {"Haumea", 143}, {"Makemake", 143}, {"Eris", 182}};
    ASSERT_EQ(BodyCatalog::infoTexts().size(), bytes.size());
    for (const InfoTextEntry& entry : BodyCatalog::infoTexts()) {
        SCOPED_TRACE(std::string(entry.key));
        const std::string text(entry.text);
        EXPECT_EQ(text.size(), bytes.at(std::string(entry.key)));
        EXPECT_EQ(text.rfind(std::string(entry.key) + " \n", 0), 0u);
        std::size_t lineFeeds = 0, nonAscii = 0;
        for (std::size_t i = 0; i < text.size(); ++i) {
            nonAscii += static_cast<unsigned char>(text[i]) >= 0x80 ? 1 : 0;
            if (text[i] != '\n') continue;
            ++lineFeeds;
            EXPECT_TRUE(text[i - 1] == ' ' && text[i - 2] != ' ');
        }
        EXPECT_EQ(lineFeeds, 5u);
        EXPECT_EQ(nonAscii, 2u);
        EXPECT_EQ(text.substr(text.size() - 5), "m/s\xC2\xB2");
    }
}

TEST(BodyCatalog, LookupsMatchWholeNamesExactly) {
    EXPECT_EQ(BodyCatalog::bodies().size(), 17u);
    EXPECT_EQ(BodyCatalog::buttons().size(), 18u);
    EXPECT_EQ(BodyCatalog::buttons()[6].assetPath, "art.scnassets/Buttons/EarthButton/EarthNightButton.dae");
    EXPECT_EQ(BodyCatalog::infoTextOfBodyName("EarthNight"), BodyCatalog::earthText);
    EXPECT_EQ(BodyCatalog::infoTextOfBodyName("Moon"), BodyCatalog::moonText);
    for (const char* name : {"Stars", "earth", "Earth ", "Eart", "", "MarsButton", "planetData"}) {
        EXPECT_FALSE(BodyCatalog::isBodyName(name)) << name;
        EXPECT_FALSE(BodyCatalog::infoTextOfBodyName(name)) << name;
    }
    EXPECT_TRUE(BodyCatalog::isBodyName("Eris"));
    EXPECT_TRUE(BodyCatalog::isButtonName("HelpButton"));
    for (const char* name : {"helpButton", "HelpButton ", "StarsButton", "Help", "Sun"})
        EXPECT_FALSE(BodyCatalog::isButtonName(name)) << name;
    EXPECT_EQ(BodyCatalog::bodyIndexOfName("SolarSystemButton"), BodyIndex{0});
    EXPECT_EQ(BodyCatalog::bodyIndexOfName("SunButton"), BodyIndex{0});
    EXPECT_EQ(BodyCatalog::bodyIndexOfName("EarthNightButton"), BodyIndex{4});
    EXPECT_EQ(BodyCatalog::bodyIndexOfName("EarthNight"), BodyIndex{4});
    EXPECT_EQ(BodyCatalog::bodyIndexOfName("ErisButton"), BodyIndex{15});
    for (const char* name : {"HelpButton", "Stars", "sunButton"}) EXPECT_FALSE(BodyCatalog::bodyIndexOfName(name)) << name;
    EXPECT_EQ(BodyCatalog::buttonNodeName("SolarSystem"), "SolarSystemButton");
    EXPECT_FALSE(BodyCatalog::buttonNodeName("Stars"));
    EXPECT_FALSE(BodyCatalog::bodyNodeName("sun"));
}

} // namespace
} // namespace orrery
