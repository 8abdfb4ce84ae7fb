// How the in-memory scene holds up as placed copies pile up: the app with the solar system
// turning (15 spins) and 10, 100, 1,000 or 10,000 copies of Mars spread over the floor, timing
// a placement (touch + frame), a scene hit test, a pinch and a frame, and measuring the heap
// taken per copy. The call log is cleared outside the timed parts, so only the scene counts.
// After the runs, a table gives each median and the ratio of the 10,000 figure to the 10 one.
//
// The copies stand one per square metre, as on a real floor: a room holds ten, a hall ten
// thousand. So the finger's ray meets about as many copies at every size (the "hits" counter),
// and the figures show what the size of the scene costs, not the size of the answer. Piling
// ten thousand copies on a few square metres makes the ray meet dozens of them, and a hit test
// that lists every body it meets then costs in proportion to that list.

#include "benchmarks/RunningApp.h"

#include <benchmark/benchmark.h>
#include <malloc.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <map>
#include <memory>
#include <numbers>
#include <string>
#include <vector>

namespace {

using namespace orrery;
using namespace orrery::memory;

constexpr std::int64_t kSizes[] = {10, 100, 1000, 10000};
/// Where the finger goes: low on the screen, with the camera looking down at the floor behind
/// the start position, away from the buttons and the solar system.
constexpr CGPoint kFinger{195, 600};
const SCNHitTestOptions kBoxesOnly{{SCNHitTestBoundingBoxOnlyKey, true}};

std::size_t heapInUse() { return mallinfo2().uordblks; }

/// The app after loading, with the solar system shown and Mars selected, and `copies` copies placed.
class App : public benchmarks::RunningApp {
public:
    explicit App(std::int64_t copies) : side(std::sqrt(kSquareMetresPerCopy * static_cast<double>(copies))) {
        selectBodyByName("Mars");
        platform.runFrame();
        platform.view->camera = SimulatedCamera{};
        platform.view->camera.yaw = static_cast<float>(std::numbers::pi);
        platform.view->camera.pitch = -0.6f;
        platform.log->clear();

        // The first copy sits where the finger's ray crosses the height of the copies' centres,
        // so the pinch always finds a body; the rest spread evenly over the floor.
        SCNVector3 origin, direction;
        platform.view->camera.rayThrough(kFinger, origin, direction);
        const float t = (kCopyCentreHeight - origin.y) / direction.y;
        place({origin.x + t * direction.x, kFloor, origin.z + t * direction.z});
        // Counted from the second copy: the first one also pays for indexing the whole scene.
        const std::size_t before = heapInUse();
        for (std::int64_t k = 1; k < copies; ++k) place(spread(k));
        memoryPerCopy = static_cast<double>(heapInUse() - before) / static_cast<double>(copies - 1);
        hitsAtFinger = platform.view->hitTestOptions(kFinger, kBoxesOnly).size();
        platform.log->clear();
    }

    /// A touch that places a copy at `floorPoint`, and the frame that adds it.
    void place(SCNVector3 floorPoint) {
        placeCopy(floorPoint, kFinger);
        platform.log->clear();
    }

    /// Takes the last placed copy away again, anchor and all.
    void unplaceLast() {
        platform.view->anchorNodes.back().second->removeFromParentNode();
        platform.view->anchorNodes.pop_back();
        platform.view->arSession.anchors.pop_back();
        platform.log->clear();
    }

    /// The k-th point of an even spread over a square floor of one square metre per copy,
    /// centred under the start position (additive recurrence on the plastic number).
    SCNVector3 spread(std::int64_t k) const {
        const double a = std::fmod(0.5 + 0.7548776662466927 * static_cast<double>(k), 1.0);
        const double b = std::fmod(0.5 + 0.5698402909980532 * static_cast<double>(k), 1.0);
        return {static_cast<float>(side * (a - 0.5)), kFloor, static_cast<float>(side * (b - 0.5))};
    }

    static constexpr double kSquareMetresPerCopy = 1.0;
    static constexpr float kFloor = -1.4f;
    static constexpr float kCopyCentreHeight = kFloor + 0.5f;

