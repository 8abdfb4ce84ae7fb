#pragma once
// SDL's mouse, keyboard and window events, handed to a live session.
//
// kControls (window/Controls.h) says what every button and key does. Mouse motion is coalesced
// as UIKit coalesces touches: the fingers move at most once a drawn frame, to where the mouse
// last was.

#include "window/Controls.h"
#include "window/LiveSession.h"

#include <SDL.h>

#include <optional>

namespace orrery::window {

class SdlInput {
public:
    SdlInput(LiveSession& session, ScreenArea area) : session_(session), area_(area) {}

    /// Hands one event to the session at `time` (live seconds). Mouse events over the panel are
    /// left to it: a press counts only on the screen, but a drag that started there may leave it.
    /// Returns false when the event asks to quit.
    bool handle(const SDL_Event& event, double time);

    void setArea(ScreenArea area) { area_ = area; }

    /// Moves the fingers to where the mouse last was, if it moved since; once a drawn frame.
    void flushMotion();

private:
    LiveSession& session_;
    ScreenArea area_;
    bool ctrl_ = false;
    bool looking_ = false;
    int buttonsDown_ = 0;  ///< left and right buttons pressed on the screen
    CGPoint mouse_{};      ///< the last mouse position, in screen points
    bool mouseOnScreen_ = false;
    std::optional<double> pendingMoveTime_;  ///< a drag's motion not yet handed on
};

}  // namespace orrery::window
