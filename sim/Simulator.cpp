#include "sim/Simulator.h"

#include "sim/ModelCheck.h"
#include "platform/memory/scene/SceneIndex.h"
#include "sim/Quoting.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <iostream>
#include <limits>

namespace orrery::sim {

using memory::MemoryNode;

namespace {

SCNVector3 transformPoint(const simd_float4x4& m, SCNVector3 p) {
    const auto& c = m.columns;
    return {c[0][0] * p.x + c[1][0] * p.y + c[2][0] * p.z + c[3][0],
            c[0][1] * p.x + c[1][1] * p.y + c[2][1] * p.z + c[3][1],
            c[0][2] * p.x + c[1][2] * p.y + c[2][2] * p.z + c[3][2]};
}

struct Box {
    bool empty = true;
    SCNBoundingBox bounds;
    void add(const SCNBoundingBox& b) {
        if (empty) {
            bounds = b;
            empty = false;
            return;
        }
        bounds = {{std::min(bounds.min.x, b.min.x), std::min(bounds.min.y, b.min.y), std::min(bounds.min.z, b.min.z)},
                  {std::max(bounds.max.x, b.max.x), std::max(bounds.max.y, b.max.y), std::max(bounds.max.z, b.max.z)}};
    }
};

SCNBoundingBox geometryBounds(const SCNGeometry& geometry) {
    // Mesh bounds are read directly so that resolving a point leaves no call in the log.
    if (const auto* mesh = dynamic_cast<const memory::MemoryMeshGeometry*>(&geometry)) return mesh->bounds;
    return geometry.boundingBox();
}

/// Bounds of `node`'s subtree geometry in the space that `toReference` maps the node into.
void addSubtreeBounds(const MemoryNode& node, const simd_float4x4& toReference, Box& box) {
    if (node.nodeGeometry()) box.add(memory::transformedBox(toReference, geometryBounds(*node.nodeGeometry())));
    for (const auto& child : node.children())
        addSubtreeBounds(*child, simd_mul(toReference, child->localTransform()), box);
}

std::shared_ptr<MemoryNode> firstWithGeometry(const std::shared_ptr<MemoryNode>& node) {
    if (node->nodeGeometry()) return node;
    for (const auto& child : node->children())
        if (auto found = firstWithGeometry(child)) return found;
    return nullptr;
}

std::string formatPoint(CGPoint p) {
    char buf[96];
    std::snprintf(buf, sizeof buf, "(%.1f, %.1f)", p.x, p.y);
    return buf;
}

}  // namespace

Simulator::Simulator(const std::filesystem::path& assetParent)
    : platform_(assetParent), controllerOwner_(ViewController::make(platform_)), controller_(*controllerOwner_) {
    platform_.modelReportObserver = [this](const std::filesystem::path& file, const memory::ModelReport& report,
                                           const memory::MemoryScene* scene) {
        writeModelDiagnostics(std::cerr, file, report, scene, controller_.nodeTextName);
    };
}

void Simulator::attach() {
    resetProcessState();
    controller_.sceneView = platform_.view;
    platform_.hostViewController(controller_);
}

void Simulator::start() {
    attach();
    controller_.viewDidLoad();
    controller_.viewWillAppear(false);
    platform_.runFrame();
}

std::shared_ptr<MemoryNode> Simulator::findNode(const std::string& name, bool includeDetached) {
    const auto& scene = platform_.view->currentScene;
    if (scene && scene->root())
        if (auto found = scene->root()->findNamed(name)) return found;
    if (!includeDetached) return nullptr;
    // Models that a long press took out of the scene are still held by the controller.
    std::vector<std::shared_ptr<SCNNode>> models{controller_.nodeStarsModel};
    for (int i = 0; i < 16; ++i) models.push_back(controller_.modelFor(static_cast<BodyIndex>(i)));
    for (const auto& model : models)
        if (model)
            if (auto found = memory::asMemory(model)->findNamed(name)) return found;
    return nullptr;
}

std::shared_ptr<SCNNode> Simulator::resolveTarget(const TargetArg& target, std::size_t line) {
    auto node = findNode(target.nodeName, true);
    if (!node) throw ScenarioError(line, "no node named " + quotedWord(target.nodeName));
    if (!target.mesh) return node;
    auto mesh = firstWithGeometry(node);
    if (!mesh)
        throw ScenarioError(line,
                            "node " + quotedWord(target.nodeName) + " has no geometry-carrying node in its subtree");
    return mesh;
}

CGPoint Simulator::resolvePoint(const PointArg& point, std::size_t line) {
    if (point.literal) return *point.literal;
    auto node = findNode(point.nodeName, false);
    if (!node) throw ScenarioError(line, "no node named " + quotedWord(point.nodeName) + " is in the scene");
    Box box;
    addSubtreeBounds(*node, matrix_identity_float4x4(), box);
    const SCNBoundingBox& b = box.bounds;
    SCNVector3 centre = box.empty
                            ? SCNVector3{}
                            : SCNVector3{(b.min.x + b.max.x) / 2, (b.min.y + b.max.y) / 2, (b.min.z + b.max.z) / 2};
    SCNVector3 world = transformPoint(node->worldTransform(), centre);
    const auto& camera = platform_.view->camera;
    auto screen = camera.project(world);
    if (!screen) throw ScenarioError(line, "node " + quotedWord(point.nodeName) + " is off screen (behind the camera)");
    if (!camera.onScreen(*screen))
        throw ScenarioError(line, "node " + quotedWord(point.nodeName) + " is off screen (its centre projects to " +
                                      formatPoint(*screen) + ")");
    return *screen;
}

memory::MemoryRecognizerBase& Simulator::recognizer(const char* type, std::size_t line) {
    if (auto* found = platform_.recognizer(type)) return *found;
    throw ScenarioError(line, std::string("no ") + type + " is attached to the view");
}

void Simulator::gesture(const char* type, const Command& command, double value, double value2) {
    auto& r = recognizer(type, command.line);
    CGPoint at = resolvePoint(*command.point, command.line);
    auto& record = r.record;
    record.state = command.state.value_or(UIGestureRecognizerState::ended);
    record.location = at;
    switch (command.verb) {
    case Verb::pinch: record.scale = value; break;
    case Verb::rotate: record.rotation = value; break;
    case Verb::pan: record.translation = CGPoint{value, value2}; break;
    default: break;
    }
    r.sendAction();
}

Output Simulator::run(const Command& command) {
    Output out;
    auto& view = *platform_.view;
    switch (command.verb) {
    case Verb::appear: controller_.viewWillAppear(false); break;
    case Verb::disappear: controller_.viewWillDisappear(false); break;
    case Verb::memorywarning: controller_.didReceiveMemoryWarning(); break;
    case Verb::camera:
        view.camera.position = {static_cast<float>(command.numbers[0]), static_cast<float>(command.numbers[1]),
                                static_cast<float>(command.numbers[2])};
        view.camera.yaw = static_cast<float>(command.numbers[3]);
        view.camera.pitch = static_cast<float>(command.numbers[4]);
        break;
    case Verb::frame:
        for (unsigned long i = 0; i < command.frames; ++i) platform_.runFrame();
        break;
    case Verb::advance: platform_.advance(command.numbers[0]); break;
    case Verb::hits: {
        std::vector<std::shared_ptr<SCNNode>> nodes;
        for (const auto& target : command.targets) nodes.push_back(resolveTarget(target, command.line));
        view.prepareSceneHits(std::move(nodes));
        break;
    }
    case Verb::features: {
        std::vector<simd_float4x4> transforms;
        for (const auto& p : command.featurePoints) transforms.push_back(makeTranslation(p));
        view.prepareFeatureHits(std::move(transforms));
        break;
    }
    case Verb::touch: {
        platform_.endTouch(controller_, resolvePoint(*command.point, command.line));
        break;
    }
    case Verb::press: controller_.pressButton(command.name); break;
    case Verb::pinch: gesture("UIPinchGestureRecognizer", command, command.numbers[0]); break;
    case Verb::rotate: gesture("UIRotationGestureRecognizer", command, command.numbers[0]); break;
    case Verb::pan: gesture("UIPanGestureRecognizer", command, command.numbers[0], command.numbers[1]); break;
    case Verb::longpress: gesture("UILongPressGestureRecognizer", command); break;
    case Verb::doubletap: gesture("UITapGestureRecognizer", command); break;
    case Verb::dump:
        out.kind = Output::Kind::dump;
        out.state = state();
        break;
    case Verb::calls:
        out.kind = Output::Kind::calls;
        out.droppedCalls = platform_.log->droppedUnread();
        out.calls = platform_.log->takeNew();
        break;
    case Verb::snapshot: snapshot(command.name, command.width, command.height, command.line); break;
    }
    return out;
}

void Simulator::snapshot(const std::string& path, int width, int height, std::size_t line) {
    const CGSize screen = platform_.view->camera.viewport;
    if (width == 0 || height == 0) {
        width = static_cast<int>(std::lround(screen.width));
        height = static_cast<int>(std::lround(screen.height));
    }
    if (!snapshotHook) throw ScenarioError(line, "snapshot: this program draws no pictures");
    try {
        snapshotHook(platform_.view->frame(), path, width, height);
    } catch (const std::runtime_error& error) {
        throw ScenarioError(line, std::string("snapshot: ") + error.what());
    }
}

Json Simulator::state() {
    return stateJson(platform_, AppFlags{static_cast<int>(selectedBody), gestureHandled, isTextShown});
}

std::string Simulator::bodyName(int index) {
    if (index < 0 || index > 15) return {};
    const auto& model = controller_.modelFor(static_cast<BodyIndex>(index));
    return model ? memory::asMemory(model)->nodeName.value_or("") : std::string{};
}

}  // namespace orrery::sim
