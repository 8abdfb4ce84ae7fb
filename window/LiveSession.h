#pragma once
// The simulator driven live: mouse and keys in, scenario lines run and recorded.
//
// Everything the window does to the app goes through a scenario line that is run exactly as
// a scenario file would run it, and the same line is written to the recording. The clock runs
// in frames of 1/60 s, as many as real time asks for, so the recording replays headless to the
// same state.

#include "sim/Simulator.h"
#include "window/InputMapping.h"

#include <functional>
#include <ostream>
#include <string>
#include <vector>

namespace orrery::window {

/// A scenario file being written: lines in order, consecutive frames folded into `frame N`.
class Recording {
public:
    explicit Recording(std::ostream* out) : out_(out) {}
    void line(const std::string& text);
    void frame() { ++pendingFrames_; }
    void flush();

private:
    std::ostream* out_;
    unsigned long pendingFrames_ = 0;
};

/// Keys that move the device camera while held.
enum class CameraKey { forward, back, left, right, up, down, turnLeft, turnRight, lookUp, lookDown, count };

/// The device camera as keys and mouse-look move it (metres and radians).
struct CameraPose {
    float x = 0, y = 0, z = 0, yaw = 0, pitch = 0;
    friend bool operator==(const CameraPose&, const CameraPose&) = default;
};

class LiveSession {
public:
    using Print = std::function<void(const std::string&)>;

    static constexpr double kFrameSeconds = 1.0 / 60.0;
    static constexpr double kMaximumLag = 0.25;     ///< seconds of frames caught up at most; older time is dropped
    static constexpr float kWalkSpeed = 1.0f;       ///< metres a second
    static constexpr float kTurnSpeed = 1.0f;       ///< radians a second
    static constexpr float kLookPerPoint = 0.004f;  ///< radians of mouse-look per point
    static constexpr float kPitchLimit = 1.55f;     ///< radians up or down

    /// `print` receives what `dump` and `calls` print; `recording` may be null.
    LiveSession(sim::Simulator& simulator, Print print, Recording* recording);

    /// Live time starts at 0 when the session is made.
    void mouse(const MouseInput& input);
    /// Real fingers of a touch screen: one lands, moves (several at once) or lifts.
    void touchDown(double time, const TouchPoint& finger);
    void touchesMoved(double time, const std::vector<TouchPoint>& fingers);
    void touchUp(double time, long id);
    void cancelTouches(double time);
    void look(double time, double dxPoints, double dyPoints);
    void key(double time, CameraKey key, bool down);
    /// Prints and records a dump.
    void dump(double time);
    /// Takes and records a snapshot of the screen, `snapshot-N.png` in the working folder (N counts
    /// from 1 in each session). Returns the line it ran, or the message why it could not.
    std::string snapshot(double time);
    /// Runs frames, long presses and ends of taps due by `time`.
    void advanceTo(double time);
    /// Runs one scenario line and records it; false (with the message on `error`) if it cannot run.
    bool run(const std::string& line, std::string* error = nullptr);
    /// Closes the recording with a dump of the final state (printed too).
    void finish(double time);

    /// Every line the session ran, oldest first.
    const std::vector<std::string>& history() const { return history_; }
    const CameraPose& camera() const { return pose_; }
    unsigned long framesRun() const { return framesRun_; }
    int snapshotsTaken() const { return snapshots_; }

private:
    void applyCamera();
    /// The simulator's camera becomes the pose the keys and the mouse move.
    void takeCamera();
    void runProduced();
    void stepCamera(double seconds);

    sim::Simulator& simulator_;
    Print print_;
    Recording* recording_;
    GestureRecognition recognition_;
    MouseFingers fingers_{recognition_};
    TouchFingers touches_{recognition_};
    CameraPose pose_, applied_;
    bool held_[static_cast<int>(CameraKey::count)] = {};
    unsigned long framesRun_ = 0;
    double frameOrigin_ = 0;  ///< live time of frame 0; moves on when the window falls too far behind
    std::size_t lineNumber_ = 0;
    int snapshots_ = 0;
    std::vector<std::string> history_;
};

}  // namespace orrery::window
