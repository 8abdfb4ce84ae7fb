#include "sim/StateDump.h"

#include <charconv>
#include <cmath>
#include <cstdlib>

namespace orrery::sim {

using memory::MemoryNode;

namespace {

Json nonFiniteJson(double value) { return std::isnan(value) ? "nan" : value > 0 ? "inf" : "-inf"; }

} // namespace

Json doubleJson(double value) { return std::isfinite(value) ? Json(value) : nonFiniteJson(value); }

Json floatJson(float value) {
    if (!std::isfinite(value)) return nonFiniteJson(value);
    // The shortest float text, held as the double it names: that double prints as the same text.
    char buf[64];
    auto [end, ec] = std::to_chars(buf, buf + sizeof buf - 1, value);
    if (ec != std::errc()) return static_cast<double>(value);
    *end = '\0';
    return std::strtod(buf, nullptr);
}

Json vectorJson(SCNVector3 v) { return Json::array({floatJson(v.x), floatJson(v.y), floatJson(v.z)}); }

Json rotationJson(SCNVector4 v) {
    return Json::array({floatJson(v.x), floatJson(v.y), floatJson(v.z), floatJson(v.w)});
}

Json matrixJson(const simd_float4x4& m) {
    Json out = Json::array();
    for (const auto& column : m.columns)
        for (float e : column) out.push_back(floatJson(e));
    return out;
}

Json actionJson(const SCNAction& action) {
    Json out;
    switch (action.type) {
    case SCNAction::Type::rotateBy:
        out["type"] = "rotateBy";
        out["x"] = doubleJson(action.x);
        out["y"] = doubleJson(action.y);
        out["z"] = doubleJson(action.z);
        out["duration"] = doubleJson(action.duration);
        break;
    case SCNAction::Type::scaleBy:
        out["type"] = "scaleBy";
        out["factor"] = doubleJson(action.factor);
        out["duration"] = doubleJson(action.duration);
        break;
    case SCNAction::Type::moveBy:
        out["type"] = "moveBy";
        out["delta"] = vectorJson(action.delta);
        out["duration"] = doubleJson(action.duration);
        break;
    case SCNAction::Type::repeat:
        out["type"] = "repeat";
        out["count"] = action.count;
        out["action"] = action.action ? actionJson(*action.action) : Json(nullptr);
        break;
    case SCNAction::Type::repeatForever:
        out["type"] = "repeatForever";
        out["action"] = action.action ? actionJson(*action.action) : Json(nullptr);
        break;
    }
    return out;
}

namespace {

Json optionalText(const std::optional<std::string>& text) { return text ? Json(*text) : Json(nullptr); }

Json colourJson(const memory::MaterialContents& contents) {
    if (const auto* c = std::get_if<UIColor>(&contents))
        return Json{{"red", c->red}, {"green", c->green}, {"blue", c->blue}, {"alpha", c->alpha}};
    if (const auto* image = std::get_if<std::string>(&contents)) return *image;
    return nullptr;
}

Json propertyJson(const std::shared_ptr<memory::MemoryMaterialProperty>& property) {
    return property ? colourJson(property->contents) : Json(nullptr);
}

} // namespace

Json geometryJson(const SCNGeometry* geometry) {
    if (!geometry) return nullptr;
    if (const auto* text = dynamic_cast<const memory::MemoryTextGeometry*>(geometry)) {
        Json out;
        out["type"] = "text";
        out["string"] = text->string;
        out["extrusionDepth"] = doubleJson(text->extrusionDepth);
        out["font"] = text->font ? Json{{"name", text->font->fontName}, {"size", doubleJson(text->font->pointSize)}} : Json(nullptr);
        out["diffuse"] = text->material ? propertyJson(text->material->diffuseProperty) : Json(nullptr);
        out["specular"] = text->material ? propertyJson(text->material->specularProperty) : Json(nullptr);
        return out;
    }
    const auto* mesh = dynamic_cast<const memory::MemoryMeshGeometry*>(geometry);
    return Json{{"type", "mesh"}, {"triangles", mesh ? mesh->indices.size() / 3 : 0}};
}

Json nodeJson(const MemoryNode& node) {
    Json out;
    out["name"] = optionalText(node.nodeName);
    out["position"] = vectorJson(node.nodePosition());
    out["scale"] = vectorJson(node.nodeScale());
    out["rotation"] = rotationJson(node.nodeRotation());
    Json actions = Json::array();
    for (const auto& running : node.actions())
        actions.push_back(Json{{"key", optionalText(running.key)},
                               {"action", running.action ? actionJson(*running.action) : Json(nullptr)}});
    out["actions"] = std::move(actions);
    out["geometry"] = geometryJson(node.nodeGeometry().get());
    Json children = Json::array();
    for (const auto& child : node.children()) children.push_back(nodeJson(*child));
    out["children"] = std::move(children);
    return out;
}

Json stateJson(memory::MemoryPlatform& platform, const AppFlags& flags) {
    const auto& view = *platform.view;
    Json out;
    out["time"] = doubleJson(platform.time);
    out["selectedBody"] = flags.selectedBody;
    out["gestureHandled"] = flags.gestureHandled;
    out["isTextShown"] = flags.isTextShown;
    switch (view.arSession.state) {
    case memory::SessionState::notStarted: out["session"] = "notStarted"; break;
    case memory::SessionState::running: out["session"] = "running"; break;
    case memory::SessionState::paused: out["session"] = "paused"; break;
    }
    Json anchors = Json::array();
    for (const auto& anchor : view.arSession.anchors) anchors.push_back(Json{{"transform", matrixJson(anchor->transform())}});
    out["anchors"] = std::move(anchors);
    Json urls = Json::array();
    for (const auto& request : platform.application.openedURLs)
        urls.push_back(Json{{"url", request.url.absoluteString},
                            {"options", request.options.size()},
                            {"completion", static_cast<bool>(request.completionHandler)}});
    out["openedURLs"] = std::move(urls);
    if (platform.application.droppedURLRequests > 0) out["openedURLsDropped"] = platform.application.droppedURLRequests;
    Json recognizers = Json::array();
    for (const auto& recognizer : view.gestureRecognizers) {
        const auto* memoryRecognizer = dynamic_cast<const memory::MemoryRecognizerBase*>(recognizer.get());
        if (!memoryRecognizer) continue;
        const auto& record = memoryRecognizer->record;
        Json r;
        r["type"] = record.type;
        r["action"] = record.action.name;
        if (record.minimumPressDuration) r["minimumPressDuration"] = *record.minimumPressDuration;
        if (record.numberOfTapsRequired) r["numberOfTapsRequired"] = *record.numberOfTapsRequired;
        if (record.numberOfTouchesRequired) r["numberOfTouchesRequired"] = *record.numberOfTouchesRequired;
        recognizers.push_back(std::move(r));
    }
    out["recognizers"] = std::move(recognizers);
    out["scene"] = view.currentScene && view.currentScene->root() ? nodeJson(*view.currentScene->root()) : Json(nullptr);
    return out;
}

std::string callsLine(const std::vector<memory::PlatformCall>& calls, std::size_t dropped) {
    // The recorded arguments are printed exactly as the platform logged them.
    std::string out = "{\"calls\":[";
    bool first = true;
    for (const auto& call : calls) {
        if (!first) out += ',';
        first = false;
        out += "{\"op\":" + jsonLine(call.op) + ",\"target\":" + jsonLine(optionalText(call.target)) +
               ",\"args\":" + call.args.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) + "}";
    }
    out += "]";
    if (dropped > 0) out += ",\"dropped\":" + std::to_string(dropped);
    return out + "}";
}

std::string jsonLine(const Json& value) { return value.dump(-1, ' ', false, Json::error_handler_t::replace); }

} // namespace orrery::sim
