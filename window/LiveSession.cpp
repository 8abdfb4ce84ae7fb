#include "window/LiveSession.h"

#include "sim/StateDump.h"

#include <algorithm>
#include <cmath>
#include <variant>

namespace orrery::window {

void Recording::line(const std::string& text) {
    flush();
    if (out_) *out_ << text << '\n' << std::flush;
}

void Recording::flush() {
    if (!pendingFrames_) return;
    const unsigned long n = pendingFrames_;
    pendingFrames_ = 0;
    line(n == 1 ? "frame" : "frame " + std::to_string(n));
}

LiveSession::LiveSession(sim::Simulator& simulator, Print print, Recording* recording)
    : simulator_(simulator), print_(std::move(print)), recording_(recording) {
    takeCamera();
}

void LiveSession::takeCamera() {
    const auto& camera = simulator_.platform().view->camera;
    pose_ = applied_ = {camera.position.x, camera.position.y, camera.position.z, camera.yaw, camera.pitch};
}

bool LiveSession::run(const std::string& line, std::string* error) {
    try {
        auto parsed = sim::parseLine(line, ++lineNumber_);
        const auto* command = std::get_if<sim::Command>(&parsed);
        if (!command) return true;
        sim::Output out = simulator_.run(*command);
        // A camera line from outside (a script, the page, an XR session) is where keys walk on from.
        if (command->verb == sim::Verb::camera) takeCamera();
        if (out.kind == sim::Output::Kind::dump) print_(sim::jsonLine(out.state));
        if (out.kind == sim::Output::Kind::calls) print_(sim::callsLine(out.calls));
    } catch (const sim::ScenarioError& e) {
        if (error) *error = e.what();
        return false;
    }
    if (recording_) recording_->line(line);
    history_.push_back(line);
    return true;
}

void LiveSession::applyCamera() {
    if (pose_ == applied_) return;
    applied_ = pose_;
    run("camera " + formatFloat(pose_.x) + " " + formatFloat(pose_.y) + " " + formatFloat(pose_.z) + " " +
        formatFloat(pose_.yaw) + " " + formatFloat(pose_.pitch));
}

void LiveSession::runProduced() {
    auto lines = recognition_.take();
    if (lines.empty()) return;
    applyCamera();  // hit tests see the camera as the person saw it
    for (const auto& line : lines) run(line);
}

void LiveSession::mouse(const MouseInput& input) {
    advanceTo(input.time);
    fingers_.handle(input);
    runProduced();
}

void LiveSession::touchDown(double time, const TouchPoint& finger) {
    advanceTo(time);
    touches_.down(time, finger);
    runProduced();
}

void LiveSession::touchesMoved(double time, const std::vector<TouchPoint>& fingers) {
    advanceTo(time);
    touches_.moved(time, fingers);
    runProduced();
}

void LiveSession::touchUp(double time, long id) {
    advanceTo(time);
    touches_.up(time, id);
    runProduced();
}

void LiveSession::cancelTouches(double time) {
    advanceTo(time);
    recognition_.cancel(time);
    fingers_.reset();
    touches_.reset();
    runProduced();
}

void LiveSession::look(double time, double dxPoints, double dyPoints) {
    advanceTo(time);
    // Dragging right turns right (yaw falls); dragging down looks down.
    pose_.yaw -= static_cast<float>(dxPoints) * kLookPerPoint;
    pose_.pitch = std::clamp(pose_.pitch - static_cast<float>(dyPoints) * kLookPerPoint, -kPitchLimit, kPitchLimit);
}

void LiveSession::key(double time, CameraKey key, bool down) {
    advanceTo(time);
    held_[static_cast<int>(key)] = down;
}

void LiveSession::dump(double time) {
    advanceTo(time);
    applyCamera();
    run("dump");
}

std::string LiveSession::snapshot(double time) {
    advanceTo(time);
    applyCamera();
    const std::string line = "snapshot snapshot-" + std::to_string(++snapshots_) + ".png";
    std::string error;
    return run(line, &error) ? line : error;
}

void LiveSession::stepCamera(double seconds) {
    auto axis = [&](CameraKey plus, CameraKey minus) {
        return static_cast<float>(held_[static_cast<int>(plus)]) - static_cast<float>(held_[static_cast<int>(minus)]);
    };
    const float dt = static_cast<float>(seconds);
    const float forward = axis(CameraKey::forward, CameraKey::back), right = axis(CameraKey::right, CameraKey::left);
    const float up = axis(CameraKey::up, CameraKey::down);
    pose_.yaw += axis(CameraKey::turnLeft, CameraKey::turnRight) * kTurnSpeed * dt;
    pose_.pitch = std::clamp(pose_.pitch + axis(CameraKey::lookUp, CameraKey::lookDown) * kTurnSpeed * dt, -kPitchLimit,
                             kPitchLimit);
    // Walking stays level: forward is the horizontal direction the camera faces.
    const float s = std::sin(pose_.yaw), c = std::cos(pose_.yaw);
    pose_.x += (-s * forward + c * right) * kWalkSpeed * dt;
    pose_.z += (-c * forward - s * right) * kWalkSpeed * dt;
    pose_.y += up * kWalkSpeed * dt;
}

void LiveSession::advanceTo(double time) {
    if (time - (frameOrigin_ + framesRun_ * kFrameSeconds) > kMaximumLag)
        frameOrigin_ = time - kMaximumLag - framesRun_ * kFrameSeconds;
    while (true) {
        std::optional<double> due = fingers_.deadline();
        if (auto r = recognition_.deadline(); r && (!due || *r < *due)) due = r;
        const double nextFrame = frameOrigin_ + (framesRun_ + 1) * kFrameSeconds;
        if (due && *due <= time && *due <= nextFrame) {
            fingers_.tick(*due);
            recognition_.tick(*due);
            runProduced();
            continue;
        }
        if (nextFrame > time) break;
        stepCamera(kFrameSeconds);
        applyCamera();
        simulator_.platform().runFrame();
        ++framesRun_;
        if (recording_) recording_->frame();
    }
}

void LiveSession::finish(double time) {
    // Quitting right after a click is no second tap: the tap's end, held back while a double tap
    // could follow, still reaches the app before the last dump.
    if (!recognition_.touching())
        if (const std::optional<double> due = recognition_.deadline()) {
            time = std::max(time, *due);
            advanceTo(time);
        }
    dump(time);
    if (recording_) recording_->flush();
}

}  // namespace orrery::window
