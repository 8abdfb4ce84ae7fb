#pragma once
// SDL's mouse, keyboard and window events, handed to a live session.
//
// kControls says what every button and key does. Mouse motion is coalesced as UIKit coalesces
// touches: the fingers move at most once a drawn frame, to where the mouse last was.

#include "window/LiveSession.h"

#include <SDL.h>

#include <optional>

namespace orrery::window {

/// What the mouse and the keys do, as the panel shows it.
inline constexpr const char* kControls =
    "Click: touch. Double click: double tap. Hold 0.5 s: long press. Drag: pan. Wheel, or Ctrl and drag up or "
    "down: pinch. Right drag: rotate. Middle drag: look around. W/S, A/D, R/F: walk forward and back, left and "
    "right, up and down. Arrow keys: turn and look up or down. P: dump the state. F12: snapshot (snapshot-N.png "
    "in the working folder). Esc or closing the window: quit.";

/// Where the phone's screen lies in the window, in SDL's window coordinates.
struct ScreenArea {
    int x = 0, y = 0, width = 390, height = 844;
    CGSize points{390, 844};  ///< the simulated screen

    CGPoint toPoints(double windowX, double windowY) const;
    bool contains(int windowX, int windowY) const;
};

/// The largest rectangle of the screen's shape inside `width` x `height` (window coordinates),
/// centred: the phone's screen letterboxed, never stretched.
ScreenArea letterbox(int width, int height, CGSize points);

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
