#pragma once
// The controller's model handle and name fields, reachable by catalogue row.
//
// Row numbers follow BodyCatalog::bodies() (0 Stars, 1 Sun ... 16 Eris) and
// BodyCatalog::buttons() (0 SolarSystem, 1 Help, 2 Sun ... 17 Eris), so loops
// over the catalogue touch the fields in their declared order.

#include "app/ViewController.h"

#include <cstddef>
#include <memory>
#include <string>

namespace orrery {

inline constexpr std::size_t bodyRowCount = 17;
inline constexpr std::size_t buttonRowCount = 18;

std::shared_ptr<SCNNode>& bodyModelField(ViewController& controller, std::size_t row);
const std::string& bodyNameField(const ViewController& controller, std::size_t row);
std::shared_ptr<SCNNode>& buttonModelField(ViewController& controller, std::size_t row);
const std::string& buttonNameField(const ViewController& controller, std::size_t row);

/// The body row of a selectable body number (Sun 0 is row 1; Stars has no number).
constexpr std::size_t bodyRowOf(BodyIndex body) { return static_cast<std::size_t>(body) + 1; }

/// The root node of the scene view's current scene; a missing view, scene or root stops the program.
std::shared_ptr<SCNNode> sceneRootOf(const ViewController& controller);

}  // namespace orrery
