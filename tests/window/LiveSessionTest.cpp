// A live session recorded and replayed headless gives the same state; SDL events drive it.

#include "render/Snapshot.h"
#include "window/LiveSession.h"
#include "window/SdlInput.h"

#include "tests/support/Programs.h"
#include "tests/window/LiveFixture.h"

#include <gtest/gtest.h>
// GCC 12 warns about the members a designated initializer leaves out, which is its point.
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"
#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>
#endif
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

namespace orrery::window {
namespace {

namespace fs = std::filesystem;

using Kind = MouseInput::Kind;
using Button = MouseInput::Button;

/// Has the renderer draw `simulator`'s pictures, as orrery-sim's main does.
void drawing(sim::Simulator& simulator) {
    simulator.snapshotHook = [](const memory::SceneFrame& frame, const fs::path& file, int width, int height) {
        render::snapshot(frame, file, width, height);
    };
}

using orrery::testing::readFile;

TEST(LiveSession, RecordingReplaysToTheSameDumps) {
    Live live;
    drawing(live.simulator);
    auto& s = live.session;
    // Look down at the button bar with the arrow key, touch the Mars button.
    s.key(0.0, CameraKey::lookDown, true);
    s.key(0.0, CameraKey::turnRight, true);
    live.until(0.555);
    s.key(0.555, CameraKey::turnRight, false);
    live.until(0.705);
    s.key(0.705, CameraKey::lookDown, false);
    live.click(1.0, live.at("MarsButton"));
    live.until(1.5);
    s.dump(1.5);
    // Look ahead again with the mouse, walk a little, place Mars on the floor.
    s.look(1.6, -0.55f / LiveSession::kLookPerPoint, -0.7f / LiveSession::kLookPerPoint);
    s.key(1.7, CameraKey::forward, true);
    live.until(1.9);
    s.key(1.9, CameraKey::forward, false);
    live.click(2.0, {195, 780});
    // Gestures on the Earth: drag, wheel, right drag, double click, then a long press on the copy.
    live.drag(3.0, live.at("Earth"), {40, -20});
    const CGPoint earth = live.at("Earth");
    live.until(3.5);
    for (int i = 0; i < 3; ++i) s.mouse({Kind::wheel, Button::left, 3.5 + 0.05 * i, earth, false, 1});
    live.drag(4.0, earth, {30, 0}, Button::right);
    live.click(4.5, earth);
    live.click(4.7, earth);
    // A snapshot in the working folder: the replay must draw the same picture.
    const fs::path previous = fs::current_path();
    const orrery::testing::TempDir scratch;
    fs::current_path(scratch.path);
    EXPECT_EQ(s.snapshot(5.8), "snapshot snapshot-1.png");
    fs::rename("snapshot-1.png", "live.png");
    live.until(6.0);
    s.finish(6.0);

    const auto& lines = s.history();
    for (const char* expected :
         {"camera ", "touch ", "pan changed ", "pinch changed ", "rotate changed ", "doubletap ", "snapshot ", "dump"})
        EXPECT_TRUE(std::any_of(lines.begin(), lines.end(), [&](const std::string& l) {
            return l.starts_with(expected);
        })) << expected;
    ASSERT_EQ(live.printed.size(), 2u);
    EXPECT_EQ(nlohmann::json::parse(live.printed[0])["selectedBody"], 6);  // Mars, from its button
    auto final = nlohmann::json::parse(live.printed[1]);
    EXPECT_EQ(final["anchors"].size(), 1u);
    EXPECT_EQ(final["selectedBody"], 3);  // the double tap selected the Earth
    EXPECT_EQ(final["gestureHandled"], true);

    const std::string recorded = live.file.str();
    EXPECT_NE(recorded.find("\nframe "), std::string::npos) << "frames are folded into 'frame N'";
    std::string printed;
    for (const auto& line : live.printed) printed += line + "\n";
    const auto replay = orrery::testing::runProgram({ORRERY_SIM_BINARY, "-"}, scratch.path, recorded);  // headless
    EXPECT_EQ(replay.status, 0) << replay.err;
    EXPECT_EQ(replay.out, printed);
    EXPECT_EQ(readFile("snapshot-1.png"), readFile("live.png"));
    EXPECT_GT(fs::file_size("live.png"), 1000u);
    fs::current_path(previous);
}

/// SDL with its offscreen driver: no display needed.
class SdlEvents : public ::testing::Test {
protected:
    void SetUp() override {
        setenv("SDL_VIDEODRIVER", "offscreen", 1);
#if defined(__SANITIZE_ADDRESS__)
        // What SDL keeps for the life of the process is not this program's to free.
        __lsan::ScopedDisabler sdlOwnAllocations;
#endif
        ASSERT_EQ(SDL_Init(SDL_INIT_VIDEO), 0) << SDL_GetError();
        window_ = SDL_CreateWindow("test", 0, 0, 780, 1688, SDL_WINDOW_HIDDEN);
        ASSERT_NE(window_, nullptr) << SDL_GetError();
    }
    void TearDown() override {
        if (window_) SDL_DestroyWindow(window_);
        SDL_Quit();
    }

