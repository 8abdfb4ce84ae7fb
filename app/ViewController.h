#pragma once
// The view controller: the whole state of the system and every operation on it.
//
// Plain fields and plain operations. Each subsystem folder implements its part:
//   content/      bootstrap, model loading, button bar, info label
//   modes/        pressButton, placeBody, overview, single-body views, help link
//   interaction/  hit-test query, touches, gestures, double tap
//   app/          view lifecycle, AR session and placement on anchors
// It is written against the platform interface only.

#include "content/BodyCatalog.h"
#include "platform/Platform.h"

#include <memory>
#include <optional>
#include <string>

namespace orrery {

/// The body placed on the next anchor; starts at Earth (3). Main thread only.
extern BodyIndex selectedBody;
/// Whether a gesture has just acted on a body; cleared by the next touch end off the buttons.
extern bool gestureHandled;
/// Whether an info label has been attached; never cleared.
extern bool isTextShown;

/// Puts the three process-wide values back to their start values (for tests and simulations
/// that run several controllers in one process).
void resetProcessState();

/// `selectBodyByButtonName`: selects the body a button name stands for; other names change nothing.
void selectBodyByButtonName(const std::string& name);
/// `selectBodyByName`: selects the body with this node name; other names change nothing.
void selectBodyByName(const std::string& name);

/// Always owned through a shared pointer (`make`): the block that places a body on a new anchor
/// holds the controller strongly, so the controller outlives its last other owner until the
/// block has run. The platform must outlive the controller.
class ViewController final : public UIViewController,
                             public ARSCNViewDelegate,
                             public UIGestureRecognizerDelegate,
                             public std::enable_shared_from_this<ViewController> {
public:
    static std::shared_ptr<ViewController> make(Platform& platform);

    // Fields, in declared order.
    std::shared_ptr<ARSCNView> sceneView;
    std::shared_ptr<SCNNode> nodeStarsModel;
    const std::string nodeStarsName = "Stars";
    std::shared_ptr<SCNNode> nodeSunModel;
    const std::string nodeSunName = "Sun";
    std::shared_ptr<SCNNode> nodeMercuryModel;
    const std::string nodeMercuryName = "Mercury";
    std::shared_ptr<SCNNode> nodeVenusModel;
    const std::string nodeVenusName = "Venus";
    std::shared_ptr<SCNNode> nodeEarthModel;
    const std::string nodeEarthName = "Earth";
    std::shared_ptr<SCNNode> nodeEarthNightModel;
    const std::string nodeEarthNightName = "EarthNight";
    std::shared_ptr<SCNNode> nodeMoonModel;
    const std::string nodeMoonName = "Moon";
    std::shared_ptr<SCNNode> nodeMarsModel;
    const std::string nodeMarsName = "Mars";
    std::shared_ptr<SCNNode> nodeCeresModel;
    const std::string nodeCeresName = "Ceres";
    std::shared_ptr<SCNNode> nodeJupiterModel;
    const std::string nodeJupiterName = "Jupiter";
    std::shared_ptr<SCNNode> nodeSaturnModel;
    const std::string nodeSaturnName = "Saturn";
    std::shared_ptr<SCNNode> nodeUranusModel;
    const std::string nodeUranusName = "Uranus";
    std::shared_ptr<SCNNode> nodeNeptuneModel;
    const std::string nodeNeptuneName = "Neptune";
    std::shared_ptr<SCNNode> nodePlutoModel;
    const std::string nodePlutoName = "Pluto";
    std::shared_ptr<SCNNode> nodeHaumeaModel;
    const std::string nodeHaumeaName = "Haumea";
    std::shared_ptr<SCNNode> nodeMakemakeModel;
    const std::string nodeMakemakeName = "Makemake";
    std::shared_ptr<SCNNode> nodeErisModel;
    const std::string nodeErisName = "Eris";
    const float buttonScale = 0.2f;
    const float buttonWidth = 0.4f;
    const float buttonXdistance = 0.1f;
    const float buttonXinitialOffset = 0.05f;
    const float buttonXinitialRotation = 0.7853981f;
    std::shared_ptr<SCNNode> nodeSolarSystemButtonModel;
    const std::string nodeSolarSystemButtonName = "SolarSystemButton";
    std::shared_ptr<SCNNode> nodeHelpButtonModel;
    const std::string nodeHelpButtonName = "HelpButton";
    std::shared_ptr<SCNNode> nodeSunButtonModel;
    const std::string nodeSunButtonName = "SunButton";
    std::shared_ptr<SCNNode> nodeMercuryButtonModel;
    const std::string nodeMercuryButtonName = "MercuryButton";
    std::shared_ptr<SCNNode> nodeVenusButtonModel;
    const std::string nodeVenusButtonName = "VenusButton";
    std::shared_ptr<SCNNode> nodeEarthButtonModel;
    const std::string nodeEarthButtonName = "EarthButton";
    std::shared_ptr<SCNNode> nodeEarthNightButtonModel;
    const std::string nodeEarthNightButtonName = "EarthNightButton";
    std::shared_ptr<SCNNode> nodeMoonButtonModel;
    const std::string nodeMoonButtonName = "MoonButton";
    std::shared_ptr<SCNNode> nodeMarsButtonModel;
    const std::string nodeMarsButtonName = "MarsButton";
    std::shared_ptr<SCNNode> nodeCeresButtonModel;
    const std::string nodeCeresButtonName = "CeresButton";
    std::shared_ptr<SCNNode> nodeJupiterButtonModel;
    const std::string nodeJupiterButtonName = "JupiterButton";
    std::shared_ptr<SCNNode> nodeSaturnButtonModel;
    const std::string nodeSaturnButtonName = "SaturnButton";
    std::shared_ptr<SCNNode> nodeUranusButtonModel;
    const std::string nodeUranusButtonName = "UranusButton";
    std::shared_ptr<SCNNode> nodeNeptuneButtonModel;
    const std::string nodeNeptuneButtonName = "NeptuneButton";
    std::shared_ptr<SCNNode> nodePlutoButtonModel;
    const std::string nodePlutoButtonName = "PlutoButton";
    std::shared_ptr<SCNNode> nodeHaumeaButtonModel;
    const std::string nodeHaumeaButtonName = "HaumeaButton";
    std::shared_ptr<SCNNode> nodeMakemakeButtonModel;
    const std::string nodeMakemakeButtonName = "MakemakeButton";
    std::shared_ptr<SCNNode> nodeErisButtonModel;
    const std::string nodeErisButtonName = "ErisButton";
    std::shared_ptr<SCNNode> textNode;
    const std::string nodeTextName = "planetData";

    // Scene content (content/)
    void viewDidLoad() override;
    void loadBodyModels();
    void loadButtons();
    void showText(const std::string& text);

    // View modes (modes/)
    void pressButton(const std::string& name);
    /// Scale, rotation reset, position, attach to the scene root, keyed endless spin.
    void placeBody(BodyIndex body, float scale, SCNVector3 position);
    void openHelpGuide();

    // Interaction (interaction/)
    std::shared_ptr<SCNNode> sceneHitTest(CGPoint point);
    void touchesEndedWithEvent(const UITouchSet& touches, const UIEvent* event) override;
    std::shared_ptr<SCNNode> findButtonNode(const std::shared_ptr<SCNNode>& node);
    std::shared_ptr<SCNNode> findBodyNode(const std::shared_ptr<SCNNode>& node);
    void didPinch(UIPinchGestureRecognizer& recognizer);
    void didRotate(UIRotationGestureRecognizer& recognizer);
    void didPan(UIPanGestureRecognizer& recognizer);
    void didLongPress(UILongPressGestureRecognizer& recognizer);
    void didDoubleTap(UITapGestureRecognizer& recognizer);
    void showBodyInfo(const std::string& name);

    // Lifecycle, AR session and placement (app/)
    void viewWillAppear(bool animated) override;
    void viewWillDisappear(bool animated) override;
    void didReceiveMemoryWarning() override;
    void sessionDidFailWithError(ARSession& session, const NSError& error) override;
    void sessionWasInterrupted(ARSession& session) override;
    void sessionInterruptionEnded(ARSession& session) override;
    void rendererDidAddNodeForAnchor(ARSCNView& renderer, const std::shared_ptr<SCNNode>& node,
                                     const std::shared_ptr<ARAnchor>& anchor) override;
    void placeSelectedBody(const std::shared_ptr<SCNNode>& anchorNode);

    /// The model handle of a selectable body (Sun 0 to Eris 15).
    std::shared_ptr<SCNNode>& modelFor(BodyIndex body);

private:
    explicit ViewController(Platform& platform);

    Platform& platform_;
};

} // namespace orrery
