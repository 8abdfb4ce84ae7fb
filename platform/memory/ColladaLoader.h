#pragma once
// Reads COLLADA 1.4.1 model files into in-memory scenes.

#include "platform/memory/CallLog.h"
#include "platform/memory/MemoryScene.h"

#include <filesystem>
#include <memory>
#include <string_view>

namespace orrery::memory {

/// Loads a COLLADA document: the visual scene's nodes with names, transforms, mesh geometry
/// (positions, normals, texture coordinates, triangles, bounds) and materials with texture paths.
/// Returns null for a missing, unreadable or invalid file; never throws.
/// Calls on the returned nodes are recorded in `log`.
std::shared_ptr<MemoryScene> loadColladaFile(const std::filesystem::path& file, std::shared_ptr<CallLog> log = nullptr);

/// The same from bytes in memory; `baseFolder` resolves relative texture paths.
std::shared_ptr<MemoryScene> loadColladaBytes(std::string_view bytes, const std::filesystem::path& baseFolder,
                                              std::shared_ptr<CallLog> log = nullptr);

} // namespace orrery::memory
