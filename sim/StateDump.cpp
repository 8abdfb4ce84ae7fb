#include "sim/StateDump.h"

#include "platform/memory/PlatformJson.h"

namespace orrery::sim {

using memory::DumpJson;

namespace {

Json optionalText(const std::optional<std::string>& text) { return text ? Json(*text) : Json(nullptr); }

}  // namespace

Json stateJson(memory::MemoryPlatform& platform, const AppFlags& flags) {
    const auto& view = *platform.view;
    Json out;
    out["time"] = DumpJson::number(platform.time);
    out["selectedBody"] = flags.selectedBody;
    out["gestureHandled"] = flags.gestureHandled;
    out["isTextShown"] = flags.isTextShown;
    switch (view.arSession.state) {
    case memory::SessionState::notStarted: out["session"] = "notStarted"; break;
    case memory::SessionState::running: out["session"] = "running"; break;
    case memory::SessionState::paused: out["session"] = "paused"; break;
    }
    Json anchors = Json::array();
    for (const auto& anchor : view.arSession.anchors)
        anchors.push_back(Json{{"transform", DumpJson::matrix(anchor->transform())}});
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
    out["scene"] =
        view.currentScene && view.currentScene->root() ? DumpJson::node(*view.currentScene->root()) : Json(nullptr);
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

}  // namespace orrery::sim
