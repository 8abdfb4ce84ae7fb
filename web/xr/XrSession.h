#pragma once
// The app in an immersive-ar WebXR session (web/xr/XrLibrary.js holds the browser's side): the
// session's frames drive the app's clock and are drawn view by view over the live camera feed,
// and the in-memory view stands on the session instead of its simulated room and camera:
// - the camera: the viewer's pose becomes a `camera` line (position, yaw, pitch), and the view's
//   screen and field of view become the XR view's, so scene hit tests and the frame's camera
//   angles follow the phone;
// - feature points and anchors: the view's world is an XrWorld. When a finger lifts, the
//   session's hit test along the ray from the viewer through that point (or, where the browser
//   offers it, the hit test of the touch itself) is what the world answers the app's hit test
//   with; the finger's lift waits for it, at most kHitWaitFrames frames. The app's anchors reach
//   its new-anchor entry on the next frame as before, become anchors of the session, and their
//   nodes follow where the session tracks them.

#include "platform/Types.h"
#include "render/Renderer.h"
#include "sim/Simulator.h"
#include "web/page/PageInput.h"
#include "web/xr/XrMath.h"
#include "web/xr/XrWorld.h"
#include "window/LiveSession.h"

#include <emscripten/html5.h>

#include <array>
#include <cstddef>
#include <deque>
#include <string>
#include <vector>

namespace orrery::web {

/// Whether the browser's XR layer is linked in and a session runs.
bool xrRunning();
/// Asks the browser for an immersive-ar session (call it while handling the user's press).
void requestXrSession();
/// Ends the session.
void endXrSession();

class XrSession {
public:
    /// Frames a lifted finger waits for the session's hit test before it reaches the app anyway.
    static constexpr int kHitWaitFrames = 30;
    /// How recent (seconds) a touch's own hit test must be to stand for a finger that lifts.
    static constexpr double kTouchHitAge = 0.25;

    XrSession(sim::Simulator& simulator, window::LiveSession& session, PageInput& input)
        : simulator_(simulator), session_(session), input_(input) {}

    /// The session began: the view stands on it.
    void started();
    /// The session ended: the view stands on its simulated room again.
    void ended();
    /// A touch event of the page while the session runs; always taken.
    bool touch(int eventType, const EmscriptenTouchEvent& event, double time);
    /// One XR frame at `time` (the page's clock) on a page `css` pixels large: the camera, the
    /// waiting touches, the app's frames, the anchors, then every view drawn.
    void frame(double time, CGSize css, render::Renderer* renderer, const render::RenderOptions& options);

private:
    struct PendingTouch {
        int type;
        EmscriptenTouchEvent event;
        double time;
        int request;    ///< the hit test it waits for, or -1
        CGPoint point;  ///< where the finger lifts, for a hit test
        int framesWaited = 0;
    };
    void followViewer(const std::vector<Matrix>& projections);
    void deliverTouches();

    sim::Simulator& simulator_;
    window::LiveSession& session_;
    PageInput& input_;
    PageLayout layout_;
    XrWorld world_;
    std::deque<PendingTouch> waiting_;
    int nextRequest_ = 0;
    std::string lastCameraLine_;
    std::vector<Matrix> projections_;  ///< of the latest frame's views
};

}  // namespace orrery::web
