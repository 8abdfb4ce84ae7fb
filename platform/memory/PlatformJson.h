#pragma once
// The one JSON encoding of platform values (vectors, matrices, colours, fonts, actions, nodes and
// their geometry), shared by the call log and the simulator's state dump.
//
// Two things differ between those two documents and are parameters here: the JSON type (the
// call log's objects list their keys sorted, the dump's in the order written) and how a 32-bit
// float prints (the call log widens it to the double it is, the dump prints the shortest
// decimal that reads back as the same float). A number that is not finite is the text "inf",
// "-inf" or "nan" in both, never null, which means "no value".

#include "platform/SceneKit.h"
#include "platform/memory/numbers/NumberText.h"
#include "platform/memory/scene/MemoryScene.h"

#include <nlohmann/json.hpp>

#include <cmath>
#include <cstdlib>
#include <optional>
#include <string>
#include <system_error>

namespace orrery::memory {

/// How a 32-bit float prints.
enum class FloatText {
    widened,   ///< as the double it is: 0.10000000149011612
    shortest,  ///< the shortest decimal that reads back as the same float: 0.1
};

template <class JsonType, FloatText floats>
struct PlatformJson {
    using Json = JsonType;

    /// A 64-bit number; one that is not finite as "inf", "-inf" or "nan".
    static Json number(double value) {
        if (std::isfinite(value)) return value;
        return std::isnan(value) ? "nan" : value > 0 ? "inf" : "-inf";
    }
    /// A 32-bit number, as `floats` says.
    static Json number(float value) {
        if (!std::isfinite(value) || floats == FloatText::widened) return number(static_cast<double>(value));
        // The shortest float text, held as the double it names: that double prints as the same text.
        char buf[64];
        auto [end, ec] = numbers::writeNumber(buf, buf + sizeof buf - 1, value);
        if (ec != std::errc()) return static_cast<double>(value);
        *end = '\0';
        return std::strtod(buf, nullptr);
    }
    static Json text(const std::optional<std::string>& text) { return text ? Json(*text) : Json(nullptr); }
    /// [x, y, z].
    static Json vector(SCNVector3 v) { return Json::array({number(v.x), number(v.y), number(v.z)}); }
    /// [x, y, z, w].
    static Json vector(SCNVector4 v) { return Json::array({number(v.x), number(v.y), number(v.z), number(v.w)}); }
    /// 16 numbers, column-major.
    static Json matrix(const simd_float4x4& m) {
        Json out = Json::array();
        for (const auto& column : m.columns)
            for (float e : column) out.push_back(number(e));
        return out;
    }
    /// {"red", "green", "blue", "alpha"}.
    static Json colour(const UIColor& c) {
        return Json{
            {"red", number(c.red)}, {"green", number(c.green)}, {"blue", number(c.blue)}, {"alpha", number(c.alpha)}};
    }
    /// {"type":"rotateBy","x":..,"y":..,"z":..,"duration":..} and so on; null for none.
    static Json action(const SCNAction* action) {
        if (!action) return nullptr;
        switch (action->type) {
        case SCNAction::Type::rotateBy:
            return Json{{"type", "rotateBy"},
                        {"x", number(action->x)},
                        {"y", number(action->y)},
                        {"z", number(action->z)},
                        {"duration", number(action->duration)}};
        case SCNAction::Type::scaleBy:
            return Json{
                {"type", "scaleBy"}, {"factor", number(action->factor)}, {"duration", number(action->duration)}};
        case SCNAction::Type::moveBy:
            return Json{{"type", "moveBy"}, {"delta", vector(action->delta)}, {"duration", number(action->duration)}};
        case SCNAction::Type::repeat:
            return Json{
                {"type", "repeat"}, {"count", action->count}, {"action", PlatformJson::action(action->action.get())}};
        case SCNAction::Type::repeatForever:
            return Json{{"type", "repeatForever"}, {"action", PlatformJson::action(action->action.get())}};
        }
        return nullptr;
    }
    /// A material property's contents: a colour, an image path, or null.
    static Json contents(const MaterialContents& contents) {
        if (const auto* c = std::get_if<UIColor>(&contents)) return colour(*c);
        if (const auto* image = std::get_if<std::string>(&contents)) return *image;
        return nullptr;
    }
    /// {"type":"mesh","triangles":N} or {"type":"text","string":..,"extrusionDepth":..,"font":..,
    /// "diffuse":..,"specular":..}; null for none.
    static Json geometry(const SCNGeometry* geometry) {
        if (!geometry) return nullptr;
        if (const auto* text = dynamic_cast<const MemoryTextGeometry*>(geometry)) {
            const auto property = [&](const std::shared_ptr<MemoryMaterialProperty>& p) {
                return text->material && p ? contents(p->contents) : Json(nullptr);
            };
            Json out;
            out["type"] = "text";
            out["string"] = text->string;
            out["extrusionDepth"] = number(text->extrusionDepth);
            out["font"] = text->font ? Json{{"name", text->font->fontName}, {"size", number(text->font->pointSize)}}
                                     : Json(nullptr);
            out["diffuse"] = property(text->material ? text->material->diffuseProperty : nullptr);
            out["specular"] = property(text->material ? text->material->specularProperty : nullptr);
            return out;
        }
        const auto* mesh = dynamic_cast<const MemoryMeshGeometry*>(geometry);
        return Json{{"type", "mesh"}, {"triangles", mesh ? mesh->indices.size() / 3 : 0}};
    }
    /// A node and its subtree: name, position, scale, rotation, running actions, geometry, children.
    static Json node(const MemoryNode& node) {
        Json out;
        out["name"] = text(node.nodeName);
        out["position"] = vector(node.nodePosition());
        out["scale"] = vector(node.nodeScale());
        out["rotation"] = vector(node.nodeRotation());
        Json actions = Json::array();
        for (const auto& running : node.actions())
            actions.push_back(Json{{"key", text(running.key)}, {"action", action(running.action.get())}});
        out["actions"] = std::move(actions);
        out["geometry"] = geometry(node.nodeGeometry().get());
        Json children = Json::array();
        for (const auto& child : node.children()) children.push_back(PlatformJson::node(*child));
        out["children"] = std::move(children);
        return out;
    }
    /// One argument of a recorded call.
    static Json argument(const CallArg& arg) {
        struct Visit {
            Json operator()(std::nullptr_t) const { return nullptr; }
            Json operator()(const std::string& s) const { return s; }
            Json operator()(SCNVector3 v) const { return vector(v); }
            Json operator()(SCNVector4 v) const { return vector(v); }
            Json operator()(const UIColor& c) const { return colour(c); }
            Json operator()(const UIFont& f) const {
                return Json{{"fontName", f.fontName}, {"pointSize", number(f.pointSize)}};
            }
            Json operator()(const SCNAction* a) const { return action(a); }
        };
        return std::visit(Visit{}, arg);
    }
};

/// The call log's arguments.
using CallJson = PlatformJson<nlohmann::json, FloatText::widened>;
/// The simulator's state dump.
using DumpJson = PlatformJson<nlohmann::ordered_json, FloatText::shortest>;

}  // namespace orrery::memory
