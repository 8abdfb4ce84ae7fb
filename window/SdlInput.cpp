#include "window/SdlInput.h"

#include <algorithm>
#include <cmath>
#include <iostream>
#include <optional>

namespace orrery::window {


void SdlInput::flushMotion() {
    if (!pendingMoveTime_) return;
    const double time = *pendingMoveTime_;
    pendingMoveTime_.reset();
    if (buttonsDown_ > 0) session_.mouse({MouseInput::Kind::move, MouseInput::Button::left, time, mouse_});
}

bool SdlInput::handle(const SDL_Event& event, double time) {
    using Kind = MouseInput::Kind;
    using Button = MouseInput::Button;
    // Whatever else happens, the fingers first reach where the mouse went before it.
    if (event.type != SDL_MOUSEMOTION) flushMotion();
    switch (event.type) {
    case SDL_QUIT: return false;
    case SDL_KEYDOWN:
    case SDL_KEYUP: {
        const bool down = event.type == SDL_KEYDOWN;
        const SDL_Keycode key = event.key.keysym.sym;
        if (key == SDLK_LCTRL || key == SDLK_RCTRL) ctrl_ = down;
        if (down && key == SDLK_ESCAPE) return false;
        if (down && !event.key.repeat && key == SDLK_p) session_.dump(time);
        if (down && !event.key.repeat && key == SDLK_F12)
            if (auto ran = session_.snapshot(time); ran.rfind("snapshot ", 0) != 0)
                std::cerr << "orrery-sim: " << ran << '\n';
        if (auto k = cameraKeyNamed(SDL_GetKeyName(key)); k && !event.key.repeat) session_.key(time, *k, down);
        break;
    }
    case SDL_MOUSEBUTTONDOWN:
    case SDL_MOUSEBUTTONUP: {
        const bool down = event.type == SDL_MOUSEBUTTONDOWN;
        mouse_ = area_.toPoints(event.button.x, event.button.y);
        mouseOnScreen_ = area_.contains(event.button.x, event.button.y);
        if (event.button.button == SDL_BUTTON_MIDDLE) {
            looking_ = down && mouseOnScreen_;
            break;
        }
        if (event.button.button != SDL_BUTTON_LEFT && event.button.button != SDL_BUTTON_RIGHT) break;
        const Button button = event.button.button == SDL_BUTTON_LEFT ? Button::left : Button::right;
        if (down) {
            if (!mouseOnScreen_) break;
            ++buttonsDown_;
            session_.mouse({Kind::press, button, time, mouse_, ctrl_ || (SDL_GetModState() & KMOD_CTRL) != 0});
        } else if (buttonsDown_ > 0) {
            --buttonsDown_;
            session_.mouse({Kind::release, button, time, mouse_});
        }
        break;
    }
    case SDL_MOUSEMOTION:
        mouse_ = area_.toPoints(event.motion.x, event.motion.y);
        mouseOnScreen_ = area_.contains(event.motion.x, event.motion.y);
        if (looking_) {
            const CGPoint scale = area_.toPoints(area_.x + 1, area_.y + 1);
            session_.look(time, event.motion.xrel * scale.x, event.motion.yrel * scale.y);
        } else if (buttonsDown_ > 0) {
            pendingMoveTime_ = time;  // handed on by flushMotion, once a frame
        } else {
            session_.advanceTo(time);
        }
        break;
    case SDL_MOUSEWHEEL: {
        if (!mouseOnScreen_) break;
        double notches = event.wheel.preciseY;
        if (event.wheel.direction == SDL_MOUSEWHEEL_FLIPPED) notches = -notches;
        session_.mouse({Kind::wheel, Button::left, time, mouse_, false, notches});
        break;
    }
    case SDL_WINDOWEVENT:
        if (event.window.event == SDL_WINDOWEVENT_FOCUS_LOST) {
            buttonsDown_ = 0;
            looking_ = false;
            ctrl_ = false;
            session_.cancelTouches(time);
        }
        break;
    default: break;
    }
    return true;
}

}  // namespace orrery::window
