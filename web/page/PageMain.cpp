// The app in a web page: the in-memory platform, the live session and the renderer of the
// Linux window, in the page's WebGL 2 context, with the ImGui panel beside the phone's screen.
// Scripts of the page (and its tests) reach it through the orrery_* functions below.

#include "web/page/PageInput.h"
#include "web/xr/XrSession.h"

#include "render/Gl.h"
#include "render/Picture.h"
#include "render/Renderer.h"
#include "sim/Scenario.h"
#include "sim/Simulator.h"
#include "sim/StateDump.h"
#include "window/LiveSession.h"
#include "window/Panel.h"

#include <backends/imgui_impl_opengl3.h>
#include <emscripten/emscripten.h>
#include <emscripten/html5.h>
#include <imgui.h>

#include <cmath>
#include <exception>
#include <iostream>
#include <memory>
#include <string>
#include <string_view>

namespace {

using namespace orrery;

/// Where the page's files are: the models under /orrery/art.scnassets (preloaded data).
constexpr const char* kAssetParent = "/orrery";
constexpr const char* kCanvas = "#canvas";
constexpr double kFrameRateWindow = 1.0;  ///< seconds over which the drawn frame rate is counted

struct Page {
    sim::Simulator simulator{kAssetParent};
    std::unique_ptr<window::LiveSession> session;
    std::unique_ptr<web::PageInput> input;
    std::unique_ptr<web::XrSession> xr;  ///< drives the app while an immersive-ar session runs
    std::unique_ptr<render::Renderer> renderer;
    std::unique_ptr<render::OffscreenPicture> picture;
    render::RenderOptions options;
    window::Panel panel;
    bool panelShown = true;
    bool paused = false;  ///< the clock stands still: the start scene as it was drawn first
    double start = 0, now = 0;
    std::size_t urlsOpened = 0;
    int framesDrawn = 0, framesThisWindow = 0;
    double windowStart = 0, drawnFramesPerSecond = 0;
    std::string lastAnswer;  ///< what the last orrery_dump, orrery_locate or orrery_history returned, kept for the caller

