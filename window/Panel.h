#pragma once
// The window's side panel (Dear ImGui): the app's values, the node tree with transforms and
// running actions, the call log as it grows and the lines the session ran.

#include "render/Renderer.h"
#include "sim/Simulator.h"
#include "window/Controls.h"
#include "window/LiveSession.h"

#include <cstddef>

namespace orrery::window {

class Panel {
public:
    /// What the mouse, the keys and the fingers do, shown under "Controls".
    const char* controls = kControls;

    /// Draws the panel into the rectangle (window coordinates) inside the current ImGui frame;
    /// its check boxes switch the drawing options.
    void draw(sim::Simulator& simulator, const LiveSession& session, render::RenderOptions& options,
              double drawnFramesPerSecond, float x, float y, float width, float height);

private:
    std::size_t callsSeen_ = 0;  ///< scrolls the log to its end when it grows
    std::size_t linesSeen_ = 0;
    static constexpr unsigned kSettlingFrames = 3;
    unsigned panelFrames_ = 0;
};

}  // namespace orrery::window
