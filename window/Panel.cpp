#include "window/Panel.h"

#include "app/ViewController.h"
#include "platform/memory/PlatformJson.h"
#include "sim/StateDump.h"

#include <imgui.h>

#include <string>

namespace orrery::window {

namespace {

const char* sessionName(memory::SessionState state) {
    switch (state) {
    case memory::SessionState::notStarted: return "not started";
    case memory::SessionState::running: return "running";
    case memory::SessionState::paused: return "paused";
    }
    return "?";
}

void nodeTree(const memory::MemoryNode& node, bool open = false) {
    const std::string label = node.nodeName ? *node.nodeName : std::string("(no name)");
    ImGuiTreeNodeFlags flags = ImGuiTreeNodeFlags_OpenOnArrow;
    if (node.children().empty() && node.actions().empty()) flags |= ImGuiTreeNodeFlags_Bullet;
    if (open) flags |= ImGuiTreeNodeFlags_DefaultOpen;
    if (!ImGui::TreeNodeEx(static_cast<const void*>(&node), flags, "%s%s", label.c_str(),
                           node.actions().empty() ? "" : "  (running)"))
        return;
    const auto& p = node.nodePosition();
    const auto& s = node.nodeScale();
    const auto& r = node.nodeRotation();
    ImGui::TextDisabled("position %.3f %.3f %.3f", p.x, p.y, p.z);
    ImGui::TextDisabled("scale %.3f %.3f %.3f", s.x, s.y, s.z);
    ImGui::TextDisabled("rotation %.3f %.3f %.3f  %.4f rad", r.x, r.y, r.z, r.w);
    if (node.nodeGeometry())
        ImGui::TextDisabled("geometry %s",
                            memory::DumpJson::geometry(node.nodeGeometry().get())["type"].get<std::string>().c_str());
    for (const auto& action : node.actions())
        ImGui::TextWrapped("action %s: %s", action.key ? action.key->c_str() : "(no key)",
                           memory::DumpJson::action(action.action.get()).dump().c_str());
    for (const auto& child : node.children()) nodeTree(*child);
    ImGui::TreePop();
}

}  // namespace

void Panel::draw(sim::Simulator& simulator, const LiveSession& session, render::RenderOptions& options,
                 double drawnFramesPerSecond, float x, float y, float width, float height) {
    auto& platform = simulator.platform();
    auto& view = *platform.view;
    ImGui::SetNextWindowPos(ImVec2(x, y));
    ImGui::SetNextWindowSize(ImVec2(width, height));
    ImGui::Begin("Orrery AR", nullptr,
                 ImGuiWindowFlags_NoMove | ImGuiWindowFlags_NoResize | ImGuiWindowFlags_NoCollapse |
                     ImGuiWindowFlags_NoSavedSettings);

    if (ImGui::CollapsingHeader("App", ImGuiTreeNodeFlags_DefaultOpen)) {
        ImGui::Text("time %.2f s (%lu simulation steps)", platform.time, session.framesRun());
        ImGui::Text("drawn: %.0f frames a second", drawnFramesPerSecond);
        const int body = static_cast<int>(selectedBody);
        ImGui::Text("selected body: %d %s", body, simulator.bodyName(body).c_str());
        ImGui::Text("gestureHandled: %s   isTextShown: %s", gestureHandled ? "true" : "false",
                    isTextShown ? "true" : "false");
        ImGui::Text("AR session: %s, %zu anchors", sessionName(view.arSession.state), view.arSession.anchors.size());
        const auto& c = session.camera();
        ImGui::Text("camera %.2f %.2f %.2f  yaw %.3f pitch %.3f", c.x, c.y, c.z, c.yaw, c.pitch);
        ImGui::Checkbox("camera image", &options.showCameraImage);
        ImGui::SameLine();
        ImGui::Checkbox("feature points", &options.showFeaturePoints);
        ImGui::SameLine();
        ImGui::Checkbox("anchors", &options.showAnchors);
    }

    if (ImGui::CollapsingHeader("Scene", ImGuiTreeNodeFlags_DefaultOpen)) {
        ImGui::BeginChild("scene", ImVec2(0, height * 0.35f), true);
        if (view.currentScene && view.currentScene->root())
            nodeTree(*view.currentScene->root(), true);
        else
            ImGui::TextDisabled("no scene");
        ImGui::EndChild();
    }

    const auto& calls = platform.log->calls();
    if (ImGui::CollapsingHeader("Call log", ImGuiTreeNodeFlags_DefaultOpen)) {
        ImGui::BeginChild("calls", ImVec2(0, height * 0.25f), true, ImGuiWindowFlags_HorizontalScrollbar);
        ImGuiListClipper clipper;
        clipper.Begin(static_cast<int>(calls.size()));
        while (clipper.Step())
            for (int i = clipper.DisplayStart; i < clipper.DisplayEnd; ++i) {
                const auto& call = calls[static_cast<std::size_t>(i)];
                ImGui::Text("%s %s %s", call.op.c_str(), call.target ? call.target->c_str() : "-",
                            call.args.dump().c_str());
            }
        // Newest lines in view: when the log grows, and on the first frames, before the child
        // knows its height.
        if (calls.size() != callsSeen_ || panelFrames_ < kSettlingFrames) ImGui::SetScrollHereY(1.0f);
        ImGui::EndChild();
    }
    callsSeen_ = calls.size();

    const auto& lines = session.history();
    if (ImGui::CollapsingHeader("Session lines")) {
        ImGui::BeginChild("lines", ImVec2(0, height * 0.15f), true);
        for (const auto& line : lines) ImGui::TextUnformatted(line.c_str());
        if (lines.size() != linesSeen_) ImGui::SetScrollHereY(1.0f);
        ImGui::EndChild();
    }
    linesSeen_ = lines.size();

    if (ImGui::CollapsingHeader("Controls")) {
        ImGui::TextWrapped("%s", controls);
    }
    ImGui::End();
    ++panelFrames_;
}

}  // namespace orrery::window
