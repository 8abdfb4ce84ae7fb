#pragma once
// Reads COLLADA 1.4 model files, as modelling tools export them, into in-memory scenes.

#include "platform/memory/scene/MemoryScene.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace orrery::memory {

/// One thing the loader says about a file: a message and the line of the file it concerns
/// (0 when it concerns the file as a whole, such as a file that cannot be opened).
struct ModelDiagnostic {
    std::size_t line = 0;
    std::string message;
};

/// What loading a model file said about it.
struct ModelReport {
    /// Why the file was refused (set exactly when no scene was returned).
    std::optional<ModelDiagnostic> error;
    /// Each thing left out of a scene that did load, or read in a way the file did not ask for.
    std::vector<ModelDiagnostic> warnings;
    /// Warnings beyond the first hundred, counted but not listed.
    std::size_t unlistedWarnings = 0;
    /// The line of the element each node of the scene was read from (the root has none).
    std::unordered_map<const MemoryNode*, std::size_t> nodeLines;
};

/// How much of a model the loader takes: past a limit the file (or, for vertices, the primitive)
/// is refused, so that hostile input cannot exhaust memory or the stack.
struct ModelLimits {
    std::uintmax_t fileBytes = 256u << 20;
    std::size_t verticesPerMesh = 16u << 20;
    std::size_t nodes = 100000;  ///< nodes of the scene, the extra nodes of further meshes included
    int nodeDepth = 1024;        ///< node nesting, instance_node chains included
};

/// Loads a COLLADA document: the visual scene's nodes with names and transforms, mesh geometry
/// (positions, normals, texture coordinates, triangles, bounds) and materials with texture paths.
/// Returns null for a file that is missing or unreadable, is not well-formed XML, is not a
/// COLLADA document, has no visual scene, or goes beyond the loader's limits (size, node count,
/// nesting, transforms that do not fit in 32-bit floats); never throws. Parts that cannot be
/// read are left out and the rest loads. `report`, when given, receives why the file was refused
/// or what was left out. The scene records no calls
/// until it is given a log (MemoryScene::adoptLog). `limits` bounds what
/// is taken.
std::shared_ptr<MemoryScene> loadColladaFile(const std::filesystem::path& file, ModelReport* report = nullptr,
                                             const ModelLimits& limits = {});

/// The same from bytes in memory; `baseFolder` resolves relative texture paths.
std::shared_ptr<MemoryScene> loadColladaBytes(std::string_view bytes, const std::filesystem::path& baseFolder,
                                              ModelReport* report = nullptr, const ModelLimits& limits = {});

}  // namespace orrery::memory
