#pragma once
// From a mouse to the app's events, the way the device would deliver them.
//
// Two steps, both free of any window system:
//   MouseFingers        mouse buttons, motion and wheel  ->  simulated fingers on the screen
//   GestureRecognition  fingers  ->  what the view controller receives: touch ends and the
//                       actions of its five recognisers, with their states
// The result is a list of scenario lines (`touch X,Y`, `pan began X,Y TX TY`, ...), so that
// what the window does can be run again headless and written to a scenario file.
//
// The recognisers are those the app attaches (pinch, rotation, pan, long press of 0.5 s,
// double tap of one finger), with the platform's defaults: only one of them recognises at a
// time, touches that a recogniser has recognised are cancelled (no touch end reaches the
// controller), and the end of a touch that may be the first half of a double tap is held
// back until the double tap has failed.

#include "platform/Types.h"

#include <optional>
#include <string>
#include <vector>

namespace orrery::window {

/// Limits of recognition, in points and seconds.
struct RecognitionLimits {
    double minimumPressDuration = 0.5;  ///< the app's long press
    double allowableMovement = 10;      ///< a finger moving further is no tap and no long press
    double panHysteresis = 10;          ///< centroid movement that starts a pan
    double pinchHysteresis = 10;        ///< change of the distance between two fingers that starts a pinch
    double rotationHysteresis = 0.1;    ///< radians two fingers turn before a rotation starts
    double maximumTapInterval = 0.35;   ///< from the first lift to the second touch of a double tap
    double maximumTapDistance = 10;     ///< between the two taps of a double tap
};

/// Turns finger movements into the controller's events.
class GestureRecognition {
public:
    explicit GestureRecognition(RecognitionLimits limits = {}) : limits_(limits) {}

    /// Fingers touch down (one or two, together).
    void fingersDown(double time, const std::vector<CGPoint>& fingers);
    /// Another finger lands while one is down, as real fingers do. Before any recogniser has
    /// begun, the touch becomes a touch of two fingers, measured from where they are now; once one
    /// has begun, or with two down already, the finger takes no part. Returns whether it did.
    bool fingerAdded(double time, CGPoint finger);
    /// The same fingers are now at these points.
    void fingersMoved(double time, const std::vector<CGPoint>& fingers);
    /// Every finger lifts where it last was.
    void fingersUp(double time);
    /// The system takes the touches away (the window lost the focus).
    void cancel(double time);
    /// Lets time pass: a held press becomes a long press, an unanswered tap ends.
    void tick(double time);
    /// The next time at which tick() would do something, if any.
    std::optional<double> deadline() const;

    /// Whether fingers are down.
    bool touching() const { return !fingers_.empty(); }
    /// Scenario lines produced since the last call.
    std::vector<std::string> take();

private:
    enum class Active { none, pinch, rotation, pan, longPress };

    void recogniseFrom(double time);
    void emitActive(const char* state);
    void deliverHeldTouchEnd();
    CGPoint centroid() const;
    double spread() const;
    double turn() const;

    RecognitionLimits limits_;
    std::vector<CGPoint> fingers_, startFingers_;
    double startTime_ = 0;
    bool movedTooFar_ = false;  ///< a finger left the allowable movement: no tap, no long press
    Active active_ = Active::none;
    double lastTurn_ = 0;                  ///< unwrapped rotation, so that turns beyond half a circle keep counting
    std::optional<CGPoint> heldTouchEnd_;  ///< the first tap of a possible double tap
    double heldSince_ = 0;
    std::vector<std::string> lines_;
};

/// What the mouse does, in screen points of the simulated phone.
struct MouseInput {
    enum class Kind { press, move, release, wheel } kind = Kind::move;
    enum class Button { left, right } button = Button::left;
    double time = 0;
    CGPoint point;
    bool pinchModifier = false;  ///< Ctrl held when the button went down: a drag pinches
    double wheel = 0;            ///< notches away from the user (positive spreads the fingers)
};

/// Puts simulated fingers under the mouse:
/// - left button: one finger that follows the mouse;
/// - Ctrl and left button: two fingers 60 points either side of the press, spreading apart as the
///   mouse moves up and closing as it moves down (a pinch);
/// - right button: two fingers 60 points either side of the press, turning about it as the mouse
///   moves right (clockwise) or left (a rotation);
/// - wheel: two fingers 60 points either side of the mouse, each notch away from the user moving
///   them apart by a tenth (towards the user: together) in one step; they lift 0.3 s after the
///   last notch or when a button is pressed.
class MouseFingers {
public:
    explicit MouseFingers(GestureRecognition& recognition) : recognition_(recognition) {}

    void handle(const MouseInput& input);
    void tick(double time);
    /// Forgets the fingers (after the recognition was cancelled).
    void reset() { mode_ = Mode::none; }
    std::optional<double> deadline() const;

    static constexpr double kFingerOffset = 60;           ///< points from the centre to each finger
    static constexpr double kSpreadPerPoint = 1.0 / 150;  ///< pinch drag: e-fold per 150 points
    static constexpr double kTurnPerPoint = 1.0 / 100;    ///< rotation drag: radians per point
    static constexpr double kWheelStep = 1.1;             ///< spread factor of one notch
    static constexpr double kWheelRelease = 0.3;          ///< seconds after the last notch

private:
    enum class Mode { none, oneFinger, pinchDrag, rotateDrag, wheel };
    std::vector<CGPoint> pair(double radius, double angle) const;
    void lift(double time);

    GestureRecognition& recognition_;
    Mode mode_ = Mode::none;
    CGPoint centre_;
    double radius_ = kFingerOffset;
    double lastWheel_ = 0;
};

/// A finger of a touch screen, known by the identifier the screen gives it while it is down.
struct TouchPoint {
    long id = 0;
    CGPoint point;
};

/// Puts real fingers (a page's touch events, screen points) on the recognition. They land and
/// lift one at a time: the first finger starts a touch, a second one joins it (fingerAdded),
/// more take no part. When a finger of the touch lifts, the touch ends there (a pinch or a
/// rotation ends with it; a touch of two fingers that made no gesture ends as one touch end), and
/// the fingers left down take no part until they lift.
class TouchFingers {
public:
    explicit TouchFingers(GestureRecognition& recognition) : recognition_(recognition) {}

    void down(double time, const TouchPoint& finger);
    /// Fingers moved (one event may move several).
    void moved(double time, const std::vector<TouchPoint>& fingers);
    void up(double time, long id);
    /// Forgets every finger (after the recognition was cancelled).
    void reset();

private:
    GestureRecognition& recognition_;
    std::vector<TouchPoint> touch_;  ///< the fingers of the touch, in the order they landed
    std::vector<long> idle_;         ///< fingers down that take no part
};

/// A number as the shortest decimal that reads back as the same double.
std::string formatNumber(double value);
/// A number as the shortest decimal that reads back as the same float.
std::string formatFloat(float value);
/// A screen point as the scenario writes it: `X,Y`.
std::string formatPoint(CGPoint point);

}  // namespace orrery::window
