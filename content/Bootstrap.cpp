// The start scene: view settings, body models, button bar and gesture recognisers.

#include "app/ViewController.h"
#include "app/ControllerFields.h"
#include "content/ModelLoading.h"
#include "platform/Fatal.h"

#include <string>

namespace orrery {

namespace {

constexpr std::size_t starsRow = 0;
constexpr std::size_t earthRow = bodyRowOf(3);

/// Every recogniser gets the controller as delegate before it is added to the view.
template <class Recognizer>
void attachRecognizer(ViewController& controller, const std::shared_ptr<Recognizer>& recognizer) {
    recognizer->setDelegate(&controller);
    controller.sceneView->addGestureRecognizer(recognizer);
}

template <class Recognizer>
std::shared_ptr<Recognizer> required(std::shared_ptr<Recognizer> recognizer) {
    if (!recognizer) stopProgram();
    return recognizer;
}

}  // namespace

void ViewController::viewDidLoad() {
    UIViewController::viewDidLoad();
    if (!sceneView) stopProgram();
    sceneView->setDelegate(this);
    sceneView->setShowsStatistics(false);
    sceneView->setAntialiasingMode(SCNAntialiasingModeMultisampling4X);
    std::shared_ptr<SCNScene> scene = platform_.newScene();
    if (!scene) stopProgram();
    sceneView->setScene(scene);

    loadBodyModels();
    loadButtons();

    auto pinch = required(
        platform_.newPinchGestureRecognizer(this, Selector{"didPinch:", [this](UIGestureRecognizer& r) {
                                                               didPinch(static_cast<UIPinchGestureRecognizer&>(r));
                                                           }}));
    attachRecognizer(*this, pinch);

    auto rotation = required(platform_.newRotationGestureRecognizer(
        this, Selector{"didRotate:",
                       [this](UIGestureRecognizer& r) { didRotate(static_cast<UIRotationGestureRecognizer&>(r)); }}));
    attachRecognizer(*this, rotation);

    auto pan =
        required(platform_.newPanGestureRecognizer(this, Selector{"didPan:", [this](UIGestureRecognizer& r) {
                                                                      didPan(static_cast<UIPanGestureRecognizer&>(r));
                                                                  }}));
    attachRecognizer(*this, pan);

    auto longPress = required(platform_.newLongPressGestureRecognizer(
        this, Selector{"didLongPress:", [this](UIGestureRecognizer& r) {
                           didLongPress(static_cast<UILongPressGestureRecognizer&>(r));
                       }}));
    longPress->setMinimumPressDuration(0.5);
    attachRecognizer(*this, longPress);

    auto doubleTap = required(
        platform_.newTapGestureRecognizer(this, Selector{"didDoubleTap:", [this](UIGestureRecognizer& r) {
                                                             didDoubleTap(static_cast<UITapGestureRecognizer&>(r));
                                                         }}));
    doubleTap->setNumberOfTapsRequired(2);
    doubleTap->setNumberOfTouchesRequired(1);
    attachRecognizer(*this, doubleTap);
}

void ViewController::loadBodyModels() {
    const auto rows = BodyCatalog::bodies();
    for (std::size_t row = 0; row < rows.size(); ++row) {
        std::shared_ptr<SCNNode>& handle =
            loadModel(platform_, rows[row].assetPath, bodyModelField(*this, row), bodyNameField(*this, row));

        if (row == starsRow) {
            // The star field surrounds the session origin at twenty times its model size.
            handle->setScale({20, 20, 20});
            handle->setRotation({0, 1, 0, 3.1415925f});
            handle->setPosition({0, 0, 0});
            sceneRootOf(*this)->addChildNode(handle);
        }
        if (row == earthRow) {
            // The opening view: the Earth in the single-body pose, turning once a day (an hour a second).
            handle->setScale({0.5f, 0.5f, 0.5f});
            handle->setRotation({0, 1, 0, 0});
            handle->setPosition({0, 0, -2});
            sceneRootOf(*this)->addChildNode(handle);
            handle->runActionForKey(
                SCNAction::repeatActionForever(SCNAction::rotateByXYZDuration(0, 6.283185307179586, 0, 24.0)),
                "EarthAnimation");
            showText(std::string(BodyCatalog::earthText));
        }
    }
}

}  // namespace orrery
