// The three values shared by the whole process, touched on the main thread only.

#include "app/ViewController.h"

namespace orrery {

BodyIndex selectedBody = 3;  // Earth
bool gestureHandled = false;
bool isTextShown = false;

void resetProcessState() {
    selectedBody = 3;
    gestureHandled = false;
    isTextShown = false;
}

}  // namespace orrery
