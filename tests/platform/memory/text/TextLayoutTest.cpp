// The shared text layout: the hit-test box and the drawn outlines come from it.

#include "platform/memory/text/TextLayout.h"

#include <gtest/gtest.h>

#include <ft2build.h>
#include FT_FREETYPE_H
#include FT_OUTLINE_H

#include <cmath>

namespace {

using namespace orrery;
using memory::layoutText;
using memory::textBounds;

memory::TextBox boxOf(const std::string& text, double size = 1.0, double depth = 0.2) {
    return textBounds(*layoutText(text, memory::TextFont{"Optima", size}), depth);
}

TEST(TextLayout, FontconfigFindsAFaceForOptima) {
    const auto layout = layoutText("Mars", memory::TextFont{"Optima", 1.0});
    EXPECT_FALSE(layout->fontFile.empty());
    EXPECT_FALSE(layout->contours.empty());
}

TEST(TextLayout, LinesStackDownwardAndTheWidestLineSetsTheWidth) {
    const memory::TextBox one = boxOf("Mars"), wide = boxOf("Fourth planet"), two = boxOf("Mars\nFourth planet");
    EXPECT_GT(wide.max[0], one.max[0]);
    EXPECT_FLOAT_EQ(two.max[0], wide.max[0]);
    EXPECT_FLOAT_EQ(two.max[1], one.max[1]);    // the first line keeps its place
    EXPECT_LT(two.min[1], wide.min[1] - 0.8f);  // the second line is about a line height lower
    // Glyphs of a 1-point font are about a unit tall, starting near x = 0 on the baseline y = 0.
    EXPECT_GT(one.max[1], 0.6f);
    EXPECT_LT(one.max[1], 1.0f);
    EXPECT_NEAR(one.min[1], 0.0f, 0.05f);
    EXPECT_NEAR(one.min[0], 0.0f, 0.15f);
}

TEST(TextLayout, BoxScalesWithTheFontSizeAndCentresTheDepth) {
    const memory::TextBox small = boxOf("Saturn", 1.0, 0.2);
    const memory::TextBox large = boxOf("Saturn", 10.0, 0.2);
    // Flattening is in absolute units, so shapes differ slightly; the box scales nearly exactly.
    EXPECT_NEAR(large.max[0], 10 * small.max[0], 0.05 * large.max[0]);
    EXPECT_FLOAT_EQ(small.min[2], -0.1f);
    EXPECT_FLOAT_EQ(small.max[2], 0.1f);
}

TEST(TextLayout, EachMalformedByteOfUtf8IsOneReplacementCharacter) {
    const std::string replacement = "\xEF\xBF\xBD";  // U+FFFD
    const struct {
        const char* text;
        std::string same;
    } cases[] = {
        {"\x80\x80\x80\x80\x80", replacement + replacement + replacement + replacement + replacement},  // no lead byte
        {"\xF8\x88\x80\x80\x80",
         replacement + replacement + replacement + replacement + replacement},  // a five-byte form
        {"\xC3(", replacement + "("},                                           // a missing continuation
        {"a\xE2\x82", "a" + replacement + replacement},                         // cut off at the end
    };
    const auto fffd = layoutText(replacement, memory::TextFont{"Optima", 1.0});
    ASSERT_FALSE(fffd->contours.empty()) << "the face draws U+FFFD";
    for (const auto& c : cases) {
        SCOPED_TRACE(c.same);
        EXPECT_EQ(layoutText(c.text, memory::TextFont{"Optima", 1.0})->contours,
                  layoutText(c.same, memory::TextFont{"Optima", 1.0})->contours);
    }
}

/// Points on the glyph's own outline, read from the face file: every curve at t = k / 1024,
/// which includes every point that halving a curve again and again can reach.
std::vector<std::array<double, 2>> outlineSamples(const std::string& fontFile, char32_t character, double size) {
    struct Walk {
        double scale;
        std::array<double, 2> last{};
        std::vector<std::array<double, 2>> samples;
        std::array<double, 2> at(const FT_Vector* v) const { return {scale * double(v->x), scale * double(v->y)}; }
        void bezier(const std::vector<std::array<double, 2>>& c) {
            for (int k = 0; k <= 1024; ++k) {
                std::vector<std::array<double, 2>> level = c;
                const double t = k / 1024.0;
                for (std::size_t n = level.size() - 1; n > 0; --n)
                    for (std::size_t i = 0; i < n; ++i)
                        level[i] = {level[i][0] + t * (level[i + 1][0] - level[i][0]),
                                    level[i][1] + t * (level[i + 1][1] - level[i][1])};
                samples.push_back(level[0]);
            }
            last = c.back();
        }
    };
    FT_Library library = nullptr;
    FT_Face face = nullptr;
    Walk walk{};
    if (FT_Init_FreeType(&library) || FT_New_Face(library, fontFile.c_str(), 0, &face)) return {};
    walk.scale = size / face->units_per_EM;
    FT_Outline_Funcs funcs{};
    funcs.move_to = [](const FT_Vector* to, void* w) {
        static_cast<Walk*>(w)->last = static_cast<Walk*>(w)->at(to);
        return 0;
    };
    funcs.line_to = [](const FT_Vector* to, void* w) {
        auto& walk = *static_cast<Walk*>(w);
        walk.bezier({walk.last, walk.at(to)});
        return 0;
    };
    funcs.conic_to = [](const FT_Vector* c, const FT_Vector* to, void* w) {
        auto& walk = *static_cast<Walk*>(w);
        walk.bezier({walk.last, walk.at(c), walk.at(to)});
        return 0;
    };
    funcs.cubic_to = [](const FT_Vector* c1, const FT_Vector* c2, const FT_Vector* to, void* w) {
        auto& walk = *static_cast<Walk*>(w);
        walk.bezier({walk.last, walk.at(c1), walk.at(c2), walk.at(to)});
        return 0;
    };
    if (!FT_Load_Glyph(face, FT_Get_Char_Index(face, character),
                       FT_LOAD_NO_SCALE | FT_LOAD_NO_HINTING | FT_LOAD_NO_BITMAP))
        FT_Outline_Decompose(&face->glyph->outline, &funcs, &walk);
    FT_Done_Face(face);
    FT_Done_FreeType(library);
    return walk.samples;
}

TEST(TextLayout, FlattenedCurvesKeepToTheGlyphWithinTheFlatness) {
    // "²" is two bytes of UTF-8 that must come out as one glyph.
    struct Case {
        const char* text;
        char32_t character;
        double size;
    };
    for (const auto& [text, character, size] :
         {Case{"S", U'S', 1.0}, Case{"S", U'S', 100.0}, Case{"S", U'S', 3000.0}, Case{"\u00b2", U'\u00b2', 100.0}}) {
        SCOPED_TRACE(text);
        const auto layout = layoutText(text, memory::TextFont{"Optima", size});
        const auto samples = outlineSamples(layout->fontFile, character, size);
        ASSERT_GT(samples.size(), 1000u);
        std::vector<std::array<double, 4>> segments;
        for (const auto& contour : layout->contours)
            for (std::size_t i = 0; i < contour.size(); ++i) {
                const auto& a = contour[i];
                const auto& b = contour[(i + 1) % contour.size()];
                segments.push_back({a[0], a[1], b[0], b[1]});
                // Every corner of the polygon lies on the glyph's outline.
                double nearest = 1e30;
                for (const auto& p : samples) nearest = std::min(nearest, std::hypot(p[0] - a[0], p[1] - a[1]));
                EXPECT_LT(nearest, 1e-9 * size) << size;
            }
        // Every point of the outline lies within the flatness of the polygon.
        double worst = 0;
        for (const auto& p : samples) {
            double nearest = 1e30;
            for (const auto& [ax, ay, bx, by] : segments) {
                const double dx = bx - ax, dy = by - ay, length2 = dx * dx + dy * dy;
                const double t =
                    length2 > 0 ? std::clamp(((p[0] - ax) * dx + (p[1] - ay) * dy) / length2, 0.0, 1.0) : 0.0;
                nearest = std::min(nearest, std::hypot(p[0] - ax - t * dx, p[1] - ay - t * dy));
            }
            worst = std::max(worst, nearest);
        }
        EXPECT_LE(worst, memory::kTextFlatness) << size;
        if (size > 1) {
            EXPECT_GT(worst, memory::kTextFlatness / 4) << "no finer than it needs to be";
        }
    }
}

TEST(TextLayout, NothingVisibleGivesAnEmptyBox) {
    for (const char* text : {"", "\n", "   ", " \n "}) EXPECT_EQ(boxOf(text), memory::TextBox{}) << '"' << text << '"';
}

TEST(TextLayout, TextWithoutAFontUsesTheDefaultFontAt36Points) {
    const memory::TextBox box = textBounds(*layoutText("Sun", std::nullopt), 0);
    EXPECT_EQ(box, textBounds(*layoutText("Sun", memory::TextFont{"Helvetica", 36}), 0));
}

}  // namespace
