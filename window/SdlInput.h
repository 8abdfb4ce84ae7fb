#pragma once
// SDL's mouse, keyboard and window events, handed to a live session.
//
// Left button: a finger (Ctrl held at the press: two fingers that pinch as the mouse moves up
// or down). Right button: two fingers that turn. Wheel: a pinch. Middle button drag:
// mouse-look. W/S, A/D, R/F: walk forward/back, left/right, up/down; arrow keys: turn and
// look; P: dump the state; F12: a snapshot; Escape or closing the window: quit.

#include "window/LiveSession.h"

#include <SDL.h>

namespace orrery::window {

/// Where the phone's screen lies in the window, in SDL's window coordinates.
struct ScreenArea {
    int x = 0, y = 0, width = 390, height = 844;
    CGSize points{390, 844};  ///< the simulated screen

    CGPoint toPoints(double windowX, double windowY) const;
    bool contains(int windowX, int windowY) const;
};

class SdlInput {
public:
    SdlInput(LiveSession& session, ScreenArea area) : session_(session), area_(area) {}

    /// Hands one event to the session at `time` (live seconds). Mouse events over the panel are
    /// left to it: a press counts only on the screen, but a drag that started there may leave it.
    /// Returns false when the event asks to quit.
    bool handle(const SDL_Event& event, double time);

    void setArea(ScreenArea area) { area_ = area; }

private:
    LiveSession& session_;
    ScreenArea area_;
    bool ctrl_ = false;
    bool looking_ = false;
    int buttonsDown_ = 0;  ///< left and right buttons pressed on the screen
    CGPoint mouse_{};      ///< the last mouse position, in screen points
    bool mouseOnScreen_ = false;
};

}  // namespace orrery::window