    double clock() const { return emscripten_get_now() / 1000.0 - start; }
};

Page* page = nullptr;

// The page's script, called from here: what it does with a request to open an address, with the
// first frame drawn, and with a browser that has no WebGL 2.
EM_JS(void, openInNewTab, (const char* url), { window.open(UTF8ToString(url), '_blank', 'noopener'); });
EM_JS(void, tellReady, (), { if (Module.onOrreryReady) Module.onOrreryReady(); });
EM_JS(void, tellNoWebGL2, (), { if (Module.onNoWebGL2) Module.onNoWebGL2(); });
EM_JS(void, tellXrStarted, (), { if (Module.onOrreryXrStarted) Module.onOrreryXrStarted(); });
EM_JS(void, tellXrEnded, (), { if (Module.onOrreryXrEnded) Module.onOrreryXrEnded(); });

/// The browser opens what the app asks the system to open (the Help button's guide) in a new tab.
void openRequestedURLs() {
    const auto& opened = page->simulator.platform().application.openedURLs;
    for (; page->urlsOpened < opened.size(); ++page->urlsOpened) {
        openInNewTab(opened[page->urlsOpened].url.absoluteString.c_str());
    }
}

EM_BOOL onMouse(int type, const EmscriptenMouseEvent* event, void*) {
    if (web::xrRunning()) return false;  // the session's screen is touched, not clicked
    return page->input->mouse(type, *event, page->clock());
}
EM_BOOL onWheel(int, const EmscriptenWheelEvent* event, void*) { return page->input->wheel(*event, page->clock()); }
EM_BOOL onKey(int type, const EmscriptenKeyboardEvent* event, void*) {
    return page->input->key(type, *event, page->clock());
}
EM_BOOL onTouch(int type, const EmscriptenTouchEvent* event, void*) {
    if (web::xrRunning()) return page->xr->touch(type, *event, page->clock());
    return page->input->touch(type, *event, page->clock());
}
EM_BOOL onBlur(int, const EmscriptenFocusEvent*, void*) {
    page->input->blur(page->clock());
    return false;
}

void drawPanel(int cssWidth, int cssHeight, double dpr, const web::PageLayout& layout) {
    ImGuiIO& io = ImGui::GetIO();
    io.DisplaySize = ImVec2(static_cast<float>(cssWidth), static_cast<float>(cssHeight));
    io.DisplayFramebufferScale = ImVec2(static_cast<float>(dpr), static_cast<float>(dpr));
    web::PanelPointer& pointer = page->input->panelPointer();
    io.MousePos = ImVec2(pointer.x, pointer.y);
    for (int b = 0; b < 3; ++b) io.MouseDown[b] = pointer.down[b];
    io.MouseWheel = pointer.wheel;
    pointer.wheel = 0;
    ImGui_ImplOpenGL3_NewFrame();
    ImGui::NewFrame();
    if (layout.panelWidth > 0)
        page->panel.draw(page->simulator, *page->session, page->options, page->drawnFramesPerSecond,
                         static_cast<float>(layout.panelX), 0.0f, static_cast<float>(layout.panelWidth),
                         static_cast<float>(cssHeight));
    ImGui::Render();
    ImGui_ImplOpenGL3_RenderDrawData(ImGui::GetDrawData());
}

EM_BOOL frame(double, void*) {
    if (web::xrRunning()) return true;  // the session's frames draw meanwhile
    double cssWidth = 0, cssHeight = 0;
    emscripten_get_element_css_size(kCanvas, &cssWidth, &cssHeight);
    const double dpr = emscripten_get_device_pixel_ratio();
    const int width = std::max(1, static_cast<int>(std::lround(cssWidth * dpr)));
    const int height = std::max(1, static_cast<int>(std::lround(cssHeight * dpr)));
    emscripten_set_canvas_element_size(kCanvas, width, height);

    const CGSize points = page->simulator.platform().view->camera.viewport;
    const web::PageLayout layout = web::layoutPage(static_cast<int>(cssWidth), static_cast<int>(cssHeight),
                                              page->panelShown, points);
    page->input->setLayout(layout);
    page->input->flushMotion();
    if (!page->paused) {
        page->now = std::max(page->now, page->clock());
        page->session->advanceTo(page->now);
    }
    openRequestedURLs();

    glViewport(0, 0, width, height);
    glClearColor(0.08f, 0.08f, 0.1f, 1.0f);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    const auto px = [&](int css) { return static_cast<int>(std::lround(css * dpr)); };
    const window::ScreenArea& area = layout.screen;
    if (page->renderer)
        page->renderer->draw(page->simulator.platform().view->frame(),
                             render::Viewport{px(area.x), height - px(area.y + area.height), px(area.width),
                                              px(area.height)},
                             page->options);
    glViewport(0, 0, width, height);
    drawPanel(static_cast<int>(cssWidth), static_cast<int>(cssHeight), dpr, layout);

    ++page->framesDrawn;
    ++page->framesThisWindow;
    const double t = page->clock();
    if (t - page->windowStart >= kFrameRateWindow) {
        page->drawnFramesPerSecond = page->framesThisWindow / (t - page->windowStart);
        page->framesThisWindow = 0;
        page->windowStart = t;
    }
    if (page->framesDrawn == 1) tellReady();
    return true;
}

}  // namespace

