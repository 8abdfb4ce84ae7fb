#pragma once
// A started simulator with a live session on it, as the window and the page drive one.

#include "platform/memory/MemoryPlatform.h"
#include "sim/Simulator.h"
#include "window/LiveSession.h"

#include <optional>
#include <sstream>
#include <string>
#include <vector>

namespace orrery::window {

/// A started simulator with a live session on it that records and keeps what is printed. It
/// draws no pictures unless its simulator is given a snapshot hook.
struct Live {
    using Kind = MouseInput::Kind;
    using Button = MouseInput::Button;

    sim::Simulator simulator{memory::MemoryPlatform::defaultAssetParent()};
    std::ostringstream file;
    Recording recording{&file};
    std::vector<std::string> printed;
    LiveSession session{(simulator.start(), simulator), [this](const std::string& l) { printed.push_back(l); },
                        &recording};

    /// Lets time pass as the window does, a little at a time.
    void until(double t) {
        for (double x = session.framesRun() * LiveSession::kFrameSeconds; x < t; x += 0.05) session.advanceTo(x);
        session.advanceTo(t);
    }
    CGPoint at(const std::string& name) { return simulator.resolvePoint({std::nullopt, name}, 0); }
    void click(double t, CGPoint p, Button b = Button::left) {
        until(t);
        session.mouse({Kind::press, b, t, p});
        session.mouse({Kind::release, b, t + 0.05, p});
    }
    void drag(double t, CGPoint from, CGPoint by, Button b = Button::left) {
        until(t);
        session.mouse({Kind::press, b, t, from});
        for (int i = 1; i <= 4; ++i)
            session.mouse({Kind::move, b, t + 0.02 * i, {from.x + by.x * i / 4, from.y + by.y * i / 4}});
        session.mouse({Kind::release, b, t + 0.1, {from.x + by.x, from.y + by.y}});
    }
};

}  // namespace orrery::window
