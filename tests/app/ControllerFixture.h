#pragma once
// A controller on the in-memory platform with every model served from memory:
// each model is a named-later root holding one nameless unit-box mesh.

#include "app/ViewController.h"
#include "content/BodyCatalog.h"
#include "platform/memory/MemoryPlatform.h"
#include "platform/memory/MemoryScene.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

namespace orrery::scenario {

using memory::MemoryNode;

/// An empty folder standing in for the asset parent, so no real model file is ever read.
inline std::filesystem::path emptyAssetParent() {
    const auto dir = std::filesystem::temp_directory_path() / "orrery-controller-tests-no-assets";
    std::filesystem::create_directories(dir);
    return dir;
}

/// A model scene: root with one nameless child carrying a unit box mesh.
inline memory::SceneFactory unitBoxScene(std::shared_ptr<memory::CallLog> log) {
    return [log] {
        auto root = MemoryNode::make(log);
        auto mesh = MemoryNode::make(log);
        auto geometry = std::make_shared<memory::MemoryMeshGeometry>(log);
        geometry->bounds = {{-0.5f, -0.5f, -0.5f}, {0.5f, 0.5f, 0.5f}};
        mesh->nodeGeometry = geometry;
        root->appendChild(mesh);
        return std::make_shared<memory::MemoryScene>(log, root);
    };
}

/// Serves every catalogue path except those in `missing`.
inline void prepareCatalogScenes(memory::MemoryPlatform& platform, const std::vector<std::string>& missing = {}) {
    auto wanted = [&missing](std::string_view path) {
        for (const auto& m : missing)
            if (m == path) return false;
        return true;
    };
    for (const BodyEntry& row : BodyCatalog::bodies())
        if (wanted(row.assetPath)) platform.preparedScenes[std::string(row.assetPath)] = unitBoxScene(platform.log);
    for (const ButtonEntry& row : BodyCatalog::buttons())
        if (wanted(row.assetPath)) platform.preparedScenes[std::string(row.assetPath)] = unitBoxScene(platform.log);
}

class ControllerTest : public ::testing::Test {
protected:
    memory::MemoryPlatform platform{emptyAssetParent()};
    ViewController controller{platform};

    void SetUp() override {
        resetProcessState();
        prepareCatalogScenes(platform);
        controller.sceneView = platform.view;
    }

    /// The start scene, as the view-loaded event builds it.
    void load() { controller.viewDidLoad(); }

    std::shared_ptr<MemoryNode> root() const { return platform.view->currentScene->root(); }

    static std::shared_ptr<MemoryNode> mem(const std::shared_ptr<SCNNode>& node) { return memory::asMemory(node); }

    /// The nameless mesh inside a loaded model.
    static std::shared_ptr<MemoryNode> meshOf(const std::shared_ptr<SCNNode>& model) {
        const auto& children = mem(model)->children();
        EXPECT_FALSE(children.empty());
        return children.empty() ? nullptr : children.front();
    }

    std::vector<std::string> rootChildNames() const {
        std::vector<std::string> names;
        for (const auto& child : root()->children()) names.push_back(child->nodeName.value_or("<none>"));
        return names;
    }

    /// How many children of the scene root carry `name`.
    std::size_t countInRoot(const std::string& name) const {
        std::size_t n = 0;
        for (const auto& child : root()->children()) n += child->nodeName == name ? 1 : 0;
        return n;
    }

    /// The string the current label shows.
    std::string labelText() const {
        auto label = root()->findNamed("planetData");
        if (!label) return "<no label>";
        auto text = std::dynamic_pointer_cast<memory::MemoryTextGeometry>(label->nodeGeometry);
        return text ? text->string : "<no text>";
    }

    /// The recogniser the controller attached with this action ("didPinch:").
    memory::MemoryRecognizerBase& recognizer(const std::string& action) {
        for (const auto& r : platform.view->gestureRecognizers) {
            auto* base = dynamic_cast<memory::MemoryRecognizerBase*>(r.get());
            if (base && base->record.action.name == action) return *base;
        }
        ADD_FAILURE() << "no recogniser for " << action;
        throw std::runtime_error("missing recogniser");
    }

    /// A finger lifted over `node` (the scene hit test answers it), or over nothing.
    void touchEnd(const std::shared_ptr<SCNNode>& node, CGPoint point = {195, 422}) {
        platform.view->prepareSceneHits(node ? std::vector<std::shared_ptr<SCNNode>>{node}
                                             : std::vector<std::shared_ptr<SCNNode>>{});
        memory::MemoryEvent event;
        controller.touchesEndedWithEvent({std::make_shared<memory::MemoryTouch>(platform.log, point)}, &event);
    }

    /// One action call of a recogniser with its state, its point over `node`.
    void gesture(const std::string& action, UIGestureRecognizerState state, const std::shared_ptr<SCNNode>& node) {
        auto& r = recognizer(action);
        r.record.state = state;
        platform.view->prepareSceneHits(node ? std::vector<std::shared_ptr<SCNNode>>{node}
                                             : std::vector<std::shared_ptr<SCNNode>>{});
        r.sendAction();
    }

    /// The keys of the actions running on a node.
    static std::vector<std::string> actionKeys(const std::shared_ptr<SCNNode>& node) {
        std::vector<std::string> keys;
        for (const auto& a : mem(node)->actions()) keys.push_back(a.key.value_or("<none>"));
        return keys;
    }
};

} // namespace orrery::scenario
