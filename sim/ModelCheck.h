#pragma once
// What the simulator says about model files: why one cannot be loaded, what was left out of
// one that loads, and `orrery-sim --check-model` for people who make models.

#include "platform/memory/collada/ColladaLoader.h"

#include <filesystem>
#include <ostream>
#include <string>
#include <vector>

namespace orrery::sim {

/// Writes the loader's verdict on `file`, one line each: "orrery-sim: PATH:LINE: message" when
/// it was refused, "orrery-sim: PATH:LINE: warning: ..." for each thing left out, and a warning
/// for each node that carries a name the app gives its own nodes (`labelName` for the info
/// label, the catalogue's body and button names), which would stand in for them in name lookups.
/// Returns the number of warnings.
std::size_t writeModelDiagnostics(std::ostream& out, const std::filesystem::path& file,
                                  const memory::ModelReport& report, const memory::MemoryScene* scene,
                                  const std::string& labelName);

/// `orrery-sim --check-model FILE...`: for each file, what the loader read (nodes with names
/// and transforms, meshes with triangle counts, materials with textures) on `out` and its
/// diagnostics on `err`. Returns 0 when every file loads, 2 otherwise.
int checkModels(const std::vector<std::string>& files, std::ostream& out, std::ostream& err);

}  // namespace orrery::sim
