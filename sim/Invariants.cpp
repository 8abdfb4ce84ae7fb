#include "sim/Invariants.h"

#include "app/ViewController.h"

#include <algorithm>
#include <set>

namespace orrery::sim {

namespace {

struct TreeWalk {
    std::set<const memory::MemoryNode*> seen;
    std::vector<std::string> broken;

    static std::string nameOf(const memory::MemoryNode& node) { return node.nodeName.value_or("(unnamed)"); }

    void visit(const std::shared_ptr<memory::MemoryNode>& node) {
        if (!seen.insert(node.get()).second) {
            broken.push_back("node " + nameOf(*node) + " appears twice in the scene");
            return;  // its subtree was walked the first time
        }
        std::set<std::string> keys;
        for (const auto& running : node->actions())
            if (running.key && !keys.insert(*running.key).second)
                broken.push_back("node " + nameOf(*node) + " runs two actions under the key " + *running.key);
        for (const auto& child : node->children()) {
            if (child->parent() != node) broken.push_back("node " + nameOf(*child) + " does not name its parent");
            visit(child);
        }
    }
};

}  // namespace

std::vector<std::string> brokenInvariants(Simulator& simulator) {
    std::vector<std::string> broken;
    if (selectedBody > 15) broken.push_back("selectedBody is " + std::to_string(+selectedBody));

    const auto& scene = simulator.platform().view->currentScene;
    if (!scene || !scene->root()) return broken;
    const auto root = scene->root();
    ViewController& controller = simulator.controller();
    TreeWalk walk{{}, {}};
    walk.visit(root);
    broken.insert(broken.end(), walk.broken.begin(), walk.broken.end());

    if (isTextShown) {
        const auto label = controller.textNode ? memory::asMemory(controller.textNode) : nullptr;
        if (!label || label->parent() != root) broken.push_back("the label does not hang under the scene root");
        // Only the root's own children count: a model may name an inner node like the label, and
        // such a node always hangs below the model node the app names.
        const auto labels = std::count_if(root->children().begin(), root->children().end(), [&](const auto& child) {
            return child->nodeName == controller.nodeTextName;
        });
        if (labels != 1)
            broken.push_back(std::to_string(labels) + " children of the root carry the label's name " +
                             controller.nodeTextName);
    }
    return broken;
}

}  // namespace orrery::sim
