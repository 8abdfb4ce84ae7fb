#pragma once
// A controller on the in-memory platform; every model is served from memory as a
// root holding one nameless unit-box mesh, so no asset file is ever read.

#include "app/ViewController.h"
#include "platform/memory/MemoryPlatform.h"
#include "platform/memory/numbers/NumberText.h"
#include "sim/Simulator.h"
#include "platform/memory/scene/MemoryScene.h"

#include "tests/app/ExpectedContent.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

namespace orrery::scenario {

using memory::MemoryNode;
using State = UIGestureRecognizerState;

using Json = nlohmann::json;

/// JSON as text, numbers that are exact 32-bit floats written as floats ("0.2", not "0.20000000298023224").
inline std::string compact(const Json& j) {
    if (j.is_number_float()) {
        char buffer[40];
        const double x = j.get<double>();
        const float f = static_cast<float>(x);
        const auto end = static_cast<double>(f) == x ? numbers::writeNumber(buffer, buffer + 40, f).ptr
                                                     : numbers::writeNumber(buffer, buffer + 40, x).ptr;
        return {buffer, end};
    }
    if (!j.is_array() && !j.is_object()) return j.dump();
    std::string out = j.is_array() ? "[" : "{";
    for (auto it = j.begin(); it != j.end(); ++it) {
        if (it != j.begin()) out += ',';
        if (j.is_object()) out += Json(it.key()).dump() + ':';
        out += compact(*it);
    }
    return out + (j.is_array() ? "]" : "}");
}

/// One platform call as a line: "Earth.setScale: [0.5,0.5,0.5]" (receiver's name, operation, arguments).
inline std::string line(const std::optional<std::string>& target, const std::string& op,
                        const Json& args = Json::array()) {
    // Built by appends: GCC 12 at -O3 warns falsely (-Wrestrict) about chains of string additions.
    std::string text;
    if (target) text.append(*target).append(".");
    text += op;
    if (!args.empty()) {
        const std::string all = compact(args);
        text.append(" ").append(all, 1, all.size() - 2);
    }
    return text;
}
inline std::string line(const memory::PlatformCall& call) { return line(call.target, call.op, call.args); }

inline Json vec(float x, float y, float z) { return Json::array({double(x), double(y), double(z)}); }
inline Json vec(SCNVector3 v) { return vec(v.x, v.y, v.z); }
inline Json rot(float x, float y, float z, float w) {
    return Json::array({double(x), double(y), double(z), double(w)});
}

using Lines = std::vector<std::string>;

inline void append(Lines& to, const Lines& more) { to.insert(to.end(), more.begin(), more.end()); }

inline Lines repeated(const std::string& text, std::size_t times) { return Lines(times, text); }

/// What a hit test at `point` logs, with the one bounding-box option.
inline std::string hitTestLine(CGPoint point) {
    return line(std::nullopt, "hitTest:options:",
                Json::array({Json::array({point.x, point.y}), {{"SCNHitTestBoundingBoxOnlyKey", true}}}));
}

/// What showText logs: the old label out, a new orange "Optima" text node named and posed, attached last.
inline Lines labelLines(std::string_view text, bool replacing) {
    const std::string orange = R"({"alpha":1,"blue":0,"green":0.5,"red":1})";
    Lines out;
    if (replacing) out.push_back("planetData.removeFromParentNode");
    append(out, {"textWithString:extrusionDepth: " + Json(std::string(text)).dump() + ",0.2", "firstMaterial",
                 "diffuse", "setContents: " + orange, "firstMaterial", "specular", "setContents: " + orange,
                 R"(fontWithName:size: "Optima",1)", R"(setFont: {"fontName":"Optima","pointSize":1})",
                 R"(nodeWithGeometry: "SCNText")", R"(setName: "planetData")", "planetData.setScale: [0.1,0.1,0.1]",
                 "planetData.setRotation: [1,0,0,-0.7853981]", "planetData.setPosition: [-0.8,-2.35,-0.95]", "scene",
                 "rootNode", R"(addChildNode: "planetData")"});
    return out;
}

/// An endless spin as the log writes it.
inline Json spinAction(const expected::Spin& spin) {
    return Json{{"type", "repeatForever"},
                {"action",
                 {{"type", "rotateBy"},
                  {"x", 0.0},
                  {"y", spin.sense * 6.283185307179586},
                  {"z", 0.0},
                  {"duration", spin.period}}}};
}

inline const expected::Spin& spinOf(std::string_view body) {
    for (const auto& spin : expected::spins)
        if (spin.body == body) return spin;
    throw std::runtime_error("no spin for " + std::string(body));
}

/// What placing a body logs: scale, rotation reset, position, attach to the scene root, keyed spin.
inline Lines placeLines(std::string_view body, float scale, SCNVector3 position) {
    const std::string name(body);
    const expected::Spin& spin = spinOf(body);
    return {line(name, "setScale:", Json::array({vec(scale, scale, scale)})),
            line(name, "setRotation:", Json::array({rot(0, 1, 0, 0)})),
            line(name, "setPosition:", Json::array({vec(position)})),
            "scene",
            "rootNode",
            line(std::nullopt, "addChildNode:", Json::array({name})),
            line(name, "runAction:forKey:", Json::array({spinAction(spin), std::string(spin.key)}))};
}

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
    /// The simulator's harness, attached but not started: each test drives the lifecycle.
    sim::Simulator simulator{emptyAssetParent()};
    memory::MemoryPlatform& platform = simulator.platform();
    ViewController& controller = simulator.controller();

