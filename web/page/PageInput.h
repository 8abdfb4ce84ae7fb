#pragma once
// The page's mouse, wheel, keys and touches (emscripten's html5.h events), handed to a live
// session as the SDL window hands its own: the window's mapping for the mouse, the wheel and the
// keys, and real fingers where the screen is a touch screen. Events over the panel are kept for
// Dear ImGui. Positions are CSS pixels of the page, whose canvas fills it from the top left.

#include "window/Controls.h"
#include "window/LiveSession.h"

#include <emscripten/html5.h>

#include <optional>

namespace orrery::web {

/// What the mouse, the keys and the fingers do on the page, as its panel shows it.
inline constexpr const char* kPageControls =
    "Touch screen: tap, double tap, hold 0.5 s, drag with one finger, pinch and turn with two. Mouse: click to "
    "touch, double click, hold 0.5 s for a long press, drag to pan; wheel, or Ctrl and drag up or down: pinch; "
    "right drag: rotate; middle drag: look around. W/S, A/D, R/F: walk forward and back, left and right, up and "
    "down. Arrow keys: turn and look up or down. P: dump the state to the browser's console.";

/// Where the screen and the panel lie on a page `width` x `height` CSS pixels.
struct PageLayout {
    window::ScreenArea screen;
    int panelX = 0;      ///< the panel's left edge; the page's width when it is folded
    int panelWidth = 0;  ///< 0 when folded
};

/// The panel at the right, at most 400 pixels and half the page, when shown; the phone's screen
/// letterboxed in the rest.
PageLayout layoutPage(int width, int height, bool panelShown, CGSize points);

/// Dear ImGui's share of the pointer: where it is over the panel and which buttons are down.
struct PanelPointer {
    float x = -1, y = -1;
    bool down[3] = {};
    float wheel = 0;  ///< notches since the panel last took them
};

class PageInput {
public:
    explicit PageInput(window::LiveSession& session) : session_(session) {}

    void setLayout(const PageLayout& layout) { layout_ = layout; }

    /// Each returns whether the page took the event (its default action is then prevented).
    bool mouse(int eventType, const EmscriptenMouseEvent& event, double time);
    bool wheel(const EmscriptenWheelEvent& event, double time);
    bool key(int eventType, const EmscriptenKeyboardEvent& event, double time);
    bool touch(int eventType, const EmscriptenTouchEvent& event, double time);
    /// The page lost the focus: held buttons and fingers are let go, gestures cancelled.
    void blur(double time);

    /// Moves the fingers to where the mouse last was, if it moved since; once a drawn frame.
    void flushMotion();

    PanelPointer& panelPointer() { return panel_; }

private:
    bool overPanel(double x) const { return layout_.panelWidth > 0 && x >= layout_.panelX; }

    window::LiveSession& session_;
    PageLayout layout_;
    PanelPointer panel_;
    bool ctrl_ = false;
    bool looking_ = false;
    int buttonsDown_ = 0;  ///< left and right buttons pressed on the screen
    CGPoint mouse_{};      ///< the last mouse position, in screen points
    std::optional<double> pendingMoveTime_;
    std::optional<long> panelFinger_;  ///< the finger that works the panel as its pointer
};

}  // namespace orrery::web
