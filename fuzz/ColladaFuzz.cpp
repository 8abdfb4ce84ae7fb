// The COLLADA reader on arbitrary bytes: it must return a scene or null, never crash, and a
// scene it returns must be usable (walked, measured, cloned).

#include "fuzz/FuzzCheck.h"
#include "platform/memory/collada/ColladaLoader.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

using namespace orrery;

namespace {

std::size_t walk(const memory::MemoryNode& node, int depth) {
    fuzz::check(depth < 100000, "the node tree is deeper than the document");
    (void)node.worldTransform();
    if (const auto* mesh = dynamic_cast<const memory::MemoryMeshGeometry*>(node.nodeGeometry().get()))
        (void)mesh->bounds;
    std::size_t count = 1;
    for (const auto& child : node.children()) {
        fuzz::check(child->parent().get() == &node, "a child does not name its parent");
        count += walk(*child, depth + 1);
    }
    return count;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    auto scene = memory::loadColladaBytes(bytes, "/nonexistent-fuzz-folder");
    if (!scene || !scene->root()) return 0;
    const std::size_t nodes = walk(*scene->root(), 0);
    fuzz::check(nodes <= size + 1, "more nodes than bytes");
    auto copy = memory::asMemory(scene->root()->clone());
    fuzz::check(copy && walk(*copy, 0) == nodes, "a clone has another number of nodes");
    return 0;
}