    void SetUp() override {
        for (const BodyEntry& row : BodyCatalog::bodies())
            platform.preparedScenes[std::string(row.assetPath)] = unitBoxScene(platform.log);
        for (const ButtonEntry& row : BodyCatalog::buttons())
            platform.preparedScenes[std::string(row.assetPath)] = unitBoxScene(platform.log);
        platform.modelReportObserver = nullptr;  // the platform stays silent, as on the device
        simulator.attach();
    }

    /// The calls since the last look, one line each.
    Lines newLines() {
        Lines out;
        for (const auto& call : platform.log->takeNew()) out.push_back(line(call));
        return out;
    }

    std::shared_ptr<MemoryNode> root() const { return platform.view->currentScene->root(); }
    static std::shared_ptr<MemoryNode> mem(const std::shared_ptr<SCNNode>& node) { return memory::asMemory(node); }
    static std::shared_ptr<MemoryNode> meshOf(const std::shared_ptr<SCNNode>& model) {
        return mem(model)->children().at(0);
    }

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
        auto text = label ? std::dynamic_pointer_cast<memory::MemoryTextGeometry>(label->nodeGeometry()) : nullptr;
        return text ? text->string : "<no label>";
    }
    static std::vector<std::string> actionKeys(const std::shared_ptr<SCNNode>& node) {
        std::vector<std::string> keys;
        for (const auto& a : mem(node)->actions()) keys.push_back(a.key.value_or("<none>"));
        return keys;
    }

    memory::MemoryRecognizerBase& recognizer(const std::string& action) {
        if (auto* found = platform.recognizer(action)) return *found;
        throw std::runtime_error("no recogniser for " + action);
    }

    void prepareHit(const std::shared_ptr<SCNNode>& node) {
        platform.view->prepareSceneHits(node ? std::vector<std::shared_ptr<SCNNode>>{node}
                                             : std::vector<std::shared_ptr<SCNNode>>{});
    }
    void prepareHits(std::vector<std::shared_ptr<SCNNode>> nearestFirst) {
        platform.view->prepareSceneHits(std::move(nearestFirst));
    }
    /// A finger lifted over `node`, or over nothing.
    void touchEnd(const std::shared_ptr<SCNNode>& node) {
        prepareHit(node);
        platform.endTouch(controller, CGPoint{195, 422});
    }
    /// A touch off the buttons over a detected feature point with world transform `w`.
    void touchFeaturePoint(const simd_float4x4& w, const std::shared_ptr<SCNNode>& under = nullptr) {
        platform.view->prepareFeatureHits({w});
        touchEnd(under);
    }
    /// One action call of a recogniser in `state`, its point over `node`.
    void gesture(const std::string& action, State state, const std::shared_ptr<SCNNode>& node) {
        prepareHit(node);
        send(action, state);
    }
    /// One action call with several nodes under the point, nearest first.
    void gestureOverHits(const std::string& action, State state, std::vector<std::shared_ptr<SCNNode>> nearestFirst) {
        prepareHits(std::move(nearestFirst));
        send(action, state);
    }
    void send(const std::string& action, State state) {
        auto& r = recognizer(action);
        r.record.state = state;
        r.sendAction();
    }
};

}  // namespace orrery::scenario
