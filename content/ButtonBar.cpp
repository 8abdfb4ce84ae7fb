// The button bar: 18 buttons in three rows, two metres below and ahead of the start.

#include "app/ViewController.h"
#include "app/ControllerFields.h"
#include "content/ModelLoading.h"

#include <array>
#include <string>

namespace orrery {

namespace {

// Literal positions in catalogue order. Help stands left of SolarSystem on the near row.
constexpr std::array<SCNVector3, buttonRowCount> buttonPositions{{
    {-1.25f, -2, -1.3f},  // SolarSystemButton
    {-1.75f, -2, -1.3f},  // HelpButton
    {-1.75f, -2, -2},     // SunButton
    {-1.25f, -2, -2},     // MercuryButton
    {-0.75f, -2, -2},     // VenusButton
    {-0.25f, -2, -2},     // EarthButton
    {0.25f, -2, -2},      // EarthNightButton
    {0.75f, -2, -2},      // MoonButton
    {1.25f, -2, -2},      // MarsButton
    {1.75f, -2, -2},      // CeresButton
    {-1.75f, -2, -2.7f},  // JupiterButton
    {-1.25f, -2, -2.7f},  // SaturnButton
    {-0.75f, -2, -2.7f},  // UranusButton
    {-0.25f, -2, -2.7f},  // NeptuneButton
    {0.25f, -2, -2.7f},   // PlutoButton
    {0.75f, -2, -2.7f},   // HaumeaButton
    {1.25f, -2, -2.7f},   // MakemakeButton
    {1.75f, -2, -2.7f},   // ErisButton
}};

}  // namespace

void ViewController::loadButtons() {
    const auto rows = BodyCatalog::buttons();
    for (std::size_t row = 0; row < rows.size(); ++row) {
        std::shared_ptr<SCNNode>& handle =
            loadModel(platform_, rows[row].assetPath, buttonModelField(*this, row), buttonNameField(*this, row));
        handle->setScale({0.2f, 0.2f, 0.2f});
        handle->setRotation({1, 0, 0, 0.7853981f});
        handle->setPosition(buttonPositions[row]);
        sceneRootOf(*this)->addChildNode(handle);
    }
}

}  // namespace orrery
