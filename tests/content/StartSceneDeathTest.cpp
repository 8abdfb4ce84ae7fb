// A model the start scene cannot load stops the program before any button is loaded.

#include "tests/app/ControllerFixture.h"

#include <gmock/gmock.h>

#include <csignal>
#include <cstdio>

namespace orrery::scenario {
namespace {

using ::testing::HasSubstr;

using ControllerDeathTest = ControllerTest;

TEST_F(ControllerDeathTest, MissingModelStopsLoadingBeforeAnyButton) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    // Every successful load writes its name to stderr, which the parent reads after the stop.
    for (auto& [path, make] : platform.preparedScenes) {
        const std::string name = path.substr(path.rfind('/') + 1);
        make = [name, inner = make] {
            std::fprintf(stderr, "loaded %s\n", name.c_str());
            return inner();
        };
    }
    platform.preparedScenes.erase("art.scnassets/Ceres/Ceres.dae");
    EXPECT_EXIT(
        controller.viewDidLoad(), ::testing::KilledBySignal(SIGABRT),
        ::testing::AllOf(HasSubstr("loaded Stars.dae\nloaded Sun.dae\nloaded Mercury.dae\nloaded Venus.dae\n"
                                   "loaded Earth.dae\nloaded EarthNight.dae\nloaded Moon.dae\nloaded Mars.dae\n"),
                         ::testing::Not(HasSubstr("Ceres")), ::testing::Not(HasSubstr("Button"))));
}

}  // namespace
}  // namespace orrery::scenario
