#include "app/ControllerFields.h"

#include "platform/Fatal.h"

#include <array>

namespace orrery {

namespace {

using Handle = std::shared_ptr<SCNNode> ViewController::*;
using Name = const std::string ViewController::*;

constexpr std::array<Handle, bodyRowCount> bodyHandles{
    &ViewController::nodeStarsModel,    &ViewController::nodeSunModel,    &ViewController::nodeMercuryModel,
    &ViewController::nodeVenusModel,    &ViewController::nodeEarthModel,  &ViewController::nodeEarthNightModel,
    &ViewController::nodeMoonModel,     &ViewController::nodeMarsModel,   &ViewController::nodeCeresModel,
    &ViewController::nodeJupiterModel,  &ViewController::nodeSaturnModel, &ViewController::nodeUranusModel,
    &ViewController::nodeNeptuneModel,  &ViewController::nodePlutoModel,  &ViewController::nodeHaumeaModel,
    &ViewController::nodeMakemakeModel, &ViewController::nodeErisModel,
};

constexpr std::array<Name, bodyRowCount> bodyNames{
    &ViewController::nodeStarsName,    &ViewController::nodeSunName,    &ViewController::nodeMercuryName,
    &ViewController::nodeVenusName,    &ViewController::nodeEarthName,  &ViewController::nodeEarthNightName,
    &ViewController::nodeMoonName,     &ViewController::nodeMarsName,   &ViewController::nodeCeresName,
    &ViewController::nodeJupiterName,  &ViewController::nodeSaturnName, &ViewController::nodeUranusName,
    &ViewController::nodeNeptuneName,  &ViewController::nodePlutoName,  &ViewController::nodeHaumeaName,
    &ViewController::nodeMakemakeName, &ViewController::nodeErisName,
};

constexpr std::array<Handle, buttonRowCount> buttonHandles{
    &ViewController::nodeSolarSystemButtonModel, &ViewController::nodeHelpButtonModel,
    &ViewController::nodeSunButtonModel,         &ViewController::nodeMercuryButtonModel,
    &ViewController::nodeVenusButtonModel,       &ViewController::nodeEarthButtonModel,
    &ViewController::nodeEarthNightButtonModel,  &ViewController::nodeMoonButtonModel,
    &ViewController::nodeMarsButtonModel,        &ViewController::nodeCeresButtonModel,
    &ViewController::nodeJupiterButtonModel,     &ViewController::nodeSaturnButtonModel,
    &ViewController::nodeUranusButtonModel,      &ViewController::nodeNeptuneButtonModel,
    &ViewController::nodePlutoButtonModel,       &ViewController::nodeHaumeaButtonModel,
    &ViewController::nodeMakemakeButtonModel,    &ViewController::nodeErisButtonModel,
};

constexpr std::array<Name, buttonRowCount> buttonNames{
    &ViewController::nodeSolarSystemButtonName, &ViewController::nodeHelpButtonName,
    &ViewController::nodeSunButtonName,         &ViewController::nodeMercuryButtonName,
    &ViewController::nodeVenusButtonName,       &ViewController::nodeEarthButtonName,
    &ViewController::nodeEarthNightButtonName,  &ViewController::nodeMoonButtonName,
    &ViewController::nodeMarsButtonName,        &ViewController::nodeCeresButtonName,
    &ViewController::nodeJupiterButtonName,     &ViewController::nodeSaturnButtonName,
    &ViewController::nodeUranusButtonName,      &ViewController::nodeNeptuneButtonName,
    &ViewController::nodePlutoButtonName,       &ViewController::nodeHaumeaButtonName,
    &ViewController::nodeMakemakeButtonName,    &ViewController::nodeErisButtonName,
};

}  // namespace

std::shared_ptr<SCNNode>& bodyModelField(ViewController& controller, std::size_t row) {
    if (row >= bodyRowCount) stopProgram();
    return controller.*bodyHandles[row];
}

const std::string& bodyNameField(const ViewController& controller, std::size_t row) {
    if (row >= bodyRowCount) stopProgram();
    return controller.*bodyNames[row];
}

std::shared_ptr<SCNNode>& buttonModelField(ViewController& controller, std::size_t row) {
    if (row >= buttonRowCount) stopProgram();
    return controller.*buttonHandles[row];
}

const std::string& buttonNameField(const ViewController& controller, std::size_t row) {
    if (row >= buttonRowCount) stopProgram();
    return controller.*buttonNames[row];
}

std::shared_ptr<SCNNode> sceneRootOf(const ViewController& controller) {
    if (!controller.sceneView) stopProgram();
    std::shared_ptr<SCNScene> scene = controller.sceneView->scene();
    if (!scene) stopProgram();
    std::shared_ptr<SCNNode> root = scene->rootNode();
    if (!root) stopProgram();
    return root;
}

}  // namespace orrery
