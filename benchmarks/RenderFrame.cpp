// Frame time of the renderer at 1280 x 720: the overview with 100 placed copies on their
// anchors, drawn headless (EGL surfaceless; Mesa's llvmpipe when no GPU is present), the
// clock advancing a frame each time so that every spin turns. A frame includes reading the
// picture back, which a window does not need, so a window's frame is a little cheaper.
// Goal: median at most 16.7 ms (60 frames a second).

#include "benchmarks/RunningApp.h"
#include "render/Snapshot.h"

#include <benchmark/benchmark.h>

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

void BM_FrameOverviewWith100Copies(benchmark::State& state) {
    setenv("LIBGL_ALWAYS_SOFTWARE", "1", 0);
    PlacedOverview scene;
    render::HeadlessRenderer headless;
    const render::RenderOptions options;
    headless.render(scene.platform.view->frame(), 1280, 720, options);  // first use uploads meshes and textures
    for (auto _ : state) {
        scene.platform.runFrame();
        const render::Image image = headless.render(scene.platform.view->frame(), 1280, 720, options);
        benchmark::DoNotOptimize(image.rgba.data());
    }
    state.counters["anchors"] = static_cast<double>(scene.platform.view->arSession.anchors.size());
}
BENCHMARK(BM_FrameOverviewWith100Copies)
    ->Unit(benchmark::kMillisecond)
    ->Repetitions(5)
    ->ReportAggregatesOnly(true)
    ->MinTime(2.0);

}  // namespace
