// What the facade adds to the library's calls of a frame: a lock, and a question for exceptions after each call. The
// library is the scripted double with its record off; "Bare" makes the library's calls alone.
//
// The double copies what SetLayerData gives it, so that figure is of a copy with the facade around it; the small layer
// shows the facade alone.

#include <benchmark/benchmark.h>

#include <cstdint>
#include <string>
#include <vector>

#include "engine/bind_functions.h"
#include "engine/function_handle.h"
#include "engine/plugin_engine.h"
#include "engine/shared_library.h"
#include "scripted_double/scripted_library.h"

namespace {

using hvq::inference::Dims;

constexpr char kScript[] = "quiet\nmodels OpenVINO m\nlayer input small 1 4";

// One engine for all: seen through the facade, and bare.
struct Engines {
    Engines() {
        facade.Create(library.Path(), nullptr, nullptr);
        facade.CreateNetwork("OpenVINO", "n", "CPU", "m", {});
        functions = std::make_shared<hvq::inference::FunctionHandle>();
        functions->shared_library_handle_object = hvq::util::load_shared_object(library.Path().string());
        hvq::inference::BindFunctions(functions);
        bare = functions->hvqCreateWithLibraryLoader(nullptr, nullptr);
        functions->hvqCreateNetByBuiltin(bare, "OpenVINO", "n", "CPU", "m");
    }
    ~Engines() { functions->hvqDestory(bare); }
    Engines(const Engines&) = delete;
    Engines& operator=(const Engines&) = delete;

    const scripted_double::ScriptedLibrary library{kScript};
    hvq::inference::PluginEngine facade;
    std::shared_ptr<hvq::inference::FunctionHandle> functions;
    void* bare = nullptr;
    const std::string input = "input";
    const std::string small = "small";
    const Dims inputDims = {1, 4, 144, 256};
    const Dims smallDims = {1, 4};
    const std::vector<float> data = std::vector<float>(std::size_t{4} * 144 * 256, 1.0F);
};

Engines& Shared() {
    static Engines engines;
    return engines;
}

void BareGetLayerDims(benchmark::State& state) {
    const Engines& engines = Shared();
    for (auto _ : state) {
        std::uint64_t count = 0;
        engines.functions->hvqGetLayerDims(engines.bare, "input", nullptr, &count);
        std::uint64_t dims[4] = {};
        engines.functions->hvqGetLayerDims(engines.bare, "input", dims, &count);
        benchmark::DoNotOptimize(dims);
    }
}
BENCHMARK(BareGetLayerDims);

void GetLayerDims(benchmark::State& state) {
    Engines& engines = Shared();
    for (auto _ : state) {
        const Dims dims = engines.facade.GetLayerDims(engines.input);
        benchmark::DoNotOptimize(dims.data());
    }
}
BENCHMARK(GetLayerDims);

void BareSetLayerData(benchmark::State& state) {
    const Engines& engines = Shared();
    for (auto _ : state)
        engines.functions->hvqSetLayerData(engines.bare, "small", engines.data.data(), engines.smallDims.data(), 2);
}
BENCHMARK(BareSetLayerData);

void SetLayerData(benchmark::State& state) {
    Engines& engines = Shared();
    for (auto _ : state)
        engines.facade.SetLayerData(engines.small, engines.data.data(), engines.smallDims);
}
BENCHMARK(SetLayerData);

void SetLayerDataOfAFrame(benchmark::State& state) {
    Engines& engines = Shared();
    for (auto _ : state)
        engines.facade.SetLayerData(engines.input, engines.data.data(), engines.inputDims);
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(engines.data.size() * sizeof(float)));
}
BENCHMARK(SetLayerDataOfAFrame);

void BareGetLayerData(benchmark::State& state) {
    const Engines& engines = Shared();
    for (auto _ : state)
        benchmark::DoNotOptimize(engines.functions->hvqGetLayerData(engines.bare, "segmentation"));
}
BENCHMARK(BareGetLayerData);

void GetLayerData(benchmark::State& state) {
    Engines& engines = Shared();
    const std::string output = "segmentation";
    for (auto _ : state)
        benchmark::DoNotOptimize(engines.facade.GetLayerData(output));
}
BENCHMARK(GetLayerData);

}  // namespace
