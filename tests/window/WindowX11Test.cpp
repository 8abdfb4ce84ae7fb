// orrery-sim --window in a real X11 window (Xvfb, driven by xdotool), and without any display.
// The window's picture and its clicks must agree at any size, F12 must write a picture while
// the window's own OpenGL context is current, and a run with no display must say so and stop.

#include "tests/support/Programs.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

namespace {

namespace fs = std::filesystem;
using orrery::testing::readFile;
using orrery::testing::runProgram;
using orrery::testing::TempDir;

/// Runs `script` with bash in `dir`, with an X server of its own on DISPLAY.
orrery::testing::ProgramRun underXvfb(const fs::path& dir, const std::string& script) {
    const std::string display = ":" + std::to_string(90 + getpid() % 900);
    const std::string wrapped =
        "Xvfb " + display +
        " -screen 0 1280x1024x24 -nolisten tcp >/dev/null 2>&1 &\n"
        "server=$!\ntrap 'kill $server' EXIT\n"
        "for i in $(seq 50); do xdotool getmouselocation >/dev/null 2>&1 && break; sleep 0.1; done\n" +
        script;
    // What X11's client libraries and the GL driver keep at exit is not the program's to free.
    // Said in the script: bash takes the last of two equal names in its environment.
    const std::string asan = std::getenv("ASAN_OPTIONS") ? std::getenv("ASAN_OPTIONS") : "";
    const std::string leaks = "export ASAN_OPTIONS='" + asan + (asan.empty() ? "" : ":") + "detect_leaks=0'\n";
    return runProgram({"/bin/bash", "-c", leaks + wrapped}, dir, "", {"DISPLAY=" + display, "LIBGL_ALWAYS_SOFTWARE=1"});
}

bool haveX11Tools() { return !std::system("command -v Xvfb >/dev/null && command -v xdotool >/dev/null"); }

/// Starts the window in the background and waits until it is mapped: $sim is its process, $win its window.
const std::string kStartWindow = std::string(ORRERY_SIM_BINARY) +
                                 " --window --record session.scenario >out.txt 2>err.txt &\nsim=$!\n"
                                 "win=$(xdotool search --sync --onlyvisible --name 'Orrery AR simulator' | head -n1)\n"
                                 "xdotool windowfocus --sync $win\nsleep 0.5\n";

TEST(WindowX11, F12WritesAPictureWhileTheWindowDraws) {
    if (std::string(ORRERY_SIM_BINARY).empty() || !haveX11Tools()) GTEST_SKIP() << "needs orrery-sim, Xvfb and xdotool";
    const TempDir scratch;
    const auto run =
        underXvfb(scratch.path, kStartWindow + "xdotool key F12\nsleep 1\nxdotool key Escape\nwait $sim\n");
    ASSERT_EQ(run.status, 0) << run.out << run.err << readFile(scratch.path / "err.txt");
    EXPECT_EQ(readFile(scratch.path / "err.txt"), "");
    EXPECT_TRUE(fs::exists(scratch.path / "snapshot-1.png")) << readFile(scratch.path / "session.scenario");
    EXPECT_NE(readFile(scratch.path / "session.scenario").find("snapshot snapshot-1.png"), std::string::npos);
}

TEST(WindowX11, AClickInAResizedWindowLandsOnTheBodyDrawnThere) {
    if (std::string(ORRERY_SIM_BINARY).empty() || !haveX11Tools()) GTEST_SKIP() << "needs orrery-sim, Xvfb and xdotool";
    const TempDir scratch;
    // 1000 x 600: the panel takes 400, the screen is letterboxed into 600 x 600 (277 x 600 at
    // x = 161). The Earth, drawn at the middle of the screen (195, 422 points), is at (299, 300);
    // held there, it is long-pressed. The window is given time to take the new size: a slow one
    // (sanitizers, a loaded machine) otherwise gets the press before it has drawn at that size.
    const auto run =
        underXvfb(scratch.path, kStartWindow + "xdotool windowsize --sync $win 1000 600\nsleep 1.5\n"
                                               "xdotool mousemove --window $win 299 300 mousedown 1\nsleep 0.9\n"
                                               "xdotool mouseup 1\nsleep 0.3\nxdotool key Escape\nwait $sim\n");
    ASSERT_EQ(run.status, 0) << run.out << run.err << readFile(scratch.path / "err.txt");
    const std::string session = readFile(scratch.path / "session.scenario");
    const auto began = session.find("longpress began ");
    ASSERT_NE(began, std::string::npos) << session;
    double x = 0, y = 0;
    ASSERT_EQ(std::sscanf(session.c_str() + began, "longpress began %lf,%lf", &x, &y), 2);
    EXPECT_NEAR(x, 195, 3);
    EXPECT_NEAR(y, 422, 3);
    // The press reached a body: the gesture flag is up in the last dump.
    EXPECT_NE(readFile(scratch.path / "out.txt").rfind("\"gestureHandled\":true"), std::string::npos);
}

TEST(WindowCommand, WithoutADisplaySaysSoAndEndsWithStatusTwo) {
    if (std::string(ORRERY_SIM_BINARY).empty()) GTEST_SKIP() << "orrery-sim is not built";
    const TempDir scratch;
    const auto run = runProgram({"/usr/bin/env", "-u", "DISPLAY", "-u", "WAYLAND_DISPLAY", "-u", "SDL_VIDEODRIVER",
                                 ORRERY_SIM_BINARY, "--window"},
                                scratch.path);
    EXPECT_EQ(run.status, 2);
    EXPECT_NE(run.err.find("orrery-sim: no window: no display"), std::string::npos) << run.err;
    EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
}

}  // namespace
