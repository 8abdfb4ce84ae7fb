// Frame time of the renderer: the overview with 100 placed copies on their anchors and the room
// visible behind the stars, drawn headless (EGL surfaceless; Mesa's llvmpipe when no GPU is
// present), the clock advancing a frame each time so that every spin turns. A frame includes
// reading the picture back, which a window does not need, so a window's frame is a little
// cheaper. Arguments: width, height and samples a pixel (1 as the live window draws, 4 as
// snapshots and the device draw). Goals with one sample: at most 16.7 ms at 1280 x 720 and at
// most 8 ms at the window's 390 x 844.

#include "benchmarks/RunningApp.h"
#include "render/Snapshot.h"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <map>
#include <memory>

namespace {

using namespace orrery;

struct PlacedOverview : benchmarks::RunningApp {
    PlacedOverview() {
        // 100 copies on a 10 x 10 grid of floor points ahead, each placed by a touch on empty space.
        for (int i = 0; i < 100; ++i) {
            platform.view->prepareSceneHits({});
            placeCopy({-2.25f + 0.5f * static_cast<float>(i % 10), -1.4f, -1.5f - 0.4f * static_cast<float>(i / 10)},
                      CGPoint{195, 700});
        }
        platform.view->camera.pitch = -0.3f;
    }
};

/// One headless context for each sample count, kept across the benchmark's runs.
render::HeadlessRenderer& headlessWith(int samples) {
    static std::map<int, std::unique_ptr<render::HeadlessRenderer>> contexts;
    auto& headless = contexts[samples];
    if (!headless) headless = std::make_unique<render::HeadlessRenderer>(samples);
    return *headless;
}

void BM_FrameOverviewWith100Copies(benchmark::State& state) {
    setenv("LIBGL_ALWAYS_SOFTWARE", "1", 0);
    const auto width = static_cast<int>(state.range(0)), height = static_cast<int>(state.range(1));
    PlacedOverview scene;
    render::HeadlessRenderer& headless = headlessWith(static_cast<int>(state.range(2)));
    const render::RenderOptions options;                                    // the camera image (the room) shown
    headless.render(scene.platform.view->frame(), width, height, options);  // first use uploads meshes and textures
    for (auto _ : state) {
        scene.platform.runFrame();
        const render::Image image = headless.render(scene.platform.view->frame(), width, height, options);
        benchmark::DoNotOptimize(image.rgba.data());
    }
    state.counters["anchors"] = static_cast<double>(scene.platform.view->arSession.anchors.size());
}
BENCHMARK(BM_FrameOverviewWith100Copies)
    ->ArgNames({"width", "height", "samples"})
    ->Args({1280, 720, 1})
    ->Args({390, 844, 1})
    ->Args({1280, 720, 4})
    ->Args({390, 844, 4})
    ->Unit(benchmark::kMillisecond)
    ->Repetitions(5)
    ->ReportAggregatesOnly(true)
    ->MinTime(1.0);

}  // namespace
