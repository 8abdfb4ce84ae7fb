// What a pressed button does: the overview, a single-body view or the help link.

#include "app/ViewController.h"
#include "modes/ViewModes.h"

#include <string>

namespace orrery {

namespace {

void showOverview(ViewController& controller) {
    for (const LayoutEntry& place : OverviewLayout) controller.placeBody(place.body, place.scale, place.position);
    // The overview has no text of its own; it leaves the Sun's facts up.
    controller.showText(std::string(BodyCatalog::sunText));
}

void showSingleBody(ViewController& controller, BodyIndex body, std::string_view text) {
    controller.placeBody(body, singleBodyScale, singleBodyPosition);
    controller.showText(std::string(text));
}

}  // namespace

void ViewController::pressButton(const std::string& name) {
    // Every test is made, even after a match; the texts differ, so at most one acts.
    if (name == "SolarSystemButton") showOverview(*this);
    if (name == "HelpButton") openHelpGuide();
    if (name == "SunButton") showSingleBody(*this, 0, BodyCatalog::sunText);
    if (name == "MercuryButton") showSingleBody(*this, 1, BodyCatalog::mercuryText);
    if (name == "VenusButton") showSingleBody(*this, 2, BodyCatalog::venusText);
    if (name == "EarthButton") showSingleBody(*this, 3, BodyCatalog::earthText);
    if (name == "EarthNightButton") showSingleBody(*this, 4, BodyCatalog::earthText);
    if (name == "MoonButton") showSingleBody(*this, 5, BodyCatalog::moonText);
    if (name == "MarsButton") showSingleBody(*this, 6, BodyCatalog::marsText);
    if (name == "CeresButton") showSingleBody(*this, 7, BodyCatalog::ceresText);
    if (name == "JupiterButton") showSingleBody(*this, 8, BodyCatalog::jupiterText);
    if (name == "SaturnButton") showSingleBody(*this, 9, BodyCatalog::saturnText);
    if (name == "UranusButton") showSingleBody(*this, 10, BodyCatalog::uranusText);
    if (name == "NeptuneButton") showSingleBody(*this, 11, BodyCatalog::neptuneText);
    if (name == "PlutoButton") showSingleBody(*this, 12, BodyCatalog::plutoText);
    if (name == "HaumeaButton") showSingleBody(*this, 13, BodyCatalog::haumeaText);
    if (name == "MakemakeButton") showSingleBody(*this, 14, BodyCatalog::makemakeText);
    if (name == "ErisButton") showSingleBody(*this, 15, BodyCatalog::erisText);
}

}  // namespace orrery
