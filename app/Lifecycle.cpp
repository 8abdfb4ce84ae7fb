// View lifecycle and AR session: tracking runs while the view is on screen.

#include "app/ViewController.h"
#include "platform/Fatal.h"

namespace orrery {

void ViewController::viewWillAppear(bool animated) {
    UIViewController::viewWillAppear(animated);
    if (!sceneView) stopProgram();
    // A fresh default configuration and no run options: anchors and placed copies survive a pause.
    ARWorldTrackingConfiguration configuration{};
    sceneView->session().runWithConfigurationOptions(configuration, 0);
}

void ViewController::viewWillDisappear(bool animated) {
    UIViewController::viewWillDisappear(animated);
    if (!sceneView) stopProgram();
    sceneView->session().pause();
}

void ViewController::didReceiveMemoryWarning() {
    // Models are loaded once and kept for the whole run; nothing is freed here.
    UIViewController::didReceiveMemoryWarning();
}

// Session failures and interruptions are left to the platform.
void ViewController::sessionDidFailWithError(ARSession& /*session*/, const NSError& /*error*/) {}
void ViewController::sessionWasInterrupted(ARSession& /*session*/) {}
void ViewController::sessionInterruptionEnded(ARSession& /*session*/) {}

}  // namespace orrery