    double side;
    double memoryPerCopy = 0;
    std::size_t hitsAtFinger = 0;
};

App& app(std::int64_t copies) {
    static std::map<std::int64_t, std::unique_ptr<App>> apps;
    auto& slot = apps[copies];
    if (!slot) slot = std::make_unique<App>(copies);
    return *slot;
}

MemoryRecognizerBase& pinchRecognizer(App& a) {
    if (auto* pinch = a.platform.recognizer("UIPinchGestureRecognizer")) return *pinch;
    std::abort();
}

void TouchAndFrame(benchmark::State& state) {
    App& a = app(state.range(0));
    std::int64_t k = state.range(0);
    for (auto _ : state) {
        gestureHandled = false;
        a.platform.view->prepareFeatureHits({makeTranslation(a.spread(k))});
        const auto start = std::chrono::steady_clock::now();
        a.platform.endTouch(a.controller, kFinger);
        a.platform.runFrame();
        state.SetIterationTime(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
        a.unplaceLast();
    }
    state.counters["bytes/copy"] = a.memoryPerCopy;
}

void HitTest(benchmark::State& state) {
    App& a = app(state.range(0));
    for (auto _ : state) {
        auto hits = a.platform.view->hitTestOptions(kFinger, kBoxesOnly);
        benchmark::DoNotOptimize(hits);
        if (hits.size() < 2) state.SkipWithError("the finger should find a copy and the star field");
        a.platform.log->clear();
    }
    state.counters["hits"] = static_cast<double>(a.hitsAtFinger);
}

void Pinch(benchmark::State& state) {
    App& a = app(state.range(0));
    auto& pinch = pinchRecognizer(a);
    pinch.record.state = UIGestureRecognizerState::changed;
    pinch.record.location = kFinger;
    pinch.record.scale = 1.0;  // the body keeps its size, however many runs
    for (auto _ : state) {
        pinch.sendAction();
        a.platform.log->clear();
    }
    if (!gestureHandled) state.SkipWithError("the pinch found no body");
}

void Frame(benchmark::State& state) {
    App& a = app(state.range(0));
    for (auto _ : state) {
        a.platform.runFrame();
        a.platform.log->clear();
    }
}

void sizes(benchmark::internal::Benchmark* b) {
    for (const auto n : kSizes) b->Arg(n);
    b->Unit(benchmark::kMicrosecond)->Repetitions(3)->ReportAggregatesOnly(true);
}

BENCHMARK(TouchAndFrame)->Apply(sizes)->UseManualTime();
BENCHMARK(HitTest)->Apply(sizes);
BENCHMARK(Pinch)->Apply(sizes);
BENCHMARK(Frame)->Apply(sizes);

/// Keeps the median of every run as it is printed.
class MedianCollector final : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const auto& run : runs)
            if (run.aggregate_name == "median") {
                const std::string name = run.run_name.function_name;
                const auto copies = std::stoll(run.run_name.args);
                medians[name][copies] = run.GetAdjustedRealTime();
            }
        ConsoleReporter::ReportRuns(runs);
    }
    std::map<std::string, std::map<std::int64_t, double>> medians;
};

void printRow(const char* label, const std::map<std::int64_t, double>& values, const char* unit) {
    std::printf("%-16s", label);
    for (const auto n : kSizes) {
        const auto it = values.find(n);
        std::printf(" %12.2f", it == values.end() ? NAN : it->second);
    }
    const auto first = values.find(kSizes[0]), last = values.find(kSizes[3]);
    const double ratio = first != values.end() && last != values.end() ? last->second / first->second : NAN;
    std::printf(" %10.2f  %s\n", ratio, unit);
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    MedianCollector reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();

    std::printf("\nplaced copies   ");
    for (const auto n : kSizes) std::printf(" %12lld", static_cast<long long>(n));
    std::printf(" %10s\n", "10000/10");
    const std::pair<const char*, const char*> rows[] = {
        {"TouchAndFrame", "touch + frame"}, {"HitTest", "hit test"}, {"Pinch", "pinch"}, {"Frame", "frame"}};
    for (const auto& [name, label] : rows)
        if (reporter.medians.contains(name)) printRow(label, reporter.medians[name], "us (median)");
    std::map<std::int64_t, double> memory;
    for (const auto n : kSizes) memory[n] = app(n).memoryPerCopy;
    printRow("memory per copy", memory, "bytes");
    return 0;
}
