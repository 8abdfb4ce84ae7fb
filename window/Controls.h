#pragma once
// Where the phone's screen lies in a window or a page, and what the keys do: shared by every
// front end of a live session (the SDL window, the web page).

#include "window/LiveSession.h"

#include <optional>
#include <string_view>

namespace orrery::window {

/// What the mouse and the keys do, as the panel shows it.
inline constexpr const char* kControls =
    "Click: touch. Double click: double tap. Hold 0.5 s: long press. Drag: pan. Wheel, or Ctrl and drag up or "
    "down: pinch. Right drag: rotate. Middle drag: look around. W/S, A/D, R/F: walk forward and back, left and "
    "right, up and down. Arrow keys: turn and look up or down. P: dump the state. F12: snapshot (snapshot-N.png "
    "in the working folder). Esc or closing the window: quit.";

/// Where the phone's screen lies in the window, in the window's coordinates (SDL's, or the page's CSS pixels).
struct ScreenArea {
    int x = 0, y = 0, width = 390, height = 844;
    CGSize points{390, 844};  ///< the simulated screen

    CGPoint toPoints(double windowX, double windowY) const;
    bool contains(int windowX, int windowY) const;
};

/// The largest rectangle of the screen's shape inside `width` x `height` (window coordinates),
/// centred: the phone's screen letterboxed, never stretched.
ScreenArea letterbox(int width, int height, CGSize points);

/// The key that moves the device camera while held, by the key's name: a letter ("W", "S", "A",
/// "D", "R", "F") or an arrow ("Left", "Right", "Up", "Down"), as SDL names keys.
std::optional<CameraKey> cameraKeyNamed(std::string_view name);

}  // namespace orrery::window
