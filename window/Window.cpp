#include "window/Window.h"

#include "window/Panel.h"
#include "window/SdlInput.h"

#include "render/Renderer.h"
#include "render/Snapshot.h"

#include <SDL.h>
#include "render/Gl.h"
#include <backends/imgui_impl_opengl3.h>
#include <backends/imgui_impl_sdl.h>
#include <imgui.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <cmath>
#include <exception>
#include <iostream>
#include <memory>

namespace orrery::window {

namespace {

constexpr int kPanelWidth = 400;
/// Frames are paced to the display; where it does not wait (no vsync, a virtual display) the
/// loop waits itself, so that a window never takes more than it can show.
constexpr double kFrameSeconds = 1.0 / 60.0;

/// The panel's width at the right of a window `windowWidth` wide: at most half the window.
int panelWidth(int windowWidth) { return std::min(kPanelWidth, std::max(windowWidth, 2) / 2); }

/// The phone's screen: the largest rectangle of its shape left of the panel, centred there
/// (letterboxed, never stretched or cropped), so that a click lands where the picture shows it.
ScreenArea screenArea(SDL_Window* window, CGSize points) {
    int w = 0, h = 0;
    SDL_GetWindowSize(window, &w, &h);
    return letterbox(std::max(1, w - panelWidth(w)), std::max(1, h), points);
}

/// Why there is no display, when there is none: SDL would quietly fall back to an invisible
/// offscreen window, which only a test asks for (SDL_VIDEODRIVER=offscreen).
const char* missingDisplay() {
    if (std::getenv("SDL_VIDEODRIVER")) return nullptr;
    if (std::getenv("DISPLAY") || std::getenv("WAYLAND_DISPLAY")) return nullptr;
    return "no display (neither DISPLAY nor WAYLAND_DISPLAY is set); run it on a desktop, or under xvfb-run";
}

}  // namespace

int runWindow(sim::Simulator& simulator, Recording* recording, const LiveSession::Print& print) {
    if (const char* why = missingDisplay()) {
        std::cerr << "orrery-sim: no window: " << why << '\n';
        return 2;
    }
    if (SDL_Init(SDL_INIT_VIDEO) != 0) {
        std::cerr << "orrery-sim: no window: " << SDL_GetError() << '\n';
        return 2;
    }
    SDL_GL_SetAttribute(SDL_GL_CONTEXT_PROFILE_MASK, SDL_GL_CONTEXT_PROFILE_CORE);
    SDL_GL_SetAttribute(SDL_GL_CONTEXT_MAJOR_VERSION, 3);
    SDL_GL_SetAttribute(SDL_GL_CONTEXT_MINOR_VERSION, 3);
    SDL_GL_SetAttribute(SDL_GL_DOUBLEBUFFER, 1);
    SDL_GL_SetAttribute(SDL_GL_DEPTH_SIZE, 24);

    const CGSize points = simulator.platform().view->camera.viewport;
    // One point a pixel, smaller when the display is not tall enough.
    double scale = 1.0;
    SDL_Rect usable;
    if (SDL_GetDisplayUsableBounds(0, &usable) == 0 && usable.h > 100)
        scale = std::min(1.0, (usable.h - 40) / points.height);
    const int height = static_cast<int>(std::lround(points.height * scale));
    const int width = static_cast<int>(std::lround(points.width * scale)) + kPanelWidth;
    SDL_Window* window = SDL_CreateWindow("Orrery AR simulator", SDL_WINDOWPOS_CENTERED, SDL_WINDOWPOS_CENTERED, width,
                                          height, SDL_WINDOW_OPENGL | SDL_WINDOW_RESIZABLE | SDL_WINDOW_ALLOW_HIGHDPI);
    SDL_GLContext context = window ? SDL_GL_CreateContext(window) : nullptr;
    if (!context) {
        std::cerr << "orrery-sim: no window with OpenGL 3.3: " << SDL_GetError() << '\n';
        if (window) SDL_DestroyWindow(window);
        SDL_Quit();
        return 2;
    }
    SDL_GL_MakeCurrent(window, context);
    SDL_GL_SetSwapInterval(1);

    IMGUI_CHECKVERSION();
    ImGui::CreateContext();
    ImGui::GetIO().IniFilename = nullptr;
    ImGui::StyleColorsDark();
    ImGui_ImplSDL2_InitForOpenGL(window, context);
    ImGui_ImplOpenGL3_Init("#version 330 core");

    std::unique_ptr<render::Renderer> renderer;
    try {
        renderer = std::make_unique<render::Renderer>();
    } catch (const std::exception& e) {
        std::cerr << "orrery-sim: the scene cannot be drawn: " << e.what() << '\n';
    }
    render::RenderOptions renderOptions;

    // Snapshots (F12) draw with this window's renderer into framebuffers of this context: a
    // second context of another API (EGL beside GLX) cannot be made current on X11.
    std::unique_ptr<render::OffscreenPicture> picture;
    const auto previousHook = simulator.snapshotHook;
    if (renderer) {
        picture = std::make_unique<render::OffscreenPicture>();
        simulator.snapshotHook = [&](const memory::SceneFrame& frame, const std::filesystem::path& file, int width,
                                     int height) {
            render::writePng(picture->draw(*renderer, frame, width, height), file);
        };
    }

    LiveSession session(simulator, print, recording);
    SdlInput input(session, screenArea(window, points));
    Panel panel;
    const Uint32 start = SDL_GetTicks();
    const Uint64 ticksPerSecond = SDL_GetPerformanceFrequency();
    Uint64 frameStart = SDL_GetPerformanceCounter(), rateStart = frameStart;
    int framesThisSecond = 0;
    double drawnFramesPerSecond = 0;
    double now = 0;
    bool running = true;
    while (running) {
        input.setArea(screenArea(window, points));
        SDL_Event event;
        while (running && SDL_PollEvent(&event)) {
            ImGui_ImplSDL2_ProcessEvent(&event);
            // Events keep their own time, never earlier than what already ran.
            const double at = std::max(now, (static_cast<double>(event.common.timestamp) - start) / 1000.0);
            // A click right behind a resize in the same batch maps to the new size.
            if (event.type == SDL_WINDOWEVENT) input.setArea(screenArea(window, points));
            if (!input.handle(event, at)) running = false;
        }
        // Drawn where the clicks of this frame were mapped.
        const ScreenArea area = screenArea(window, points);
        input.setArea(area);
        input.flushMotion();
        now = std::max(now, (SDL_GetTicks() - start) / 1000.0);
        session.advanceTo(now);
        if (!running) break;

        int drawableWidth = 0, drawableHeight = 0, windowWidth = 0, windowHeight = 0;
        SDL_GL_GetDrawableSize(window, &drawableWidth, &drawableHeight);
        SDL_GetWindowSize(window, &windowWidth, &windowHeight);
        const double pixels = windowWidth > 0 ? static_cast<double>(drawableWidth) / windowWidth : 1.0;
        glViewport(0, 0, drawableWidth, drawableHeight);
        glClearColor(0.08f, 0.08f, 0.1f, 1.0f);
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        const auto px = [&](int points) { return static_cast<int>(std::lround(points * pixels)); };
        const render::Viewport screen{px(area.x), drawableHeight - px(area.y + area.height), px(area.width),
                                      px(area.height)};
        if (renderer) renderer->draw(simulator.platform().view->frame(), screen, renderOptions);

        ImGui_ImplOpenGL3_NewFrame();
        ImGui_ImplSDL2_NewFrame();
        ImGui::NewFrame();
        const int panelX = std::max(1, windowWidth - panelWidth(windowWidth));
        panel.draw(simulator, session, renderOptions, drawnFramesPerSecond, static_cast<float>(panelX), 0.0f,
                   static_cast<float>(std::max(windowWidth - panelX, 1)), static_cast<float>(windowHeight));
        ImGui::Render();
        glViewport(0, 0, drawableWidth, drawableHeight);
        ImGui_ImplOpenGL3_RenderDrawData(ImGui::GetDrawData());
        SDL_GL_SwapWindow(window);

        const Uint64 frameEnd = SDL_GetPerformanceCounter();
        const double spent = static_cast<double>(frameEnd - frameStart) / static_cast<double>(ticksPerSecond);
        if (spent < kFrameSeconds) SDL_Delay(static_cast<Uint32>((kFrameSeconds - spent) * 1000.0));
        frameStart = SDL_GetPerformanceCounter();
        ++framesThisSecond;
        const double rateSeconds = static_cast<double>(frameStart - rateStart) / static_cast<double>(ticksPerSecond);
        if (rateSeconds >= 1.0) {
            drawnFramesPerSecond = framesThisSecond / rateSeconds;
            framesThisSecond = 0;
            rateStart = frameStart;
        }
    }
    session.finish(now);
    simulator.snapshotHook = previousHook;
    picture.reset();  // while its context is current
    renderer.reset();

    ImGui_ImplOpenGL3_Shutdown();
    ImGui_ImplSDL2_Shutdown();
    ImGui::DestroyContext();
    SDL_GL_DeleteContext(context);
    SDL_DestroyWindow(window);
    SDL_Quit();
    return 0;
}

}  // namespace orrery::window
