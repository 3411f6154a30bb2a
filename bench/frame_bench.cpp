// What a frame costs in the helper around the network: whole Infers on the scripted library, whose network does next to
// nothing, and beside them the library's own share (taking the input over, filling the mask).
//
// Inferred  temporalEnabled is off, so every frame goes to the network
// Temporal  it is on and the picture jumps, so every frame is compared first, and goes to the network; every tenth
//           makes a new reference
// Skipped   it is on and nothing changes: compared, and the last mask copied; every 18th goes to the network
// Swapped   as Inferred, with the device changing all the time, so that engines are made and exchanged meanwhile
// Library   the library's calls of an inferred frame, without the helper
//
// Full is the family that also copies landmarks, motion and gesture out of the library on every frame, 829 KB of them;
// MaskOnly the one that does not. Counters, of the single frames: median_us, p99_us, longest_us; network, the share of
// frames that went there; swaps, the engines that came in.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "helpers/calyr_hvq_helper.h"
#include "helpers/calyr_output.h"
#include "helpers/hvq_input.h"
#include "helpers/inhouse_hvq_helper.h"
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

constexpr std::uint8_t kFirstGrey = 7;
constexpr int kGreySteps = 12;  // more than the ten frames that one reference stands for

// Hears everything, and counts the engines that come in.
class SwapCounter final : public rvo_calyr::IRvoCalyrTraceSink {
 public:
    std::int32_t OnTrace(std::uint32_t /*level*/, const char* text) override {
        if (std::strstr(text, "SwitchEngine(), [from]") != nullptr) ++m_swaps;
        return 0;
    }

    int Swaps() const { return m_swaps; }

 private:
    std::atomic<int> m_swaps{0};
};

SwapCounter& Sink() {
    static SwapCounter sink;
    return sink;
}

std::string Script(const Size& size) {
    const std::string sides = std::to_string(size.height) + " " + std::to_string(size.width);
    return "quiet\nlayer input input 1 4 " + sides + "\nlayer output segmentation 1 1 " + sides +
           "\nfill segmentation copy input 0\n";
}

calyr_ipc::IpcFrameHeader Header(const Size& size) {
    calyr_ipc::IpcFrameHeader header{};
    header.width = size.width;
    header.height = size.height;
    return header;
}

// A helper with its engine, and one frame.
template <typename Helper>
struct Bench {
    explicit Bench(const Size& given)
        : size(given), library(Script(given)), pixels(std::size_t{3} * Area(), 100), header(Header(given)) {
        DrawDisc();
        for (const char* const family : {"calyr", "inhouse"}) {
            for (const char* const lines : {"144", "360"}) {
                (void)library.Scratch().Put(std::string(family) + "_" + lines + "p_input.dll", "a model");
            }
        }
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

    // Changes the other two planes everywhere, by more than goes unnoticed, to what no reference of theirs can hold.
    void Jump() {
        step = (step + 1) % kGreySteps;
        const auto grey = static_cast<std::uint8_t>(kFirstGrey + 20 * step);
        std::fill(pixels.begin() + static_cast<std::ptrdiff_t>(Area()), pixels.end(), grey);
    }

    // One frame; false when it gave no result.
    bool Infer() { return helper.Infer(&input, &output) == rvo_calyr::kStatusSuccess && output.status == 0; }

    std::size_t Area() const { return std::size_t{size.width} * size.height; }

    const Size size;
    const scripted_double::ScriptedLibrary library;
    std::vector<std::uint8_t> pixels;
    const calyr_ipc::IpcFrameHeader header;
    rvo_calyr::_CalyrPortraitOption option;
    Helper helper;
    rvo_calyr::RvoHvqInput input;
    rvo_calyr::RvoCalyrOutput output{header};
    int step = 0;
    bool isGood = false;
};

using Full = rvo_calyr::RvoCalyrHvqHelper;
using MaskOnly = rvo_calyr::RvoInhouseHvqHelper;

// The times of single frames.
class FrameTimes {
 public:
    template <typename Function>
    bool Time(Function function) {
        const auto start = Clock::now();
        const bool result = function();
        m_us.push_back(std::chrono::duration<double, std::micro>(Clock::now() - start).count());
        return result;
    }

