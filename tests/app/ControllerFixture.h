#pragma once
// A controller on the in-memory platform; every model is served from memory as a
// root holding one nameless unit-box mesh, so no asset file is ever read.

#include "app/ViewController.h"
#include "platform/memory/MemoryPlatform.h"
#include "platform/memory/MemoryScene.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

namespace orrery::scenario {

using memory::MemoryNode;
using State = UIGestureRecognizerState;

inline std::filesystem::path emptyAssetParent() {
    const auto dir = std::filesystem::temp_directory_path() / "orrery-controller-tests-no-assets";
    std::filesystem::create_directories(dir);
    return dir;
}

inline memory::SceneFactory unitBoxScene(std::shared_ptr<memory::CallLog> log) {
    return [log] {
        auto root = MemoryNode::make(log), mesh = MemoryNode::make(log);
        auto geometry = std::make_shared<memory::MemoryMeshGeometry>(log);
        geometry->bounds = {{-0.5f, -0.5f, -0.5f}, {0.5f, 0.5f, 0.5f}};
        mesh->assignGeometry(geometry);
        root->appendChild(mesh);
        return std::make_shared<memory::MemoryScene>(log, root);
    };
}

class ControllerTest : public ::testing::Test {
protected:
    memory::MemoryPlatform platform{emptyAssetParent()};
    std::shared_ptr<ViewController> owner = ViewController::make(platform);
    ViewController& controller = *owner;

    void SetUp() override {
        resetProcessState();
        for (const BodyEntry& row : BodyCatalog::bodies())
            platform.preparedScenes[std::string(row.assetPath)] = unitBoxScene(platform.log);
        for (const ButtonEntry& row : BodyCatalog::buttons())
            platform.preparedScenes[std::string(row.assetPath)] = unitBoxScene(platform.log);
        controller.sceneView = platform.view;
        platform.hostViewController(controller);
    }

    std::shared_ptr<MemoryNode> root() const { return platform.view->currentScene->root(); }
    static std::shared_ptr<MemoryNode> mem(const std::shared_ptr<SCNNode>& node) { return memory::asMemory(node); }
    static std::shared_ptr<MemoryNode> meshOf(const std::shared_ptr<SCNNode>& model) { return mem(model)->children().at(0); }

    std::vector<std::string> rootChildNames() const {
        std::vector<std::string> names;
        for (const auto& child : root()->children()) names.push_back(child->nodeName.value_or("<none>"));
        return names;
    }
    std::size_t countInRoot(const std::string& name) const {
        std::size_t n = 0;
        for (const auto& child : root()->children()) n += child->nodeName == name ? 1 : 0;
        return n;
    }
    std::string labelText() const {
        auto label = root()->findNamed("planetData");
        auto text = label ? std::dynamic_pointer_cast<memory::MemoryTextGeometry>(label->nodeGeometry) : nullptr;
        return text ? text->string : "<no label>";
    }
    static std::vector<std::string> actionKeys(const std::shared_ptr<SCNNode>& node) {
        std::vector<std::string> keys;
        for (const auto& a : mem(node)->actions()) keys.push_back(a.key.value_or("<none>"));
        return keys;
    }

    memory::MemoryRecognizerBase& recognizer(const std::string& action) {
        for (const auto& r : platform.view->gestureRecognizers) {
            auto* base = dynamic_cast<memory::MemoryRecognizerBase*>(r.get());
            if (base && base->record.action.name == action) return *base;
        }
        throw std::runtime_error("no recogniser for " + action);
    }

    void prepareHit(const std::shared_ptr<SCNNode>& node) {
        platform.view->prepareSceneHits(node ? std::vector<std::shared_ptr<SCNNode>>{node}
                                             : std::vector<std::shared_ptr<SCNNode>>{});
    }
    /// A finger lifted over `node`, or over nothing.
    void touchEnd(const std::shared_ptr<SCNNode>& node) {
        prepareHit(node);
        memory::MemoryEvent event;
        controller.touchesEndedWithEvent({std::make_shared<memory::MemoryTouch>(platform.log, CGPoint{195, 422})}, &event);
    }
    /// A touch off the buttons over a detected feature point with world transform `w`.
    void touchFeaturePoint(const simd_float4x4& w, const std::shared_ptr<SCNNode>& under = nullptr) {
        platform.view->prepareFeatureHits({w});
        touchEnd(under);
    }
    /// One action call of a recogniser in `state`, its point over `node`.
    void gesture(const std::string& action, State state, const std::shared_ptr<SCNNode>& node) {
        auto& r = recognizer(action);
        r.record.state = state;
        prepareHit(node);
        r.sendAction();
    }
};

} // namespace orrery::scenario
