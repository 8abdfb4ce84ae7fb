// The shared text layout: the hit-test box and the drawn outlines come from it.

#include "platform/memory/MemoryScene.h"
#include "platform/memory/TextLayout.h"

#include <gtest/gtest.h>

namespace {

using namespace orrery;
using memory::layoutText;
using memory::textBounds;

SCNBoundingBox boxOf(const std::string& text, double size = 1.0, double depth = 0.2) {
    return textBounds(*layoutText(text, UIFont{"Optima", size}), depth);
}

std::size_t pointCount(const memory::TextLayout& layout) {
    std::size_t n = 0;
    for (const auto& contour : layout.contours) n += contour.size();
    return n;
}

TEST(TextLayout, FontconfigFindsAFaceForOptima) {
    const auto layout = layoutText("Mars", UIFont{"Optima", 1.0});
    EXPECT_FALSE(layout->fontFile.empty());
    EXPECT_FALSE(layout->contours.empty());
}

TEST(TextLayout, LinesStackDownwardAndTheWidestLineSetsTheWidth) {
    const SCNBoundingBox one = boxOf("Mars"), wide = boxOf("Fourth planet"), two = boxOf("Mars\nFourth planet");
    EXPECT_GT(wide.max.x, one.max.x);
    EXPECT_FLOAT_EQ(two.max.x, wide.max.x);
    EXPECT_FLOAT_EQ(two.max.y, one.max.y);  // the first line keeps its place
    EXPECT_LT(two.min.y, wide.min.y - 0.8f);  // the second line is about a line height lower
    // Glyphs of a 1-point font are about a unit tall, starting near x = 0 on the baseline y = 0.
    EXPECT_GT(one.max.y, 0.6f);
    EXPECT_LT(one.max.y, 1.0f);
    EXPECT_NEAR(one.min.y, 0.0f, 0.05f);
    EXPECT_NEAR(one.min.x, 0.0f, 0.15f);
}

TEST(TextLayout, BoxScalesWithTheFontSizeAndCentresTheDepth) {
    const SCNBoundingBox small = boxOf("Saturn", 1.0, 0.2);
    const SCNBoundingBox large = boxOf("Saturn", 10.0, 0.2);
    // Flattening is in absolute units, so shapes differ slightly; the box scales nearly exactly.
    EXPECT_NEAR(large.max.x, 10 * small.max.x, 0.05 * large.max.x);
    EXPECT_FLOAT_EQ(small.min.z, -0.1f);
    EXPECT_FLOAT_EQ(small.max.z, 0.1f);
}

TEST(TextLayout, CurvesAreFlattenedToAnAbsoluteTolerance) {
    // The same letters at a hundred times the size need many more segments.
    EXPECT_GT(pointCount(*layoutText("oso", UIFont{"Optima", 100.0})), 2 * pointCount(*layoutText("oso", UIFont{"Optima", 1.0})));
}

TEST(TextLayout, NothingVisibleGivesAnEmptyBox) {
    for (const char* text : {"", "\n", "   ", " \n "}) EXPECT_EQ(boxOf(text), SCNBoundingBox{}) << '"' << text << '"';
}

TEST(TextLayout, TextWithoutAFontUsesTheDefaultFont) {
    const SCNBoundingBox box = textBounds(*layoutText("Sun", std::nullopt), 0);
    EXPECT_EQ(box, textBounds(*layoutText("Sun", UIFont{"Helvetica", memory::kDefaultTextSize}), 0));
}

TEST(TextLayout, TextGeometryReportsTheLayoutBox) {
    memory::MemoryTextGeometry geometry(nullptr, "Moon\nOur satellite", 0.2);
    geometry.font = UIFont{"Optima", 1.0};
    EXPECT_EQ(geometry.boundingBox(), boxOf("Moon\nOur satellite"));
}

} // namespace
