// Where the phone's screen lies in a window of any size.

#include "window/Controls.h"

#include <gtest/gtest.h>

#include <array>

namespace {

TEST(Letterbox, TheScreenKeepsItsShapeCentredInAnyWindow) {
    const orrery::CGSize phone{390, 844};
    struct Case {
        int width, height;
        orrery::window::ScreenArea expected;
    };
    const Case cases[] = {
        {390, 844, {0, 0, 390, 844}},    // its own size
        {600, 600, {161, 0, 277, 600}},  // wide: bars left and right
        {390, 400, {102, 0, 185, 400}},  // wide too
        {200, 844, {0, 205, 200, 433}},  // narrow: bars above and below
        {1, 1, {0, 0, 1, 1}},            // never nothing
    };
    for (const Case& c : cases) {
        const auto area = orrery::window::letterbox(c.width, c.height, phone);
        EXPECT_EQ((std::array{area.x, area.y, area.width, area.height}),
                  (std::array{c.expected.x, c.expected.y, c.expected.width, c.expected.height}))
            << c.width << "x" << c.height;
        // The middle of the window is the middle of the phone's screen.
        const orrery::CGPoint middle = area.toPoints(area.x + area.width / 2.0, area.y + area.height / 2.0);
        EXPECT_NEAR(middle.x, 195, 1e-9);
        EXPECT_NEAR(middle.y, 422, 1e-9);
    }
}

}  // namespace