extern "C" {

/// The app's state as the simulator's `dump` prints it (one JSON line).
EMSCRIPTEN_KEEPALIVE const char* orrery_dump() {
    page->lastAnswer = sim::jsonLine(page->simulator.state());
    return page->lastAnswer.c_str();
}

/// Runs one scenario line as the live session runs its own; returns 0, or 1 when it cannot run.
EMSCRIPTEN_KEEPALIVE int orrery_run(const char* line) {
    std::string error;
    if (page->session->run(line, &error)) return 0;
    std::cerr << "orrery: " << error << '\n';
    return 1;
}

/// Where the node named `name` shows on the screen: the projected centre of its bounds as "X,Y"
/// in screen points, or "" when there is no such node or it is off screen.
EMSCRIPTEN_KEEPALIVE const char* orrery_locate(const char* name) {
    try {
        const CGPoint at = page->simulator.resolvePoint(sim::PointArg{std::nullopt, name}, 0);
        page->lastAnswer = window::formatPoint(at);
    } catch (const sim::ScenarioError&) {
        page->lastAnswer.clear();
    }
    return page->lastAnswer.c_str();
}

/// The scenario lines the live session has run, one a line: what the page's input did to the app.
EMSCRIPTEN_KEEPALIVE const char* orrery_history() {
    page->lastAnswer.clear();
    for (const auto& line : page->session->history()) page->lastAnswer += line + "\n";
    return page->lastAnswer.c_str();
}

/// The surfaces of the simulated room the in-memory session finds feature points on, as JSON:
/// {"surfaces": [{"height": Y, "minX": .., "maxX": .., "minZ": .., "maxZ": ..}, ...]} in metres,
/// relative to where tracking started.
EMSCRIPTEN_KEEPALIVE const char* orrery_room() {
    using window::formatFloat;
    std::string json = "{\"surfaces\":[";
    const auto& surfaces = page->simulator.platform().view->room.surfaces;
    for (std::size_t i = 0; i < surfaces.size(); ++i) {
        const memory::RoomSurface& s = surfaces[i];
        json += std::string(i ? "," : "") + "{\"height\":" + formatFloat(s.height) + ",\"minX\":" +
                formatFloat(s.minX) + ",\"maxX\":" + formatFloat(s.maxX) + ",\"minZ\":" + formatFloat(s.minZ) +
                ",\"maxZ\":" + formatFloat(s.maxZ) + "}";
    }
    page->lastAnswer = json + "]}";
    return page->lastAnswer.c_str();
}

/// The AR button: asks the browser for an immersive-ar session (web/xr/).
EMSCRIPTEN_KEEPALIVE void orrery_xr_enter() { web::requestXrSession(); }
/// Ends the session.
EMSCRIPTEN_KEEPALIVE void orrery_xr_exit() { web::endXrSession(); }

/// Called by web/xr/XrLibrary.js when the session runs, at each of its frames, and when it ends.
EMSCRIPTEN_KEEPALIVE void orrery_xr_started() {
    page->input->blur(page->clock());  // fingers down on the page are let go
    page->xr->started();
    tellXrStarted();
}
EMSCRIPTEN_KEEPALIVE void orrery_xr_frame(double) {
    double cssWidth = 0, cssHeight = 0;
    emscripten_get_element_css_size(kCanvas, &cssWidth, &cssHeight);
    if (!page->paused) page->now = std::max(page->now, page->clock());
    page->xr->frame(page->now, CGSize{std::max(1.0, cssWidth), std::max(1.0, cssHeight)}, page->renderer.get(),
                    page->options);
    openRequestedURLs();
}
EMSCRIPTEN_KEEPALIVE void orrery_xr_ended() {
    page->xr->ended();
    page->input->blur(page->clock());
    page->simulator.platform().view->camera.viewport = memory::SimulatedCamera{}.viewport;
    page->simulator.platform().view->camera.verticalFieldOfView = memory::SimulatedCamera{}.verticalFieldOfView;
    tellXrEnded();
}

/// Shows or folds the panel.
EMSCRIPTEN_KEEPALIVE void orrery_show_panel(int shown) { page->panelShown = shown != 0; }

/// Drawn frames a second, over the last second.
EMSCRIPTEN_KEEPALIVE double orrery_frame_rate() { return page->drawnFramesPerSecond; }

}  // extern "C"

