// orrery-sim --window under SDL's offscreen driver: it opens, records, ends on SIGTERM, and
// its recording replays headless to the same output.

#include "tests/support/Programs.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

using orrery::testing::readFile;

/// Runs orrery-sim in `dir`; with `stopAfter`, sends SIGTERM that many seconds after its first
/// output line (the scenario has run; the window opens next and takes SIGTERM as its close button).
orrery::testing::ProgramRun runSim(const fs::path& dir, std::vector<std::string> args, double stopAfter = 0) {
    args.insert(args.begin(), ORRERY_SIM_BINARY);
    return orrery::testing::runProgram(args, dir, "", {}, stopAfter);
}

TEST(WindowCommand, RecordsWhatReplaysHeadless) {
    if (std::string(ORRERY_SIM_BINARY).empty()) GTEST_SKIP() << "orrery-sim is not built";
    setenv("SDL_VIDEODRIVER", "offscreen", 1);
    // The GL driver's own allocations at exit are not this program's to free.
    std::string asan = std::getenv("ASAN_OPTIONS") ? std::getenv("ASAN_OPTIONS") : "";
    setenv("ASAN_OPTIONS", (asan + (asan.empty() ? "" : ":") + "detect_leaks=0").c_str(), 1);

    const orrery::testing::TempDir scratch;
    const fs::path& dir = scratch.path;
    std::ofstream(dir / "start.scenario") << "camera 0 0 0 -0.558599 -0.702257\ntouch @MarsButton\ndump\n";
    const fs::path record = dir / "session.scenario";
    auto live = runSim(dir, {"--window", "--record", record.string(), (dir / "start.scenario").string()}, 2.0);
    ASSERT_EQ(live.status, 0) << live.out;
    const std::string recorded = readFile(record);
    EXPECT_EQ(recorded.rfind("camera 0 0 0 -0.558599 -0.702257\ntouch @MarsButton\ndump\nframe ", 0), 0u) << recorded;
    EXPECT_EQ(recorded.substr(recorded.size() - 5), "dump\n");
    EXPECT_NE(live.out.find("\"selectedBody\":6"), std::string::npos);
    EXPECT_EQ(std::count(live.out.begin(), live.out.end(), '\n'), 2);

    auto replay = runSim(dir, {record.string()});
    EXPECT_EQ(replay.status, 0);
    EXPECT_EQ(replay.out, live.out);

    EXPECT_EQ(runSim(dir, {"--record", record.string()}).status, 2);  // --record needs --window
}

}  // namespace
