#pragma once
// Loading one model of the catalogue: the body models and the buttons are read the same way.

#include "platform/Fatal.h"
#include "platform/Platform.h"

#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace orrery {

/// Reads the model scene at `assetPath`, keeps its root node in `handle` and names it `name`:
/// `sceneNamed:`, `rootNode`, `setName:`, in that order. A model that does not load stops the
/// program, as the app cannot run without it.
inline std::shared_ptr<SCNNode>& loadModel(Platform& platform, std::string_view assetPath,
                                           std::shared_ptr<SCNNode>& handle, const std::optional<std::string>& name) {
    const std::shared_ptr<SCNScene> scene = platform.sceneNamed(std::string(assetPath));
    if (!scene) stopProgram();
    handle = scene->rootNode();
    if (!handle) stopProgram();
    handle->setName(name);
    return handle;
}

}  // namespace orrery
