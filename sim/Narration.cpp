#include "sim/Narration.h"

#include <algorithm>
#include <cstdio>
#include <string>
#include <utility>

namespace orrery::sim {

namespace {

std::string number(const Json& value) {
    if (value.is_string()) return value.get<std::string>();  // the dump's "inf", "-inf" or "nan"
    if (!value.is_number()) return "?";
    char buf[64];
    std::snprintf(buf, sizeof buf, "%.4g", value.get<double>());
    return buf;
}

std::string triple(const Json& v) {
    if (!v.is_array() || v.size() < 3) return "?";
    return "(" + number(v[0]) + ", " + number(v[1]) + ", " + number(v[2]) + ")";
}

std::string uniformOrTriple(const Json& v) {
    if (v.is_array() && v.size() == 3 && v[0] == v[1] && v[1] == v[2]) return number(v[0]);
    return triple(v);
}

/// The first line of a text, cut at a character boundary.
std::string excerpt(const std::string& text, std::size_t limit = 60) {
    std::string line = text.substr(0, text.find('\n'));
    while (!line.empty() && line.back() == ' ') line.pop_back();
    if (line.size() <= limit) return line;
    std::size_t cut = limit;
    while (cut > 0 && (static_cast<unsigned char>(line[cut]) & 0xC0) == 0x80) --cut;
    return line.substr(0, cut) + "...";
}

std::string actionsNote(const Json& node) {
    const Json& actions = node["actions"];
    if (actions.empty()) {
        // A still node's turn is worth telling; a spinning one's changes every frame.
        const Json& r = node["rotation"];
        if (r.is_array() && r.size() == 4 && r[3].is_number() && r[3].get<double>() != 0.0)
            return ", turned " + number(r[3]) + " rad about " + triple(r);
        return "";
    }
    std::string keys;
    for (const auto& a : actions) {
        if (!keys.empty()) keys += ", ";
        keys += a["key"].is_string() ? a["key"].get<std::string>() : std::string("(no key)");
    }
    return ", running " + keys;
}

std::string nameOf(const Json& node) { return node["name"].is_string() ? node["name"].get<std::string>() : ""; }

bool isButton(const std::string& name) {
    static const std::string suffix = "Button";
    return name.size() > suffix.size() && name.compare(name.size() - suffix.size(), suffix.size(), suffix) == 0;
}

struct SceneLine {
    std::string key;  ///< identifies the node across dumps
    std::string text;
};

/// One line per top-level node (buttons grouped) and per copy placed on an anchor.
std::vector<SceneLine> sceneLines(const Json& scene) {
    std::vector<SceneLine> lines;
    std::vector<std::string> buttons;
    int anchors = 0;
    for (const auto& child : scene["children"]) {
        std::string name = nameOf(child);
        const Json& geometry = child["geometry"];
        if (isButton(name)) {
            buttons.push_back(name);
        } else if (geometry.is_object() && geometry["type"] == "text") {
            lines.push_back({"label " + name, "label " + (name.empty() ? "" : "(" + name + ") ") + "\"" +
                                                  excerpt(geometry["string"].get<std::string>()) + "\" at " +
                                                  triple(child["position"])});
        } else if (name.empty()) {
            // The node the session made for an anchor, with the copies hanging under it.
            std::string anchor = "anchor node " + std::to_string(++anchors);
            lines.push_back({anchor, anchor + " at " + triple(child["position"])});
            int index = 0;
            for (const auto& copy : child["children"])
                lines.push_back({anchor + "/" + std::to_string(index++),
                                 (nameOf(copy).empty() ? std::string("(unnamed)") : nameOf(copy)) + " on " + anchor +
                                     " at " + triple(copy["position"]) + ", scale " + uniformOrTriple(copy["scale"]) +
                                     actionsNote(copy)});
        } else {
            lines.push_back({name, name + " at " + triple(child["position"]) + ", scale " +
                                       uniformOrTriple(child["scale"]) + actionsNote(child)});
        }
    }
    if (!buttons.empty()) {
        std::string text = std::to_string(buttons.size()) + " buttons:";
        for (std::size_t i = 0; i < buttons.size(); ++i) text += (i ? ", " : " ") + buttons[i];
        lines.push_back({"buttons", text});
    }
    return lines;
}

/// "NAME key" for every transform of the subtree holding a value that is not finite.
void collectNonFinite(const Json& node, std::vector<std::string>& found) {
    for (const char* key : {"position", "scale", "rotation"}) {
        const Json& values = node[key];
        if (values.is_array() &&
            std::any_of(values.begin(), values.end(), [](const Json& v) { return v.is_string(); })) {
            const std::string name = nameOf(node);
            found.push_back((name.empty() ? std::string("(unnamed)") : name) + " " + key);
        }
    }
    for (const auto& child : node["children"]) collectNonFinite(child, found);
}

/// A line naming the transforms that overflowed, or nothing when every value is finite.
std::string nonFiniteNote(const Json& scene) {
    std::vector<std::string> found;
    collectNonFinite(scene, found);
    if (found.empty()) return "";
    std::string out = "  not finite (the arithmetic overflowed):";
    for (std::size_t i = 0; i < found.size() && i < 8; ++i) out += (i ? ", " : " ") + found[i];
    if (found.size() > 8) out += " and " + std::to_string(found.size() - 8) + " more";
    return out + "\n";
}

}  // namespace

std::string describeState(const Json& state, const Json* previous, const std::function<std::string(int)>& bodyName) {
    std::string out;
    int selected = state["selectedBody"].get<int>();
    out += "  time " + number(state["time"]) + " s; selected body " + std::to_string(selected) + " (" +
           bodyName(selected) + "); gesture handled: " + (state["gestureHandled"].get<bool>() ? "yes" : "no") +
           "; label shown: " + (state["isTextShown"].get<bool>() ? "yes" : "no") + "; AR session " +
           state["session"].get<std::string>() + "\n";
    out += "  anchors: " + std::to_string(state["anchors"].size()) + "; browser requests: " +
           std::to_string(state["openedURLs"].size() + state.value("openedURLsDropped", std::size_t{0}));
    if (!state["openedURLs"].empty()) out += " (last: " + state["openedURLs"].back()["url"].get<std::string>() + ")";
    out += "; gesture recognisers: " + std::to_string(state["recognizers"].size()) + "\n";
    const Json& scene = state["scene"];
    if (!scene.is_object()) return out + "  no scene\n";

    out += nonFiniteNote(scene);
    std::vector<SceneLine> now = sceneLines(scene);
    if (!previous || !(*previous)["scene"].is_object()) {
        out += "  the scene holds:\n";
        for (const auto& line : now) out += "    " + line.text + "\n";
        return out;
    }
    // Later dumps tell only what changed, which is what a reader follows.
    std::vector<SceneLine> before = sceneLines((*previous)["scene"]);
    auto find = [](const std::vector<SceneLine>& lines, const std::string& key) -> const SceneLine* {
        for (const auto& line : lines)
            if (line.key == key) return &line;
        return nullptr;
    };
    std::string changes;
    for (const auto& line : now) {
        const SceneLine* old = find(before, line.key);
        if (!old)
            changes += "    + " + line.text + "\n";
        else if (old->text != line.text)
            changes += "    ~ " + line.text + "\n";
    }
    for (const auto& line : before)
        if (!find(now, line.key)) changes += "    - " + line.text + " (gone)\n";
    out += changes.empty() ? "  the scene is as at the last dump\n"
                           : "  changes in the scene since the last dump:\n" + changes;
    return out;
}

std::string describeCalls(const std::vector<memory::PlatformCall>& calls, std::size_t dropped) {
    const std::string droppedNote =
        dropped > 0 ? "  " + std::to_string(dropped) + " earlier calls were let go unread by the bounded call log\n"
                    : "";
    if (calls.empty()) return droppedNote + "  no platform calls since the last look\n";
    std::vector<std::pair<std::string, int>> counts;
    for (const auto& call : calls) {
        auto it = counts.begin();
        while (it != counts.end() && it->first != call.op) ++it;
        if (it == counts.end())
            counts.emplace_back(call.op, 1);
        else
            ++it->second;
    }
    std::string out =
        droppedNote + "  " + std::to_string(calls.size()) + " platform calls since the last look, by operation:\n";
    std::string line = "   ";
    for (std::size_t i = 0; i < counts.size(); ++i) {
        std::string item =
            " " + counts[i].first + " x" + std::to_string(counts[i].second) + (i + 1 < counts.size() ? "," : "");
        if (line.size() + item.size() > 78) {
            out += line + "\n";
            line = "   ";
        }
        line += item;
    }
    return out + line + "\n";
}

}  // namespace orrery::sim