    /// Pushes the event through SDL's queue and hands what comes out to the input at `time`.
    bool send(SDL_Event event, double time) {
        event.common.timestamp = 0;
        EXPECT_EQ(SDL_PushEvent(&event), 1) << SDL_GetError();
        SDL_Event polled;
        bool running = true;
        while (SDL_PollEvent(&polled))
            if (polled.type == event.type) running = input_->handle(polled, time) && running;
        return running;
    }
    SDL_Event button(bool down, int x, int y, Uint8 which = SDL_BUTTON_LEFT) {
        return {.button = {
                    .type = Uint32(down ? SDL_MOUSEBUTTONDOWN : SDL_MOUSEBUTTONUP), .button = which, .x = x, .y = y}};
    }
    SDL_Event motion(int x, int y, int dx = 0, int dy = 0) {
        return {.motion = {.type = SDL_MOUSEMOTION, .x = x, .y = y, .xrel = dx, .yrel = dy}};
    }
    SDL_Event key(bool down, SDL_Keycode code) {
        return {.key = {.type = Uint32(down ? SDL_KEYDOWN : SDL_KEYUP), .keysym = {.sym = code}}};
    }

    SDL_Window* window_ = nullptr;
    SdlInput* input_ = nullptr;
};

TEST_F(SdlEvents, MouseAndKeysBecomeScenarioLines) {
    Live live;
    // The screen drawn at twice its size, to the right of a 100-pixel margin.
    SdlInput input(live.session, {100, 0, 780, 1688});
    input_ = &input;
    const auto& lines = live.session.history();

    send(button(true, 50, 50), 0.0);  // on the margin: not a touch
    send(button(false, 50, 50), 0.05);
    live.session.advanceTo(1.0);

    send(button(true, 300, 400), 1.0);  // a click at (100, 200) points
    send(button(false, 300, 400), 1.05);
    live.session.advanceTo(2.0);

    send(button(true, 300, 400), 2.0);  // a drag of 20 points to the right
    send(motion(340, 400), 2.1);
    send(button(false, 340, 400), 2.2);

    send(key(true, SDLK_LCTRL), 3.0);  // Ctrl and a drag up: a pinch
    send(button(true, 300, 400), 3.0);
    send(key(false, SDLK_LCTRL), 3.01);
    send(motion(300, 340), 3.1);
    send(button(false, 300, 340), 3.2);

    const SDL_Event wheel{.wheel = {.type = SDL_MOUSEWHEEL, .y = 1, .preciseY = 1}};
    send(motion(300, 400), 4.0);
    send(wheel, 4.0);
    send(wheel, 4.1);
    live.session.advanceTo(5.0);

    ASSERT_EQ(lines.size(), 8u) << ::testing::PrintToString(lines);
    EXPECT_EQ(std::vector(lines.begin(), lines.begin() + 3),
              (std::vector<std::string>{"touch 100,200", "pan began 120,200 20 0", "pan ended 120,200 20 0"}));
    EXPECT_TRUE(lines[3].starts_with("pinch began 100,200 1.22")) << lines[3];
    EXPECT_TRUE(lines[5].starts_with("pinch began 100,200 1.1")) << lines[5];
    EXPECT_TRUE(lines[7].starts_with("pinch ended 100,200 1.21")) << lines[7];

    // Keys walk the camera; a middle drag looks around; both reach the app as `camera` lines.
    send(key(true, SDLK_w), 5.0);
    send(key(false, SDLK_w), 5.2);
    send(button(true, 300, 400, SDL_BUTTON_MIDDLE), 5.2);
    send(motion(300, 500, 0, 100), 5.3);
    send(button(false, 300, 500, SDL_BUTTON_MIDDLE), 5.3);
    live.session.advanceTo(5.4);
    const auto& camera = live.simulator.platform().view->camera;
    EXPECT_NEAR(camera.position.z, -0.2, 0.02);
    EXPECT_NEAR(camera.pitch, -50 * LiveSession::kLookPerPoint, 1e-6);
    EXPECT_TRUE(lines.back().starts_with("camera ")) << lines.back();

    send(key(true, SDLK_p), 6.0);
    EXPECT_EQ(lines.back(), "dump");
    EXPECT_EQ(live.printed.size(), 1u);

    send(button(true, 300, 400), 7.0);
    send(motion(300, 460), 7.1);
    send({.window = {.type = SDL_WINDOWEVENT, .event = SDL_WINDOWEVENT_FOCUS_LOST}}, 7.2);
    EXPECT_EQ(lines.back(), "pan cancelled 100,230 0 30");

    EXPECT_FALSE(send(key(true, SDLK_ESCAPE), 8.0));
}

TEST_F(SdlEvents, ADragMovesTheFingersOnceADrawnFrameToWhereTheMouseWent) {
    Live live;
    SdlInput input(live.session, {100, 0, 780, 1688});  // two window pixels a point
    input_ = &input;
    const auto& lines = live.session.history();
    send(button(true, 300, 400), 1.0);
    // 200 one-pixel steps in 0.2 s, as a fast mouse reports them; the window hands the fingers on
    // once after each frame's events (12 frames).
    int x = 300;
    for (int frame = 0; frame < 12; ++frame) {
        for (int step = 0; step < 200 / 12 + (frame < 200 % 12); ++step)
            send(motion(++x, 400, 1, 0), 1.0 + frame / 60.0);
        input.flushMotion();
        live.session.advanceTo(1.0 + (frame + 1) / 60.0);
    }
    send(button(false, x, 400), 1.25);
    ASSERT_EQ(x, 500);
    const auto changed =
        std::count_if(lines.begin(), lines.end(), [](const std::string& l) { return l.starts_with("pan changed"); });
    EXPECT_LE(changed, 12) << ::testing::PrintToString(lines);
    EXPECT_GE(changed, 10) << ::testing::PrintToString(lines);
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(lines.back(), "pan ended 200,200 100 0");  // the whole 100 points, once
}

}  // namespace
}  // namespace orrery::window