int main(int argc, char** argv) {
    page = new Page;  // lives as long as the page
    page->start = emscripten_get_now() / 1000.0;
    for (int i = 1; i < argc; ++i) {
        const std::string_view arg = argv[i];
        if (arg == "--paused") page->paused = true;
        if (arg == "--no-panel") page->panelShown = false;
    }

    EmscriptenWebGLContextAttributes attributes;
    emscripten_webgl_init_context_attributes(&attributes);
    attributes.majorVersion = 2;
    attributes.minorVersion = 0;
    attributes.alpha = false;
    attributes.depth = true;
    attributes.antialias = false;  // one sample a pixel, as the Linux window draws
    const EMSCRIPTEN_WEBGL_CONTEXT_HANDLE context = emscripten_webgl_create_context(kCanvas, &attributes);
    if (context <= 0) {
        tellNoWebGL2();
        return 1;
    }
    emscripten_webgl_make_context_current(context);

    page->simulator.start();
    page->session = std::make_unique<window::LiveSession>(
        page->simulator, [](const std::string& line) { std::cout << line << std::endl; }, nullptr);
    page->input = std::make_unique<web::PageInput>(*page->session);
    page->panel.controls = web::kPageControls;
    page->xr = std::make_unique<web::XrSession>(page->simulator, *page->session, *page->input);
    try {
        page->renderer = std::make_unique<render::Renderer>();
        page->picture = std::make_unique<render::OffscreenPicture>();
        page->simulator.snapshotHook = [](const memory::SceneFrame& frame, const std::filesystem::path& file, int width,
                                          int height) {
            render::writePng(page->picture->draw(*page->renderer, frame, width, height), file);
        };
    } catch (const std::exception& e) {
        std::cerr << "orrery: the scene cannot be drawn: " << e.what() << '\n';
    }

    IMGUI_CHECKVERSION();
    ImGui::CreateContext();
    ImGui::GetIO().IniFilename = nullptr;
    ImGui::StyleColorsDark();
    ImGui_ImplOpenGL3_Init("#version 300 es");

    emscripten_set_mousedown_callback(kCanvas, nullptr, true, onMouse);
    emscripten_set_mouseup_callback(EMSCRIPTEN_EVENT_TARGET_WINDOW, nullptr, true, onMouse);
    emscripten_set_mousemove_callback(EMSCRIPTEN_EVENT_TARGET_WINDOW, nullptr, true, onMouse);
    emscripten_set_wheel_callback(kCanvas, nullptr, true, onWheel);
    emscripten_set_keydown_callback(EMSCRIPTEN_EVENT_TARGET_WINDOW, nullptr, true, onKey);
    emscripten_set_keyup_callback(EMSCRIPTEN_EVENT_TARGET_WINDOW, nullptr, true, onKey);
    emscripten_set_touchstart_callback(kCanvas, nullptr, true, onTouch);
    emscripten_set_touchmove_callback(kCanvas, nullptr, true, onTouch);
    emscripten_set_touchend_callback(kCanvas, nullptr, true, onTouch);
    emscripten_set_touchcancel_callback(kCanvas, nullptr, true, onTouch);
    // While an immersive-ar session runs, fingers land on its DOM overlay.
    constexpr const char* kOverlay = "#xr-overlay";
    emscripten_set_touchstart_callback(kOverlay, nullptr, true, onTouch);
    emscripten_set_touchmove_callback(kOverlay, nullptr, true, onTouch);
    emscripten_set_touchend_callback(kOverlay, nullptr, true, onTouch);
    emscripten_set_touchcancel_callback(kOverlay, nullptr, true, onTouch);
    emscripten_set_blur_callback(EMSCRIPTEN_EVENT_TARGET_WINDOW, nullptr, true, onBlur);

    emscripten_request_animation_frame_loop(frame, nullptr);
    return 0;
}