    void Report(benchmark::State& state) {
        if (m_us.empty()) return;
        std::sort(m_us.begin(), m_us.end());
        state.counters["median_us"] = m_us[m_us.size() / 2];
        state.counters["p99_us"] = m_us[m_us.size() * 99 / 100];
        state.counters["longest_us"] = m_us.back();
    }

 private:
    std::vector<double> m_us;
};

enum class Picture { Still, Jumping };

// Runs frames, all with or without the temporal flag.
template <typename Helper>
void Run(benchmark::State& state, bool temporal, Picture picture) {
    Bench<Helper> bench(kSizes[state.range(0)]);
    if (!bench.isGood) return state.SkipWithError("no engine");
    bench.input.temporalEnabled = temporal ? 1 : 0;
    FrameTimes times;
    std::int64_t inferred = 0;
    for (auto _ : state) {
        state.PauseTiming();
        if (picture == Picture::Jumping) bench.Jump();
        bench.output.header.stampMs = 0;
        state.ResumeTiming();
        if (!times.Time([&] { return bench.Infer(); })) return state.SkipWithError("no result");
        if (bench.output.header.stampMs != 0) ++inferred;  // a frame that skips leaves it alone
    }
    times.Report(state);
    state.counters["network"] = benchmark::Counter(static_cast<double>(inferred), benchmark::Counter::kAvgIterations);
}

template <typename Helper>
void InferredFrame(benchmark::State& state) {
    Run<Helper>(state, false, Picture::Still);
}
template <typename Helper>
void TemporalFrame(benchmark::State& state) {
    Run<Helper>(state, true, Picture::Jumping);
}
template <typename Helper>
void SkippedFrame(benchmark::State& state) {
    Run<Helper>(state, true, Picture::Still);
}

void LibraryAlone(benchmark::State& state) {
    Bench<Full> bench(kSizes[state.range(0)]);
    hvq::inference::PluginEngine engine;
    engine.Create(bench.library.Path(), nullptr, nullptr);
    engine.RegisterModel("m", (bench.library.Scratch().Folder() / "calyr_144p_input.dll").string());
    engine.CreateNetwork("OpenVINO", "n", "CPU", "m", {});
    const std::vector<float> data(4 * bench.Area(), 1.0F);
    const hvq::inference::Dims dims = {1, 4, bench.size.height, bench.size.width};
    FrameTimes times;
    for (auto _ : state) {
        times.Time([&] {
            engine.SetLayerData("input", data.data(), dims);
            engine.Infer();
            return true;
        });
    }
    times.Report(state);
}

// A change of the device every 50 frames, and frames all along.
template <typename Helper>
void SwappedFrame(benchmark::State& state) {
    Bench<Helper> bench(kSizes[state.range(0)]);
    if (!bench.isGood) return state.SkipWithError("no engine");
    FrameTimes times;
    int round = 0;
    const int swapsBefore = Sink().Swaps();
    for (auto _ : state) {
        if (++round % 50 == 0) {
            bench.option.deviceType = bench.option.deviceType == 1 ? 0 : 1;
            (void)bench.helper.Init(bench.option);
        }
        if (!times.Time([&] { return bench.Infer(); })) return state.SkipWithError("no result");
    }
    times.Report(state);
    state.counters["swaps"] = Sink().Swaps() - swapsBefore;
}

#define VELMOML_FRAMES(name) BENCHMARK(name)->DenseRange(0, 1)->Unit(benchmark::kMicrosecond)->Iterations(4000)
VELMOML_FRAMES(InferredFrame<Full>);
VELMOML_FRAMES(InferredFrame<MaskOnly>);
VELMOML_FRAMES(TemporalFrame<Full>);
VELMOML_FRAMES(TemporalFrame<MaskOnly>);
VELMOML_FRAMES(SkippedFrame<Full>);
VELMOML_FRAMES(SkippedFrame<MaskOnly>);
VELMOML_FRAMES(LibraryAlone);
VELMOML_FRAMES(SwappedFrame<MaskOnly>);

}  // namespace

int main(int argc, char** argv) {
    rvo_calyr::g_logger.SetTraceSink(&Sink());
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    rvo_calyr::g_logger.SetTraceSink(nullptr);
}
