// The info label: one orange 3D text block, replaced on every call.

#include "app/ViewController.h"
#include "app/ControllerFields.h"
#include "platform/Fatal.h"

namespace orrery {

void ViewController::showText(const std::string& text) {
    if (isTextShown) {
        if (!textNode) stopProgram();
        textNode->removeFromParentNode();
    }
    std::shared_ptr<SCNText> geometry = platform_.textWithStringExtrusionDepth(text, 0.2);
    if (!geometry) stopProgram();
    // The first material is asked for separately for each colour; a geometry without one stays uncoloured.
    if (std::shared_ptr<SCNMaterial> material = geometry->firstMaterial()) {
        std::shared_ptr<SCNMaterialProperty> diffuse = material->diffuse();
        if (!diffuse) stopProgram();
        diffuse->setContents(UIColor::orangeColor());
    }
    if (std::shared_ptr<SCNMaterial> material = geometry->firstMaterial()) {
        std::shared_ptr<SCNMaterialProperty> specular = material->specular();
        if (!specular) stopProgram();
        specular->setContents(UIColor::orangeColor());
    }
    // A missing font is set as nothing, which keeps the platform's default text font.
    geometry->setFont(platform_.fontWithNameSize("Optima", 1.0));

    textNode = platform_.nodeWithGeometry(geometry);
    if (!textNode) stopProgram();
    textNode->setName(nodeTextName);
    textNode->setScale({0.1f, 0.1f, 0.1f});
    textNode->setRotation({1, 0, 0, -0.7853981f});
    textNode->setPosition({-0.8f, -2.35f, -0.95f});
    isTextShown = true;
    sceneRootOf(*this)->addChildNode(textNode);
}

}  // namespace orrery
