#include "web/page/PageInput.h"

#include <algorithm>
#include <iostream>
#include <string_view>
#include <vector>

namespace orrery::web {

namespace {

constexpr int kPanelWidth = 400;

/// The key's name as SDL gives it (window/Controls.h) from the DOM's `code`: "KeyW" is "W",
/// "ArrowLeft" is "Left".
std::string_view keyName(std::string_view code) {
    if (code.size() == 4 && code.substr(0, 3) == "Key") return code.substr(3);
    if (code.substr(0, 5) == "Arrow") return code.substr(5);
    return code;
}

}  // namespace

PageLayout layoutPage(int width, int height, bool panelShown, CGSize points) {
    PageLayout layout;
    layout.panelWidth = panelShown ? std::min(kPanelWidth, std::max(width, 2) / 2) : 0;
    layout.panelX = width - layout.panelWidth;
    layout.screen = window::letterbox(std::max(1, layout.panelX), std::max(1, height), points);
    return layout;
}

void PageInput::flushMotion() {
    if (!pendingMoveTime_) return;
    const double time = *pendingMoveTime_;
    pendingMoveTime_.reset();
    if (buttonsDown_ > 0)
        session_.mouse({window::MouseInput::Kind::move, window::MouseInput::Button::left, time, mouse_});
}

bool PageInput::mouse(int eventType, const EmscriptenMouseEvent& event, double time) {
    using Kind = window::MouseInput::Kind;
    using Button = window::MouseInput::Button;
    const double x = static_cast<double>(event.clientX), y = static_cast<double>(event.clientY);
    if (eventType != EMSCRIPTEN_EVENT_MOUSEMOVE) flushMotion();
    const bool onScreen = layout_.screen.contains(static_cast<int>(x), static_cast<int>(y)) && !overPanel(x);
    // The panel's pointer follows the mouse wherever it goes, so that ImGui sees it leave.
    panel_.x = static_cast<float>(x);
    panel_.y = static_cast<float>(y);
    mouse_ = layout_.screen.toPoints(x, y);
    switch (eventType) {
    case EMSCRIPTEN_EVENT_MOUSEDOWN:
    case EMSCRIPTEN_EVENT_MOUSEUP: {
        const bool down = eventType == EMSCRIPTEN_EVENT_MOUSEDOWN;
        // DOM buttons: 0 left, 1 middle, 2 right; ImGui's: 0 left, 1 right, 2 middle.
        const int imguiButton = event.button == 0 ? 0 : event.button == 2 ? 1 : 2;
        if (event.button > 2) return false;
        if (!down || overPanel(x)) panel_.down[imguiButton] = down && overPanel(x);
        if (overPanel(x) && down) return true;
        if (event.button == 1) {
            looking_ = down && onScreen;
            return true;
        }
        const Button button = event.button == 0 ? Button::left : Button::right;
        if (down) {
            if (!onScreen) return false;
            ++buttonsDown_;
            session_.mouse({Kind::press, button, time, mouse_, ctrl_ || event.ctrlKey});
        } else if (buttonsDown_ > 0) {
            --buttonsDown_;
            session_.mouse({Kind::release, button, time, mouse_});
        }
        return true;
    }
    case EMSCRIPTEN_EVENT_MOUSEMOVE:
        if (looking_) {
            const CGPoint scale = layout_.screen.toPoints(layout_.screen.x + 1, layout_.screen.y + 1);
            session_.look(time, static_cast<double>(event.movementX) * scale.x,
                          static_cast<double>(event.movementY) * scale.y);
        } else if (buttonsDown_ > 0) {
            pendingMoveTime_ = time;  // handed on by flushMotion, once a frame
        }
        return buttonsDown_ > 0 || looking_;
    default: return false;
    }
}

bool PageInput::wheel(const EmscriptenWheelEvent& event, double time) {
    const double x = static_cast<double>(event.mouse.clientX), y = static_cast<double>(event.mouse.clientY);
    // One notch of a mouse wheel is 100 pixels in browsers, or 3 lines.
    const double perNotch = event.deltaMode == DOM_DELTA_PIXEL ? 100.0 : event.deltaMode == DOM_DELTA_LINE ? 3.0 : 1.0;
    const double notches = -event.deltaY / perNotch;
    if (overPanel(x)) {
        panel_.wheel += static_cast<float>(notches);
        return true;
    }
    if (!layout_.screen.contains(static_cast<int>(x), static_cast<int>(y))) return false;
    flushMotion();
    session_.mouse({window::MouseInput::Kind::wheel, window::MouseInput::Button::left, time,
                    layout_.screen.toPoints(x, y), false, notches});
    return true;
}

bool PageInput::key(int eventType, const EmscriptenKeyboardEvent& event, double time) {
    const bool down = eventType == EMSCRIPTEN_EVENT_KEYDOWN;
    const std::string_view code = event.code;
    if (code == "ControlLeft" || code == "ControlRight") ctrl_ = down;
    if (event.ctrlKey || event.altKey || event.metaKey) return false;  // the browser's own shortcuts
    if (code == "KeyP") {
        if (down && !event.repeat) session_.dump(time);
        return true;
    }
    const auto cameraKey = window::cameraKeyNamed(keyName(code));
    if (!cameraKey) return false;
    if (!event.repeat) session_.key(time, *cameraKey, down);
    return true;
}

bool PageInput::touch(int eventType, const EmscriptenTouchEvent& event, double time) {
    flushMotion();
    std::vector<window::TouchPoint> moved;
    for (int i = 0; i < event.numTouches; ++i) {
        const EmscriptenTouchPoint& t = event.touches[i];
        if (!t.isChanged) continue;
        const double x = static_cast<double>(t.clientX), y = static_cast<double>(t.clientY);
        const window::TouchPoint finger{t.identifier, layout_.screen.toPoints(x, y)};
        // The first finger on the panel is its pointer; the panel takes no other.
        if (panelFinger_ == t.identifier || (eventType == EMSCRIPTEN_EVENT_TOUCHSTART && overPanel(x))) {
            if (eventType == EMSCRIPTEN_EVENT_TOUCHSTART && panelFinger_) continue;
            const bool lifts = eventType == EMSCRIPTEN_EVENT_TOUCHEND || eventType == EMSCRIPTEN_EVENT_TOUCHCANCEL;
            panelFinger_ = lifts ? std::nullopt : std::optional<long>(t.identifier);
            panel_.x = static_cast<float>(x);
            panel_.y = static_cast<float>(y);
            panel_.down[0] = !lifts;
            continue;
        }
        switch (eventType) {
        case EMSCRIPTEN_EVENT_TOUCHSTART:
            // A finger beside the screen is no touch of the app; its moves and lift are ignored.
            if (layout_.screen.contains(static_cast<int>(x), static_cast<int>(y))) session_.touchDown(time, finger);
            break;
        case EMSCRIPTEN_EVENT_TOUCHMOVE: moved.push_back(finger); break;
        case EMSCRIPTEN_EVENT_TOUCHEND: session_.touchUp(time, t.identifier); break;
        case EMSCRIPTEN_EVENT_TOUCHCANCEL: session_.cancelTouches(time); break;
        default: break;
        }
    }
    if (!moved.empty()) session_.touchesMoved(time, moved);
    return true;  // no mouse events made up from the touches, no scrolling or zooming of the page
}

void PageInput::blur(double time) {
    buttonsDown_ = 0;
    looking_ = false;
    ctrl_ = false;
    pendingMoveTime_.reset();
    panelFinger_.reset();
    panel_ = {};
    session_.cancelTouches(time);
}

}  // namespace orrery::web
