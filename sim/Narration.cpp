#include "sim/Narration.h"

#include <cstdio>
#include <utility>

namespace orrery::sim {

namespace {

std::string number(const Json& value) {
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
    if (line.size() <= limit) return line;
    std::size_t cut = limit;
    while (cut > 0 && (static_cast<unsigned char>(line[cut]) & 0xC0) == 0x80) --cut;
    return line.substr(0, cut) + "...";
}

std::string actionsNote(const Json& node) {
    const Json& actions = node["actions"];
    if (actions.empty()) return "";
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

void describeNode(const Json& node, const std::string& indent, std::string& out) {
    std::string name = nameOf(node);
    const Json& geometry = node["geometry"];
    if (geometry.is_object() && geometry["type"] == "text") {
        out += indent + (name.empty() ? "(label)" : name) + ": label \"" +
               excerpt(geometry["string"].get<std::string>()) + "\" at " + triple(node["position"]) + "\n";
        return;
    }
    if (name.empty()) {
        // An anchor's node: say what hangs under it.
        out += indent + "anchor node at " + triple(node["position"]);
        const Json& children = node["children"];
        if (children.empty()) {
            out += ", empty\n";
            return;
        }
        out += ", holding:\n";
        for (const auto& child : children) describeNode(child, indent + "  ", out);
        return;
    }
    out += indent + name + " at " + triple(node["position"]) + ", scale " + uniformOrTriple(node["scale"]) +
           actionsNote(node) + "\n";
}

} // namespace

std::string describeState(const Json& state, const std::function<std::string(int)>& bodyName) {
    std::string out;
    int selected = state["selectedBody"].get<int>();
    out += "  time " + number(state["time"]) + " s; selected body " + std::to_string(selected) + " (" +
           bodyName(selected) + "); gesture handled: " + (state["gestureHandled"].get<bool>() ? "yes" : "no") +
           "; label shown: " + (state["isTextShown"].get<bool>() ? "yes" : "no") + "; AR session " +
           state["session"].get<std::string>() + "\n";
    out += "  anchors: " + std::to_string(state["anchors"].size()) +
           "; browser requests: " + std::to_string(state["openedURLs"].size());
    if (!state["openedURLs"].empty()) out += " (last: " + state["openedURLs"].back()["url"].get<std::string>() + ")";
    out += "; gesture recognisers: " + std::to_string(state["recognizers"].size()) + "\n";
    const Json& scene = state["scene"];
    if (!scene.is_object()) {
        out += "  no scene\n";
        return out;
    }
    out += "  the scene holds:\n";
    std::vector<std::string> buttons;
    for (const auto& child : scene["children"]) {
        std::string name = nameOf(child);
        if (isButton(name)) {
            buttons.push_back(name);
            continue;
        }
        describeNode(child, "    ", out);
    }
    if (!buttons.empty()) {
        out += "    " + std::to_string(buttons.size()) + " buttons: ";
        for (std::size_t i = 0; i < buttons.size(); ++i) out += (i ? ", " : "") + buttons[i];
        out += "\n";
    }
    return out;
}

std::string describeCalls(const std::vector<memory::PlatformCall>& calls) {
    if (calls.empty()) return "  no platform calls since the last look\n";
    std::vector<std::pair<std::string, int>> counts;
    for (const auto& call : calls) {
        auto it = counts.begin();
        while (it != counts.end() && it->first != call.op) ++it;
        if (it == counts.end())
            counts.emplace_back(call.op, 1);
        else
            ++it->second;
    }
    std::string out = "  " + std::to_string(calls.size()) + " platform calls since the last look:";
    std::string line;
    for (std::size_t i = 0; i < counts.size(); ++i) {
        std::string item = " " + counts[i].first + " x" + std::to_string(counts[i].second) + (i + 1 < counts.size() ? "," : "");
        if (line.size() + item.size() > 76) {
            out += line + "\n   ";
            line.clear();
        }
        line += item;
    }
    return out + line + "\n";
}

} // namespace orrery::sim
