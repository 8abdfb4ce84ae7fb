#include "window/InputMapping.h"
#include "platform/memory/numbers/NumberText.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <numbers>

namespace orrery::window {

namespace {

double distance(CGPoint a, CGPoint b) { return std::hypot(a.x - b.x, a.y - b.y); }

double angleOf(const std::vector<CGPoint>& fingers) {
    return std::atan2(fingers[1].y - fingers[0].y, fingers[1].x - fingers[0].x);
}

CGPoint centroidOf(const std::vector<CGPoint>& fingers) {
    CGPoint sum{0, 0};
    for (const auto& f : fingers) sum = {sum.x + f.x, sum.y + f.y};
    const double n = static_cast<double>(fingers.size());
    return {sum.x / n, sum.y / n};
}

}  // namespace

std::string formatNumber(double value) {
    char buf[64];
    auto end = numbers::writeNumber(buf, buf + sizeof buf, value).ptr;
    return {buf, end};
}

std::string formatFloat(float value) {
    char buf[64];
    auto end = numbers::writeNumber(buf, buf + sizeof buf, value).ptr;
    return {buf, end};
}

std::string formatPoint(CGPoint point) { return formatNumber(point.x) + "," + formatNumber(point.y); }

// ---- GestureRecognition ----

CGPoint GestureRecognition::centroid() const { return centroidOf(fingers_); }

double GestureRecognition::spread() const { return fingers_.size() == 2 ? distance(fingers_[0], fingers_[1]) : 0.0; }

double GestureRecognition::turn() const { return lastTurn_; }

std::vector<std::string> GestureRecognition::take() {
    std::vector<std::string> out;
    out.swap(lines_);
    return out;
}

void GestureRecognition::deliverHeldTouchEnd() {
    if (!heldTouchEnd_) return;
    lines_.push_back("touch " + formatPoint(*heldTouchEnd_));
    heldTouchEnd_.reset();
}

void GestureRecognition::emitActive(const char* state) {
    const std::string at = formatPoint(centroid());
    switch (active_) {
    case Active::pinch:
        lines_.push_back(std::string("pinch ") + state + " " + at + " " +
                         formatNumber(spread() / distance(startFingers_[0], startFingers_[1])));
        break;
    case Active::rotation:
        lines_.push_back(std::string("rotate ") + state + " " + at + " " + formatNumber(turn()));
        break;
    case Active::pan: {
        const CGPoint start = centroidOf(startFingers_), now = centroid();
        lines_.push_back(std::string("pan ") + state + " " + at + " " + formatNumber(now.x - start.x) + " " +
                         formatNumber(now.y - start.y));
        break;
    }
    case Active::longPress: lines_.push_back(std::string("longpress ") + state + " " + at); break;
    case Active::none: break;
    }
}

void GestureRecognition::fingersDown(double time, const std::vector<CGPoint>& fingers) {
    tick(time);
    if (touching() || fingers.empty()) return;
    // A second touch that cannot complete a double tap lets the first tap's end through.
    if (heldTouchEnd_ && (fingers.size() != 1 || distance(fingers[0], *heldTouchEnd_) > limits_.maximumTapDistance))
        deliverHeldTouchEnd();
    fingers_ = startFingers_ = fingers;
    startTime_ = time;
    movedTooFar_ = false;
    active_ = Active::none;
    lastTurn_ = 0;
}

bool GestureRecognition::fingerAdded(double time, CGPoint finger) {
    tick(time);
    if (fingers_.size() != 1 || active_ != Active::none) return false;
    fingers_.push_back(finger);
    // The pinch, rotation and pan measure from where both fingers are; a two-finger touch is no
    // tap and no long press.
    startFingers_ = fingers_;
    lastTurn_ = 0;
    if (heldTouchEnd_) deliverHeldTouchEnd();
    return true;
}

void GestureRecognition::fingersMoved(double time, const std::vector<CGPoint>& fingers) {
    tick(time);
    if (!touching() || fingers.size() != fingers_.size()) return;
    fingers_ = fingers;
    if (fingers_.size() == 2) {
        // Unwrapped, so that a turn past half a circle goes on growing.
        double step = angleOf(fingers_) - angleOf(startFingers_) - lastTurn_;
        step = std::remainder(step, 2 * std::numbers::pi);
        lastTurn_ += step;
    }
    for (std::size_t i = 0; i < fingers_.size(); ++i)
        if (distance(fingers_[i], startFingers_[i]) > limits_.allowableMovement) movedTooFar_ = true;
    if (active_ != Active::none) {
        emitActive("changed");
        return;
    }
    if (movedTooFar_) deliverHeldTouchEnd();  // the second touch is no tap
    recogniseFrom(time);
}

void GestureRecognition::recogniseFrom(double) {
    // Checked in the order the app attaches its recognisers; the first to recognise wins alone.
    if (fingers_.size() == 2) {
        const double startSpread = distance(startFingers_[0], startFingers_[1]);
        if (std::fabs(spread() - startSpread) > limits_.pinchHysteresis)
            active_ = Active::pinch;
        else if (std::fabs(turn()) > limits_.rotationHysteresis)
            active_ = Active::rotation;
    }
    if (active_ == Active::none && distance(centroid(), centroidOf(startFingers_)) > limits_.panHysteresis)
        active_ = Active::pan;
    if (active_ == Active::none) return;
    deliverHeldTouchEnd();
    emitActive("began");
}

void GestureRecognition::fingersUp(double time) {
    tick(time);
    if (!touching()) return;
    if (active_ != Active::none) {
        // The recogniser ends; the touches it took are cancelled, so no touch end follows.
        emitActive("ended");
    } else if (fingers_.size() == 1 && !movedTooFar_) {
        if (heldTouchEnd_) {
            // Second tap: the double tap is recognised and both taps' touches are cancelled.
            heldTouchEnd_.reset();
            lines_.push_back("doubletap " + formatPoint(fingers_[0]));
        } else {
            heldTouchEnd_ = fingers_[0];
            heldSince_ = time;
        }
    } else {
        // Two fingers that made no gesture: nothing waits for them, their end arrives at once.
        lines_.push_back("touch " + formatPoint(fingers_[0]));
    }
    fingers_.clear();
    active_ = Active::none;
}

void GestureRecognition::cancel(double time) {
    tick(time);
    if (active_ != Active::none) emitActive("cancelled");
    active_ = Active::none;
    fingers_.clear();
    heldTouchEnd_.reset();
}

std::optional<double> GestureRecognition::deadline() const {
    if (touching() && active_ == Active::none && fingers_.size() == 1 && !movedTooFar_)
        return startTime_ + limits_.minimumPressDuration;
    if (!touching() && heldTouchEnd_) return heldSince_ + limits_.maximumTapInterval;
    return std::nullopt;
}

void GestureRecognition::tick(double time) {
    auto due = deadline();
    if (!due || time < *due) return;
    if (touching()) {
        // Held still long enough: the long press wins, so a waiting first tap has failed as a double tap.
        deliverHeldTouchEnd();
        active_ = Active::longPress;
        emitActive("began");
    } else {
        deliverHeldTouchEnd();  // no second tap came in time
    }
}

// ---- MouseFingers ----

std::vector<CGPoint> MouseFingers::pair(double radius, double angle) const {
    const double dx = radius * std::cos(angle), dy = radius * std::sin(angle);
    return {{centre_.x - dx, centre_.y - dy}, {centre_.x + dx, centre_.y + dy}};
}

void MouseFingers::lift(double time) {
    recognition_.fingersUp(time);
    mode_ = Mode::none;
}

void MouseFingers::handle(const MouseInput& input) {
    using Kind = MouseInput::Kind;
    using Button = MouseInput::Button;
    const double t = input.time;
    const CGPoint p = input.point;
    switch (input.kind) {
    case Kind::press:
        if (mode_ == Mode::wheel) lift(t);
        if (mode_ != Mode::none) return;
        centre_ = p;
        radius_ = kFingerOffset;
        if (input.button == Button::right) {
            mode_ = Mode::rotateDrag;
            recognition_.fingersDown(t, pair(radius_, 0));
        } else if (input.pinchModifier) {
            mode_ = Mode::pinchDrag;
            recognition_.fingersDown(t, pair(radius_, 0));
        } else {
            mode_ = Mode::oneFinger;
            recognition_.fingersDown(t, {p});
        }
        break;
    case Kind::move:
        if (mode_ == Mode::oneFinger)
            recognition_.fingersMoved(t, {p});
        else if (mode_ == Mode::pinchDrag)
            recognition_.fingersMoved(t, pair(kFingerOffset * std::exp(-(p.y - centre_.y) * kSpreadPerPoint), 0));
        else if (mode_ == Mode::rotateDrag)
            recognition_.fingersMoved(t, pair(kFingerOffset, (p.x - centre_.x) * kTurnPerPoint));
        break;
    case Kind::release:
        if ((input.button == Button::right) == (mode_ == Mode::rotateDrag) &&
            (mode_ == Mode::oneFinger || mode_ == Mode::pinchDrag || mode_ == Mode::rotateDrag))
            lift(t);
        break;
    case Kind::wheel:
        if (mode_ == Mode::none) {
            mode_ = Mode::wheel;
            centre_ = p;
            radius_ = kFingerOffset;
            lastWheel_ = t;
            recognition_.fingersDown(t, pair(radius_, 0));
        }
        if (mode_ != Mode::wheel || input.wheel == 0) return;
        radius_ *= std::pow(kWheelStep, input.wheel);
        recognition_.fingersMoved(t, pair(radius_, 0));
        lastWheel_ = t;
        break;
    }
}

std::optional<double> MouseFingers::deadline() const {
    if (mode_ == Mode::wheel) return lastWheel_ + kWheelRelease;
    return std::nullopt;
}

void MouseFingers::tick(double time) {
    if (auto due = deadline(); due && time >= *due) lift(time);
}

// ---- TouchFingers ----

void TouchFingers::down(double time, const TouchPoint& finger) {
    if (touch_.empty() && idle_.empty()) {
        recognition_.fingersDown(time, {finger.point});
        touch_.push_back(finger);
    } else if (touch_.size() == 1 && recognition_.fingerAdded(time, finger.point)) {
        touch_.push_back(finger);
    } else {
        idle_.push_back(finger.id);
    }
}

void TouchFingers::moved(double time, const std::vector<TouchPoint>& fingers) {
    bool changed = false;
    for (const auto& moved : fingers)
        for (auto& finger : touch_)
            if (finger.id == moved.id && (finger.point.x != moved.point.x || finger.point.y != moved.point.y)) {
                finger.point = moved.point;
                changed = true;
            }
    if (!changed) return;
    std::vector<CGPoint> points;
    for (const auto& finger : touch_) points.push_back(finger.point);
    recognition_.fingersMoved(time, points);
}

void TouchFingers::up(double time, long id) {
    if (std::erase(idle_, id)) return;
    const auto lifted = std::find_if(touch_.begin(), touch_.end(), [&](const TouchPoint& f) { return f.id == id; });
    if (lifted == touch_.end()) return;
    recognition_.fingersUp(time);
    touch_.erase(lifted);
    for (const auto& left : touch_) idle_.push_back(left.id);
    touch_.clear();
}

void TouchFingers::reset() {
    touch_.clear();
    idle_.clear();
}

}  // namespace orrery::window
