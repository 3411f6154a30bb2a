// What a frame costs in the helper around the network: a whole Infer on the scripted library, whose network does next
// to nothing, and beside it the library's own share of it (taking the input over, filling the mask).
//
// Inferred  temporalEnabled is off, so every frame goes to the network
// Temporal  it is on and the picture jumps, so every frame is compared first, and goes to the network
// Skipped   it is on and nothing changes: compared, and the last mask copied; every 18th goes to the network
// Swapped   as Inferred, with the option changing all the time, so that engines are made and exchanged meanwhile; the
//           counters tell the median frame and the longest one, both in microseconds

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "helpers/calyr_hvq_helper.h"
#include "helpers/calyr_output.h"
#include "helpers/hvq_input.h"
#include "helpers/status.h"
#include "infra/logger.h"
#include "infra/trace_sink.h"
#include "scripted_double/scripted_library.h"

namespace {

using Clock = std::chrono::steady_clock;

struct Size {
    std::int32_t quality;
    std::uint32_t width;
    std::uint32_t height;
};
constexpr Size kSizes[] = {{0, 256, 144}, {1, 640, 360}};

class Silence final : public rvo_calyr::IRvoCalyrTraceSink {
 public:
    std::int32_t OnTrace(std::uint32_t /*level*/, const char* /*text*/) override { return 0; }
};

std::string Script(const Size& size) {
    const std::string sides = std::to_string(size.height) + " " + std::to_string(size.width);
    return "quiet\nlayer input input 1 4 " + sides + "\nlayer output segmentation 1 1 " + sides +
           "\nfill segmentation copy input\n";
}

// A helper of the full family with its engine, and one frame.
struct Bench {
    explicit Bench(const Size& size) : size(size), library(Script(size)), pixels(std::size_t{3} * Area(), 100) {
        DrawDisc();
        (void)library.Scratch().Put("calyr_144p_input.dll", "a model");
        (void)library.Scratch().Put("calyr_360p_input.dll", "a model");
        header.width = size.width;
        header.height = size.height;
        option.deviceType = 1;
        option.modelQuality = size.quality;
        const std::string folder = library.Scratch().Folder().string();
        std::memcpy(option.modelPath, folder.c_str(), folder.size() + 1);
        std::memcpy(option.enginePath, folder.c_str(), folder.size() + 1);
        isGood = helper.Init(option) == rvo_calyr::kStatusSuccess;
        input.data = pixels.data();
        input.dataSize = static_cast<std::uint32_t>(pixels.size());
        input.header = header;
    }

    // The first plane, which the library gives back as the mask, holds a disc of a person's size.
    void DrawDisc() {
        const int radius = static_cast<int>(size.height) / 3;
        for (int y = 0; y < static_cast<int>(size.height); ++y) {
            for (int x = 0; x < static_cast<int>(size.width); ++x) {
                const int dx = x - static_cast<int>(size.width) / 2;
                const int dy = y - static_cast<int>(size.height) / 2;
                pixels[static_cast<std::size_t>(y) * size.width + static_cast<std::size_t>(x)] =
                    dx * dx + dy * dy < radius * radius ? 255 : 0;
            }
        }
    }

    // Changes the other two planes everywhere.
    void Jump() {
        const std::uint8_t value = pixels.back() == 100 ? 200 : 100;
        std::fill(pixels.begin() + static_cast<std::ptrdiff_t>(Area()), pixels.end(), value);
    }

    std::size_t Area() const { return std::size_t{size.width} * size.height; }

    const Size size;
    const scripted_double::ScriptedLibrary library;
    std::vector<std::uint8_t> pixels;
    calyr_ipc::IpcFrameHeader header{};
    rvo_calyr::_CalyrPortraitOption option;
    rvo_calyr::RvoCalyrHvqHelper helper;
    rvo_calyr::RvoHvqInput input;
    bool isGood = false;
};

void Inferred(benchmark::State& state, bool temporal, bool jumping) {
    Bench bench(kSizes[state.range(0)]);
    if (!bench.isGood) return state.SkipWithError("no engine");
    rvo_calyr::RvoCalyrOutput output(bench.header);
    bench.input.temporalEnabled = temporal ? 1 : 0;
    for (auto _ : state) {
        if (jumping) {
            state.PauseTiming();
            bench.Jump();
            state.ResumeTiming();
        }
        if (bench.helper.Infer(&bench.input, &output) != rvo_calyr::kStatusSuccess || output.status != 0) {
            return state.SkipWithError("no result");
        }
    }
}

void InferredFrame(benchmark::State& state) {
    Inferred(state, false, false);
}
void TemporalFrame(benchmark::State& state) {
    Inferred(state, true, true);
}
void SkippedFrame(benchmark::State& state) {
    Inferred(state, true, false);
}

// The library's calls of an inferred frame, without the helper.
void LibraryAlone(benchmark::State& state) {
    Bench bench(kSizes[state.range(0)]);
    hvq::inference::PluginEngine engine;
    engine.Create(bench.library.Path(), nullptr, nullptr);
    engine.RegisterModel("m", (bench.library.Scratch().Folder() / "calyr_144p_input.dll").string());
    engine.CreateNetwork("OpenVINO", "n", "CPU", "m", {});
    const std::vector<float> data(4 * bench.Area(), 1.0F);
    const hvq::inference::Dims dims = {1, 4, bench.size.height, bench.size.width};
    for (auto _ : state) {
        engine.SetLayerData("input", data.data(), dims);
        engine.Infer();
    }
}

void SwappedFrame(benchmark::State& state) {
    Bench bench(kSizes[state.range(0)]);
    if (!bench.isGood) return state.SkipWithError("no engine");
    rvo_calyr::RvoCalyrOutput output(bench.header);
    std::vector<double> frames;
    int round = 0;
    for (auto _ : state) {
        if (++round % 50 == 0) {
            bench.option.deviceType = bench.option.deviceType == 1 ? 0 : 1;
            (void)bench.helper.Init(bench.option);
        }
        const auto start = Clock::now();
        if (bench.helper.Infer(&bench.input, &output) != rvo_calyr::kStatusSuccess) {
            return state.SkipWithError("no result");
        }
        frames.push_back(std::chrono::duration<double, std::micro>(Clock::now() - start).count());
    }
    std::sort(frames.begin(), frames.end());
    if (!frames.empty()) {
        state.counters["median_us"] = frames[frames.size() / 2];
        state.counters["longest_us"] = frames.back();
    }
}

BENCHMARK(InferredFrame)->DenseRange(0, 1)->Unit(benchmark::kMicrosecond);
BENCHMARK(TemporalFrame)->DenseRange(0, 1)->Unit(benchmark::kMicrosecond);
BENCHMARK(SkippedFrame)->DenseRange(0, 1)->Unit(benchmark::kMicrosecond);
BENCHMARK(LibraryAlone)->DenseRange(0, 1)->Unit(benchmark::kMicrosecond);
BENCHMARK(SwappedFrame)->DenseRange(0, 1)->Unit(benchmark::kMicrosecond)->Iterations(2000);

}  // namespace

int main(int argc, char** argv) {
    static Silence silence;
    rvo_calyr::g_logger.SetTraceSink(&silence);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    rvo_calyr::g_logger.SetTraceSink(nullptr);
}
