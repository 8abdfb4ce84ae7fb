#include "app/ViewController.h"

#include <gtest/gtest.h>

namespace orrery {
namespace {

// Read during static initialisation, before any test or simulation has touched the values.
struct StartValues {
    int selected = selectedBody;
    bool gesture = gestureHandled, label = isTextShown;
} const atStart;

TEST(ProcessState, StartsWithTheEarthSelectedNoGestureAndNoLabelAndResetsToThat) {
    EXPECT_EQ(atStart.selected, 3);
    EXPECT_FALSE(atStart.gesture);
    EXPECT_FALSE(atStart.label);
    selectedBody = 9;
    gestureHandled = isTextShown = true;
    resetProcessState();
    EXPECT_EQ(selectedBody, 3);
    EXPECT_FALSE(gestureHandled);
    EXPECT_FALSE(isTextShown);
}

}  // namespace
}  // namespace orrery
