// Loading all 35 shipped models: this project's reader against Assimp on the same
// files in the same run. After the Google Benchmark runs, a plain timed comparison
// prints "orrery: X ms, assimp: Y ms, ratio: Z" (Z = Assimp time / ours).

#include "content/BodyCatalog.h"
#include "platform/memory/collada/ColladaLoader.h"

#include <assimp/Importer.hpp>
#include <assimp/postprocess.h>
#include <assimp/scene.h>
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

namespace {

/// Assimp's post-processing for the comparison: only triangulation, which our reader also does.
constexpr unsigned kAssimpFlags = aiProcess_Triangulate;

std::vector<std::string> modelFiles() {
    const std::filesystem::path root = ORRERY_SOURCE_DIR;
    std::vector<std::string> files;
    for (const auto& body : orrery::BodyCatalog::bodies()) files.push_back((root / body.assetPath).string());
    for (const auto& button : orrery::BodyCatalog::buttons()) files.push_back((root / button.assetPath).string());
    return files;
}

const std::vector<std::string>& files() {
    static const std::vector<std::string> all = modelFiles();
    return all;
}

/// Loads every model once with our reader; false if any fails.
bool loadAllOrrery() {
    for (const auto& file : files()) {
        auto scene = orrery::memory::loadColladaFile(file);
        if (!scene) return false;
        benchmark::DoNotOptimize(scene);
    }
    return true;
}

/// Loads every model once with Assimp (one importer, as an application would keep it).
bool loadAllAssimp(Assimp::Importer& importer) {
    for (const auto& file : files()) {
        const aiScene* scene = importer.ReadFile(file, kAssimpFlags);
        if (!scene || !scene->mRootNode || scene->mNumMeshes == 0) {
            std::fprintf(stderr, "assimp failed on %s: %s\n", file.c_str(), importer.GetErrorString());
            return false;
        }
        benchmark::DoNotOptimize(scene);
    }
    return true;
}

void LoadAllModels_Orrery(benchmark::State& state) {
    for (auto _ : state)
        if (!loadAllOrrery()) state.SkipWithError("a model failed to load");
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(files().size()));
}
BENCHMARK(LoadAllModels_Orrery)->Unit(benchmark::kMillisecond);

void LoadAllModels_Assimp(benchmark::State& state) {
    Assimp::Importer importer;
    for (auto _ : state)
        if (!loadAllAssimp(importer)) state.SkipWithError("a model failed to load");
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(files().size()));
}
BENCHMARK(LoadAllModels_Assimp)->Unit(benchmark::kMillisecond);

/// Median of `passes` timed runs of `pass`, in milliseconds.
template <typename Pass>
double medianMilliseconds(int passes, Pass pass) {
    std::vector<double> times;
    for (int i = 0; i < passes; ++i) {
        const auto start = std::chrono::steady_clock::now();
        if (!pass()) return -1;
        times.push_back(std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count());
    }
    std::sort(times.begin(), times.end());
    return times[times.size() / 2];
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();

    // The headline comparison: whole passes over all models, interleaved warm-ups excluded.
    Assimp::Importer importer;
    loadAllOrrery();
    loadAllAssimp(importer);
    const double orrery = medianMilliseconds(9, loadAllOrrery);
    const double assimp = medianMilliseconds(9, [&] { return loadAllAssimp(importer); });
    if (orrery < 0 || assimp < 0) {
        std::fprintf(stderr, "a model failed to load\n");
        return 1;
    }
    std::printf("orrery: %.3f ms, assimp: %.3f ms, ratio: %.2f (%zu models, median of 9 passes)\n", orrery, assimp,
                assimp / orrery, files().size());
    return 0;
}
