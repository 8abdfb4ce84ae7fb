// Pictures of known scenes compared with committed golden images, and the snapshot command's
// and option's handling of sizes and files. The scenes are the scenario files in
// tests/render/scenes, run by the orrery-sim binary; tools/regenerate-pictures.sh remakes the
// golden images (it runs this test with ORRERY_UPDATE_GOLDENS=1).

#include "render/RoomView.h"
#include "render/Snapshot.h"

#include "tests/support/Programs.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <string>

namespace {

namespace fs = std::filesystem;
using orrery::render::Image;
using orrery::render::readPng;

const fs::path kSceneDir = fs::path(ORRERY_SOURCE_DIR) / "tests/render/scenes";
const fs::path kGoldenDir = fs::path(ORRERY_SOURCE_DIR) / "tests/render/golden";

using orrery::testing::readFile;
using orrery::testing::TempDir;

/// Runs orrery-sim in `dir` with the space-separated `arguments` and the scenario on standard
/// input, drawing in software everywhere so that pictures do not depend on a GPU.
orrery::testing::ProgramRun runSimIn(const fs::path& dir, const std::string& arguments, const std::string& scenario) {
    std::vector<std::string> argv{ORRERY_SIM_BINARY};
    std::istringstream words(arguments);
    for (std::string word; words >> word;) argv.push_back(word);
    return orrery::testing::runProgram(argv, dir, scenario, {"LIBGL_ALWAYS_SOFTWARE=1"});
}

/// How far pictures may lie from their golden images: a pixel differs when a channel is off by
/// more than `channelOff`; the mean absolute channel difference (0 to 255) and the share of
/// differing pixels may reach the two bounds. One file, which the page's test reads too.
struct Tolerance {
    int channelOff;
    double meanAbsolute, differentShare;
};
const Tolerance kTolerance = [] {
    const auto json = nlohmann::json::parse(readFile(kGoldenDir / "tolerance.json"));
    return Tolerance{json.at("channelOff").get<int>(), json.at("meanAbsolute").get<double>(),
                     json.at("differentShare").get<double>()};
}();

/// How far two pictures of the same size are apart: the mean absolute channel difference, and
/// the share of pixels with a channel off by more than the tolerance's.
struct Difference {
    double meanAbsolute, differentShare;
};

Difference compare(const Image& a, const Image& b) {
    const std::size_t pixels = a.rgba.size() / 4;
    double total = 0, different = 0;
    for (std::size_t p = 0; p < pixels * 4; p += 4) {
        int worst = 0;
        for (std::size_t c = p; c < p + 3; ++c) {
            const int delta = std::abs(a.rgba[c] - b.rgba[c]);
            total += delta;
            worst = std::max(worst, delta);
        }
        different += worst > kTolerance.channelOff;
    }
    return {total / (3.0 * static_cast<double>(pixels)), different / static_cast<double>(pixels)};
}

class GoldenImage : public ::testing::TestWithParam<const char*> {};

TEST_P(GoldenImage, MatchesCommittedPicture) {
    const std::string name = GetParam();
    TempDir work;
    const std::string scenario = readFile(kSceneDir / (name + ".scenario"));
    ASSERT_FALSE(scenario.empty()) << "missing scene " << name;
    const auto run = runSimIn(work.path, "-", scenario);
    ASSERT_EQ(run.status, 0) << run.err;
    const Image actual = readPng(work.path / (name + ".png"));

    const fs::path golden = kGoldenDir / (name + ".png");
    if (std::getenv("ORRERY_UPDATE_GOLDENS")) {
        fs::copy_file(work.path / (name + ".png"), golden, fs::copy_options::overwrite_existing);
        GTEST_SKIP() << "golden image rewritten: " << golden;
    }
    const Image expected = readPng(golden);
    ASSERT_EQ(std::pair(actual.width, actual.height), std::pair(expected.width, expected.height));
    const Difference d = compare(actual, expected);
    if (d.meanAbsolute > kTolerance.meanAbsolute || d.differentShare > kTolerance.differentShare) {
        const fs::path kept = fs::current_path() / ("golden-actual-" + name + ".png");
        fs::copy_file(work.path / (name + ".png"), kept, fs::copy_options::overwrite_existing);
        ADD_FAILURE() << name << ": mean difference " << d.meanAbsolute << ", " << d.differentShare * 100
                      << "% of pixels differ; the picture made is kept as " << kept;
    }
}

INSTANTIATE_TEST_SUITE_P(Scenes, GoldenImage,
                         ::testing::Values("start", "buttons", "overview", "single-body", "placement"),
                         [](const auto& info) {
                             std::string name = info.param;
                             std::replace(name.begin(), name.end(), '-', '_');  // test names take no '-'
                             return name;
                         });

TEST(CameraImage, TheFloorShowsThroughTheStarFieldAtStart) {
    // The star field surrounds the viewer; the camera image (here the simulated room) must show
    // through its dark sky. Looking down at the floor from the start position, most pixels are
    // the floor's boards, the Milky Way laid faintly over them.
    TempDir work;
    const auto run = runSimIn(work.path, "-", "camera 0 0 0 3.1 -0.9\nsnapshot floor.png 130x281\n");
    ASSERT_EQ(run.status, 0) << run.err;
    const Image picture = readPng(work.path / "floor.png");
    std::size_t pixels = 0, board = 0;
    for (std::size_t p = 0; p < picture.rgba.size(); p += 4, ++pixels) {
        int nearest = 255;
        for (const auto& colour : orrery::render::kFloorBoardsSrgb) {
            int worst = 0;
            for (int c = 0; c < 3; ++c)
                worst = std::max(worst, std::abs(picture.rgba[p + c] - static_cast<int>(colour[c] * 255 + 0.5f)));
            nearest = std::min(nearest, worst);
        }
        board += nearest <= 24;
    }
    EXPECT_GT(static_cast<double>(board) / static_cast<double>(pixels), 0.6)
        << board << " of " << pixels << " pixels are floor boards";
}

TEST(SnapshotCommand, WritesPicturesOfTheAskedSizeOrFails) {
    struct Case {
        const char* what;
        const char* arguments;
        const char* scenario;
        int status;
        const char* file;  ///< the picture expected, or null
        int width, height;
    };
    for (const Case& c :
         {Case{"default size: a pixel per point", "-", "snapshot a.png\n", 0, "a.png", 390, 844},
          Case{"explicit size", "-", "snapshot b.png 40x30\n", 0, "b.png", 40, 30},
          Case{"zero side", "-", "snapshot c.png 0x30\n", 2, nullptr, 0, 0},
          Case{"side too large", "-", "snapshot c.png 9000x30\n", 2, nullptr, 0, 0},
          Case{"size without x", "-", "snapshot c.png 40\n", 2, nullptr, 0, 0},
          Case{"no file", "-", "snapshot\n", 2, nullptr, 0, 0},
          Case{"unwritable file", "-", "snapshot no/such/folder/d.png\n", 2, nullptr, 0, 0},
          Case{"option after the scenario", "--snapshot e.png --size 20x10 -", "frame\n", 0, "e.png", 20, 10},
          Case{"option with equals forms", "--snapshot=f.png --size=8x6 -", "", 0, "f.png", 8, 6},
          Case{"size without snapshot", "--size 8x6 -", "", 2, nullptr, 0, 0},
          Case{"bad size option", "--snapshot g.png --size 8by6 -", "", 2, nullptr, 0, 0}}) {
        SCOPED_TRACE(c.what);
        TempDir work;
        const auto run = runSimIn(work.path, c.arguments, c.scenario);
        EXPECT_EQ(run.status, c.status) << run.err;
        EXPECT_EQ(c.status == 0, run.err.find("orrery-sim: ") == std::string::npos) << run.err;
        if (!c.file) continue;
        const Image image = readPng(work.path / c.file);
        EXPECT_EQ(std::pair(image.width, image.height), std::pair(c.width, c.height));
    }
}

}  // namespace
