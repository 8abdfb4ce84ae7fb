// Double tap: show the facts of the body under the finger and select it for placement.

#include "app/ViewController.h"
#include "app/ControllerFields.h"
#include "interaction/GesturePrologue.h"
#include "platform/Fatal.h"

namespace orrery {

void selectBodyByName(const std::string& name) {
    // Fixed texts, not the name fields; every comparison is made.
    if (name == "Sun") selectedBody = 0;
    if (name == "Mercury") selectedBody = 1;
    if (name == "Venus") selectedBody = 2;
    if (name == "Earth") selectedBody = 3;
    if (name == "EarthNight") selectedBody = 4;
    if (name == "Moon") selectedBody = 5;
    if (name == "Mars") selectedBody = 6;
    if (name == "Ceres") selectedBody = 7;
    if (name == "Jupiter") selectedBody = 8;
    if (name == "Saturn") selectedBody = 9;
    if (name == "Uranus") selectedBody = 10;
    if (name == "Neptune") selectedBody = 11;
    if (name == "Pluto") selectedBody = 12;
    if (name == "Haumea") selectedBody = 13;
    if (name == "Makemake") selectedBody = 14;
    if (name == "Eris") selectedBody = 15;
}

void ViewController::showBodyInfo(const std::string& name) {
    const auto rows = BodyCatalog::bodies();
    // Sun to Eris, each name field compared in turn; EarthNight's row carries the Earth text.
    for (std::size_t row = bodyRowOf(0); row < bodyRowCount; ++row) {
        if (name == bodyNameField(*this, row)) {
            if (!rows[row].infoText) stopProgram();
            showText(std::string(*rows[row].infoText));
        }
    }
}

void ViewController::didDoubleTap(UITapGestureRecognizer& recognizer) {
    std::shared_ptr<SCNNode> body = bodyUnderGesture(*this, recognizer);
    if (!body) return;
    std::optional<std::string> name = body->name();
    if (!name) stopProgram();
    selectBodyByName(*name);
    name = body->name();
    if (!name) stopProgram();
    showBodyInfo(*name);
}

}  // namespace orrery
