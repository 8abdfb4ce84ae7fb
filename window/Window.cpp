#include "window/Window.h"

#include "window/Panel.h"
#include "window/SdlInput.h"

#include "render/Renderer.h"

#include <SDL.h>
#include <epoxy/gl.h>
#include <backends/imgui_impl_opengl3.h>
#include <backends/imgui_impl_sdl.h>
#include <imgui.h>

#include <algorithm>
#include <cmath>
#include <exception>
#include <iostream>
#include <memory>

namespace orrery::window {

namespace {

constexpr int kPanelWidth = 400;

/// The phone's screen at the left, the panel to its right; the screen keeps its shape.
ScreenArea screenArea(SDL_Window* window, CGSize points) {
    int w = 0, h = 0;
    SDL_GetWindowSize(window, &w, &h);
    ScreenArea area;
    area.points = points;
    area.height = std::max(h, 1);
    area.width = std::max(1, static_cast<int>(std::lround(area.height * points.width / points.height)));
    area.width = std::min(area.width, std::max(1, w - kPanelWidth));
    return area;
}

}  // namespace

int runWindow(sim::Simulator& simulator, Recording* recording, const LiveSession::Print& print) {
    if (SDL_Init(SDL_INIT_VIDEO) != 0) {
        std::cerr << "orrery-sim: no window: " << SDL_GetError() << '\n';
        return 1;
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
        return 1;
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

    LiveSession session(simulator, print, recording);
    SdlInput input(session, screenArea(window, points));
    Panel panel;
    const Uint32 start = SDL_GetTicks();
    double now = 0;
    int snapshotsSeen = 0;
    bool running = true;
    while (running) {
        const ScreenArea area = screenArea(window, points);
        input.setArea(area);
        SDL_Event event;
        while (SDL_PollEvent(&event)) {
            ImGui_ImplSDL2_ProcessEvent(&event);
            // Events keep their own time, never earlier than what already ran.
            const double at = std::max(now, (static_cast<double>(event.common.timestamp) - start) / 1000.0);
            if (!input.handle(event, at)) running = false;
        }
        now = std::max(now, (SDL_GetTicks() - start) / 1000.0);
        session.advanceTo(now);

        if (session.snapshotsTaken() != snapshotsSeen) {
            // A snapshot draws in a context of its own; SDL takes its context for current until told otherwise.
            snapshotsSeen = session.snapshotsTaken();
            SDL_GL_MakeCurrent(window, nullptr);
            SDL_GL_MakeCurrent(window, context);
        }
        int drawableWidth = 0, drawableHeight = 0, windowWidth = 0, windowHeight = 0;
        SDL_GL_GetDrawableSize(window, &drawableWidth, &drawableHeight);
        SDL_GetWindowSize(window, &windowWidth, &windowHeight);
        const double pixels = windowWidth > 0 ? static_cast<double>(drawableWidth) / windowWidth : 1.0;
        glViewport(0, 0, drawableWidth, drawableHeight);
        glClearColor(0.08f, 0.08f, 0.1f, 1.0f);
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        const int screenWidth = static_cast<int>(std::lround(area.width * pixels));
        glViewport(0, 0, screenWidth, drawableHeight);
        if (renderer) renderer->draw(simulator.platform().view->frame(), screenWidth, drawableHeight, renderOptions);

        ImGui_ImplOpenGL3_NewFrame();
        ImGui_ImplSDL2_NewFrame();
        ImGui::NewFrame();
        panel.draw(simulator, session, renderOptions, static_cast<float>(area.width), 0.0f,
                   static_cast<float>(std::max(windowWidth - area.width, 1)), static_cast<float>(windowHeight));
        ImGui::Render();
        glViewport(0, 0, drawableWidth, drawableHeight);
        ImGui_ImplOpenGL3_RenderDrawData(ImGui::GetDrawData());
        SDL_GL_SwapWindow(window);
    }
    session.finish(now);
    renderer.reset();  // while its context is current

    ImGui_ImplOpenGL3_Shutdown();
    ImGui_ImplSDL2_Shutdown();
    ImGui::DestroyContext();
    SDL_GL_DeleteContext(context);
    SDL_DestroyWindow(window);
    SDL_Quit();
    return 0;
}

}  // namespace orrery::window
