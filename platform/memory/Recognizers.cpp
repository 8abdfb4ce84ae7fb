#include "platform/memory/Recognizers.h"

#include <utility>

namespace orrery::memory {

namespace {

using Json = nlohmann::json;

}  // namespace

template <class Base>
void MemoryRecognizer<Base>::note(const char* op, Json args) const {
    if (log_) log_->record(op, std::nullopt, std::move(args));
}

template <class Base>
UIGestureRecognizerState MemoryRecognizer<Base>::state() const {
    note("state");
    return record.state;
}

template <class Base>
CGPoint MemoryRecognizer<Base>::locationInView(const ARSCNView&) const {
    note("locationInView:", Json::array({"ARSCNView"}));
    return record.location;
}

template <class Base>
void MemoryRecognizer<Base>::setDelegate(UIGestureRecognizerDelegate* delegate) {
    note("setDelegate:", Json::array({delegate ? Json("UIGestureRecognizerDelegate") : Json(nullptr)}));
    record.delegate = delegate;
}

template class MemoryRecognizer<UIPinchGestureRecognizer>;
template class MemoryRecognizer<UIRotationGestureRecognizer>;
template class MemoryRecognizer<UIPanGestureRecognizer>;
template class MemoryRecognizer<UILongPressGestureRecognizer>;
template class MemoryRecognizer<UITapGestureRecognizer>;

double MemoryPinchRecognizer::scale() const {
    note("scale");
    return record.scale;
}

double MemoryRotationRecognizer::rotation() const {
    note("rotation");
    return record.rotation;
}

CGPoint MemoryPanRecognizer::translationInView(const ARSCNView&) const {
    note("translationInView:", Json::array({"ARSCNView"}));
    return record.translation;
}

void MemoryLongPressRecognizer::setMinimumPressDuration(double seconds) {
    note("setMinimumPressDuration:", Json::array({seconds}));
    record.minimumPressDuration = seconds;
}

void MemoryTapRecognizer::setNumberOfTapsRequired(unsigned long taps) {
    note("setNumberOfTapsRequired:", Json::array({taps}));
    record.numberOfTapsRequired = taps;
}

void MemoryTapRecognizer::setNumberOfTouchesRequired(unsigned long touches) {
    note("setNumberOfTouchesRequired:", Json::array({touches}));
    record.numberOfTouchesRequired = touches;
}

CGPoint MemoryTouch::locationInView(const ARSCNView&) const {
    if (log_) log_->record("locationInView:", std::nullopt, Json::array({"ARSCNView"}));
    return point;
}

}  // namespace orrery::memory
