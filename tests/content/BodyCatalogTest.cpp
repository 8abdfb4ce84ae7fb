#include "content/BodyCatalog.h"
#include "tests/app/ExpectedContent.h"

#include <gtest/gtest.h>

#include <string>

namespace orrery {
namespace {

TEST(BodyCatalog, FactTextsAreTheWrittenOnesByteForByte) {
    ASSERT_EQ(BodyCatalog::infoTexts().size(), expected::factTexts.size());
    for (std::size_t i = 0; i < expected::factTexts.size(); ++i) {
        const auto& [key, text] = expected::factTexts[i];
        EXPECT_EQ(BodyCatalog::infoTexts()[i].key, key);
        EXPECT_EQ(BodyCatalog::infoTexts()[i].text, text) << key;
    }
}

TEST(BodyCatalog, RowsHoldNamesPathsTextsAndNumbersInCatalogOrder) {
    const auto bodies = BodyCatalog::bodies();
    ASSERT_EQ(bodies.size(), expected::bodies.size());
    for (std::size_t i = 0; i < bodies.size(); ++i) {
        const expected::Body& want = expected::bodies[i];
        SCOPED_TRACE(std::string(want.name));
        EXPECT_EQ(bodies[i].key, want.name);
        EXPECT_EQ(bodies[i].nodeName, want.name);
        EXPECT_EQ(bodies[i].assetPath, want.path);
        EXPECT_EQ(bodies[i].infoText.value_or("<none>"),
                  want.textKey.empty() ? "<none>" : expected::factText(want.textKey));
        EXPECT_EQ(bodies[i].bodyIndex ? int(*bodies[i].bodyIndex) : -1, want.index);
        EXPECT_EQ(BodyCatalog::infoTextOfBodyName(want.name).value_or("<none>"), bodies[i].infoText.value_or("<none>"));
        EXPECT_EQ(BodyCatalog::isBodyName(want.name), want.index >= 0);
        EXPECT_EQ(BodyCatalog::bodyNodeName(want.name), want.name);
        if (want.index >= 0) {
            EXPECT_EQ(BodyCatalog::bodyOfIndex(BodyIndex(want.index)), &bodies[i]);
        }
    }
    EXPECT_EQ(BodyCatalog::bodyOfIndex(16), nullptr);

    const auto buttons = BodyCatalog::buttons();
    ASSERT_EQ(buttons.size(), expected::buttons.size());
    for (std::size_t i = 0; i < buttons.size(); ++i) {
        const expected::Button& want = expected::buttons[i];
        SCOPED_TRACE(std::string(want.name));
        EXPECT_EQ(std::string(buttons[i].key) + "Button", want.name);
        EXPECT_EQ(buttons[i].nodeName, want.name);
        EXPECT_EQ(buttons[i].assetPath, want.path);
        EXPECT_EQ(buttons[i].bodyIndex ? int(*buttons[i].bodyIndex) : -1, want.selects);
        EXPECT_EQ(BodyCatalog::bodyIndexOfName(want.name), buttons[i].bodyIndex);
        EXPECT_TRUE(BodyCatalog::isButtonName(want.name));
        EXPECT_EQ(BodyCatalog::buttonNodeName(buttons[i].key), want.name);
    }
}

TEST(BodyCatalog, LookupsMatchWholeNamesExactly) {
    for (const char* name : {"Stars", "earth", "Earth ", "Eart", "", "MarsButton", "planetData"}) {
        EXPECT_FALSE(BodyCatalog::isBodyName(name)) << name;
        EXPECT_FALSE(BodyCatalog::infoTextOfBodyName(name)) << name;
    }
    for (const char* name : {"helpButton", "HelpButton ", "StarsButton", "Help", "Sun"})
        EXPECT_FALSE(BodyCatalog::isButtonName(name)) << name;
    EXPECT_EQ(BodyCatalog::bodyIndexOfName("EarthNight"), BodyIndex{4});
    for (const char* name : {"HelpButton", "Stars", "sunButton"})
        EXPECT_FALSE(BodyCatalog::bodyIndexOfName(name)) << name;
    EXPECT_FALSE(BodyCatalog::buttonNodeName("Stars"));
    EXPECT_FALSE(BodyCatalog::bodyNodeName("sun"));
}

}  // namespace
}  // namespace orrery
