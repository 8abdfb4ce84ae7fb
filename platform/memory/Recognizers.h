#pragma once
// Simulated gesture recognisers and touches: each recogniser keeps its settings and the input
// the simulator gives it in a RecognizerRecord, and calls its action when told to.

#include "platform/UIKit.h"
#include "platform/memory/CallLog.h"
#include <memory>
#include <optional>
#include <string>

namespace orrery::memory {

/// Settings and simulated input of a recogniser.
struct RecognizerRecord {
    std::string type;  ///< "UIPinchGestureRecognizer"...
    UIViewController* target = nullptr;
    Selector action;
    UIGestureRecognizerDelegate* delegate = nullptr;
    std::optional<double> minimumPressDuration;
    std::optional<unsigned long> numberOfTapsRequired;
    std::optional<unsigned long> numberOfTouchesRequired;

    UIGestureRecognizerState state = UIGestureRecognizerState::possible;
    CGPoint location;
    double scale = 1.0;
    double rotation = 0.0;
    CGPoint translation;
};

/// The simulator's view of any recogniser: its record and its action.
class MemoryRecognizerBase {
public:
    virtual ~MemoryRecognizerBase() = default;
    RecognizerRecord record;
    /// Calls the action on the target with the recogniser as argument.
    virtual void sendAction() = 0;
};

/// Operations common to every recogniser type.
template <class Base>
class MemoryRecognizer : public Base, public MemoryRecognizerBase {
public:
    MemoryRecognizer(std::shared_ptr<CallLog> log, RecognizerRecord initial) : log_(std::move(log)) {
        record = std::move(initial);
    }
    /// The simulated state in `record`.
    UIGestureRecognizerState state() const override;
    /// The simulated touch point in `record`.
    CGPoint locationInView(const ARSCNView& view) const override;
    void setDelegate(UIGestureRecognizerDelegate* delegate) override;
    void sendAction() override { record.action.method(*this); }

protected:
    void note(const char* op, nlohmann::json args = nlohmann::json::array()) const;
    std::shared_ptr<CallLog> log_;
};

class MemoryPinchRecognizer final : public MemoryRecognizer<UIPinchGestureRecognizer> {
public:
    using MemoryRecognizer::MemoryRecognizer;
    double scale() const override;
};

class MemoryRotationRecognizer final : public MemoryRecognizer<UIRotationGestureRecognizer> {
public:
    using MemoryRecognizer::MemoryRecognizer;
    double rotation() const override;
};

class MemoryPanRecognizer final : public MemoryRecognizer<UIPanGestureRecognizer> {
public:
    using MemoryRecognizer::MemoryRecognizer;
    CGPoint translationInView(const ARSCNView& view) const override;
};

class MemoryLongPressRecognizer final : public MemoryRecognizer<UILongPressGestureRecognizer> {
public:
    using MemoryRecognizer::MemoryRecognizer;
    void setMinimumPressDuration(double seconds) override;
};

class MemoryTapRecognizer final : public MemoryRecognizer<UITapGestureRecognizer> {
public:
    using MemoryRecognizer::MemoryRecognizer;
    void setNumberOfTapsRequired(unsigned long taps) override;
    /// Kept in `record`, like the number of taps.
    void setNumberOfTouchesRequired(unsigned long touches) override;
};

class MemoryTouch final : public UITouch {
public:
    MemoryTouch(std::shared_ptr<CallLog> log, CGPoint point) : point(point), log_(std::move(log)) {}
    CGPoint locationInView(const ARSCNView& view) const override;
    CGPoint point;

private:
    std::shared_ptr<CallLog> log_;
};

class MemoryEvent final : public UIEvent {};

}  // namespace orrery::memory
