#include "content/BodyCatalog.h"

#include <gtest/gtest.h>

#include <map>
#include <string>

namespace orrery {
namespace {

TEST(BodyCatalogTexts, EachFactTextHasItsByteCountAndSixLines) {
    // Expected UTF-8 lengths, counted independently of the catalogue.
    const std::map<std::string, std::size_t> bytes{
        {"Sun", 209},    {"Mercury", 191}, {"Venus", 173},  {"Earth", 172},   {"Moon", 177},
        {"Mars", 160},   {"Ceres", 210},   {"Jupiter", 174}, {"Saturn", 174}, {"Uranus", 183},
        {"Neptune", 173}, {"Pluto", 179},  {"Haumea", 143}, {"Makemake", 143}, {"Eris", 182}};
    ASSERT_EQ(BodyCatalog::infoTexts().size(), bytes.size());
    for (const InfoTextEntry& entry : BodyCatalog::infoTexts()) {
        SCOPED_TRACE(std::string(entry.key));
        const std::string text(entry.text);
        ASSERT_TRUE(bytes.contains(text.substr(0, text.find(' '))));
        EXPECT_EQ(text.size(), bytes.at(std::string(entry.key)));
        EXPECT_EQ(text.rfind(std::string(entry.key) + " \n", 0), 0u) << "first line is the body's name";

        std::size_t lineFeeds = 0;
        for (std::size_t i = 0; i < text.size(); ++i) {
            if (text[i] != '\n') continue;
            ++lineFeeds;
            ASSERT_GE(i, 2u);
            EXPECT_EQ(text[i - 1], ' ');
            EXPECT_NE(text[i - 2], ' ');
        }
        EXPECT_EQ(lineFeeds, 5u);
        ASSERT_GE(text.size(), 5u);
        EXPECT_EQ(text.substr(text.size() - 5), "m/s\xC2\xB2");
        // The superscript two is the only byte outside ASCII.
        std::size_t high = 0;
        for (unsigned char c : text) high += c >= 0x80 ? 1 : 0;
        EXPECT_EQ(high, 2u);
    }
}

TEST(BodyCatalogRows, BodiesAndButtonsFollowTheNamingRules) {
    const auto bodies = BodyCatalog::bodies();
    const auto buttons = BodyCatalog::buttons();
    ASSERT_EQ(bodies.size(), 17u);
    ASSERT_EQ(buttons.size(), 18u);
    EXPECT_EQ(bodies[0].nodeName, "Stars");
    EXPECT_FALSE(bodies[0].infoText.has_value());
    EXPECT_FALSE(bodies[0].bodyIndex.has_value());
    for (std::size_t i = 1; i < bodies.size(); ++i) {
        const BodyEntry& row = bodies[i];
        SCOPED_TRACE(std::string(row.key));
        EXPECT_EQ(row.nodeName, row.key);
        ASSERT_TRUE(row.bodyIndex.has_value());
        EXPECT_EQ(*row.bodyIndex, i - 1);
        const std::string folder = row.key == "EarthNight" ? "Earth" : std::string(row.key);
        EXPECT_EQ(row.assetPath, "art.scnassets/" + folder + "/" + std::string(row.key) + ".dae");
        // Buttons 2..17 follow the bodies in the same order.
        EXPECT_EQ(buttons[i + 1].nodeName, std::string(row.key) + "Button");
        EXPECT_EQ(buttons[i + 1].bodyIndex, row.bodyIndex);
    }
    EXPECT_EQ(buttons[0].nodeName, "SolarSystemButton");
    EXPECT_EQ(buttons[1].nodeName, "HelpButton");
    EXPECT_EQ(buttons[6].assetPath, "art.scnassets/Buttons/EarthButton/EarthNightButton.dae");
    EXPECT_EQ(buttons[7].assetPath, "art.scnassets/Buttons/MoonButton/MoonButton.dae");
    EXPECT_EQ(bodies[5].infoText, BodyCatalog::earthText);
}

TEST(BodyCatalogLookups, NamesMatchExactlyAndCaseSensitively) {
    EXPECT_EQ(BodyCatalog::infoTextOfBodyName("EarthNight"), BodyCatalog::earthText);
    EXPECT_EQ(BodyCatalog::infoTextOfBodyName("Moon"), BodyCatalog::moonText);
    EXPECT_FALSE(BodyCatalog::infoTextOfBodyName("Stars"));
    EXPECT_FALSE(BodyCatalog::infoTextOfBodyName("SunButton"));
    EXPECT_FALSE(BodyCatalog::infoTextOfBodyName("planetData"));

    EXPECT_TRUE(BodyCatalog::isBodyName("Eris"));
    EXPECT_FALSE(BodyCatalog::isBodyName("Stars"));
    EXPECT_FALSE(BodyCatalog::isBodyName("earth"));
    EXPECT_FALSE(BodyCatalog::isBodyName("Earth "));
    EXPECT_FALSE(BodyCatalog::isBodyName("Eart"));
    EXPECT_FALSE(BodyCatalog::isBodyName(""));
    EXPECT_FALSE(BodyCatalog::isBodyName("MarsButton"));

    EXPECT_TRUE(BodyCatalog::isButtonName("HelpButton"));
    EXPECT_TRUE(BodyCatalog::isButtonName("SolarSystemButton"));
    EXPECT_FALSE(BodyCatalog::isButtonName("helpButton"));
    EXPECT_FALSE(BodyCatalog::isButtonName("HelpButton "));
    EXPECT_FALSE(BodyCatalog::isButtonName("StarsButton"));
    EXPECT_FALSE(BodyCatalog::isButtonName("Help"));

    EXPECT_EQ(BodyCatalog::bodyIndexOfName("SolarSystemButton"), BodyIndex{0});
    EXPECT_EQ(BodyCatalog::bodyIndexOfName("SunButton"), BodyIndex{0});
    EXPECT_EQ(BodyCatalog::bodyIndexOfName("EarthNightButton"), BodyIndex{4});
    EXPECT_EQ(BodyCatalog::bodyIndexOfName("EarthNight"), BodyIndex{4});
    EXPECT_EQ(BodyCatalog::bodyIndexOfName("ErisButton"), BodyIndex{15});
    EXPECT_FALSE(BodyCatalog::bodyIndexOfName("HelpButton"));
    EXPECT_FALSE(BodyCatalog::bodyIndexOfName("Stars"));
    EXPECT_FALSE(BodyCatalog::bodyIndexOfName("sunButton"));

    EXPECT_EQ(BodyCatalog::bodyNodeName("EarthNight"), "EarthNight");
    EXPECT_EQ(BodyCatalog::buttonNodeName("SolarSystem"), "SolarSystemButton");
    EXPECT_FALSE(BodyCatalog::buttonNodeName("Stars"));
    EXPECT_FALSE(BodyCatalog::bodyNodeName("sun"));
    ASSERT_NE(BodyCatalog::bodyOfIndex(7), nullptr);
    EXPECT_EQ(BodyCatalog::bodyOfIndex(7)->key, "Ceres");
    EXPECT_EQ(BodyCatalog::bodyOfIndex(16), nullptr);
}

} // namespace
} // namespace orrery
