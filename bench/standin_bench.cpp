// What the stand-in hvq.dll costs: an inference against ONNX Runtime called directly, and a start with and without a
// cache folder. One thread each, on the reference networks of the tests.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "standin_support/direct_session.h"
#include "standin_support/test_engine.h"

namespace {

using standin_support::DirectSession;
using standin_support::Library;
using standin_support::NetworkFile;
using standin_support::Planes;
using standin_support::TemporaryFolder;
using standin_support::TestEngine;

// A frame as the process runs it: dims, data in, inference, data out, with the question for an error after each call.
void Inference(benchmark::State& state, const std::string& name, std::size_t width, std::size_t height) {
    TestEngine engine;
    engine.CreateNetwork(name);
    const auto& hvq = Library();
    const std::vector<float> planes = Planes(width, height);
    std::uint64_t dims[4] = {};
    std::uint64_t count = 0;
    for (auto _ : state) {
        hvq.hvqGetLayerDims(engine.Handle(), "input", nullptr, &count);
        hvq.hvqGetLayerDims(engine.Handle(), "input", dims, &count);
        hvq.hvqSetLayerData(engine.Handle(), "input", planes.data(), dims, count);
        hvq.hvqInfer(engine.Handle());
        const void* const mask = hvq.hvqGetLayerData(engine.Handle(), "segmentation");
        benchmark::DoNotOptimize(mask);
        if (hvq.hvqHasException(engine.Handle()) != 0) state.SkipWithError(engine.TakeError().c_str());
    }
    state.SetItemsProcessed(state.iterations());
}

void DirectInference(benchmark::State& state, const std::string& name, std::size_t width, std::size_t height) {
    const std::vector<float> planes = Planes(width, height);
    DirectSession session(NetworkFile(name), planes);
    for (auto _ : state) {
        session.Run();
        benchmark::DoNotOptimize(session.Output());
    }
    state.SetItemsProcessed(state.iterations());
}

enum class CacheUse { None, First, Second };

// From the property call to a network that can run.
void Start(benchmark::State& state, const std::string& name, CacheUse use) {
    const TemporaryFolder folder;
    if (use == CacheUse::Second) {
        TestEngine engine;
        engine.SetCacheFolder(name, folder.Path());
        engine.CreateNetwork(name);
    }
    for (auto _ : state) {
        state.PauseTiming();
        if (use == CacheUse::First) {
            for (const auto& file : folder.Files())
                std::filesystem::remove(file);
        }
        {
            TestEngine engine;
            state.ResumeTiming();
            if (use != CacheUse::None) engine.SetCacheFolder(name, folder.Path());
            engine.CreateNetwork(name);
            state.PauseTiming();
            const std::string error = engine.TakeError();
            if (!error.empty()) state.SkipWithError(error.c_str());
        }
        state.ResumeTiming();
    }
}

BENCHMARK_CAPTURE(Inference, 256x144, "reference_256x144", 256, 144)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(DirectInference, 256x144, "reference_256x144", 256, 144)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(Inference, 640x360, "reference_640x360", 640, 360)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(DirectInference, 640x360, "reference_640x360", 640, 360)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(Start, without_cache, "reference_640x360", CacheUse::None)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(Start, first_with_cache, "reference_640x360", CacheUse::First)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(Start, second_with_cache, "reference_640x360", CacheUse::Second)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

}  // namespace
