#include "platform/memory/ColladaLoader.h"

// Placeholder until the reader lands: every file reads as invalid.
namespace orrery::memory {

std::shared_ptr<MemoryScene> loadColladaFile(const std::filesystem::path&, std::shared_ptr<CallLog>) { return nullptr; }

std::shared_ptr<MemoryScene> loadColladaBytes(std::string_view, const std::filesystem::path&, std::shared_ptr<CallLog>) {
    return nullptr;
}

} // namespace orrery::memory
