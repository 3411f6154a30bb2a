// What the per-pixel work of one frame costs, for each version of the functions that this processor runs, at both sizes
// of the models. Pictures are drawn: a person before a noisy background who moves from one to the next, so that no
// branch is learned by heart. They take turns, as frames do in the slots that they come in; the network's floats are
// always the same array, as in the process.
//
// WidenFrame       three planes and the previous mask to floats, as before each inference
// ConvertMask      the network's floats to the mask, as after each inference
// ConvertMaskTwice the same into the previous mask, too, with the sum
// CountChanged     the change along the edge band, as on each frame that might be skipped
// BuildEdgeMap     the edge band of a mask, with the zeroing of the map, as on each refresh
// FillMemory       memset over as many bytes as WidenFrame writes: what the memory allows

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "helpers/kernels/kernels.h"
#include "platform/processor_features.h"

namespace {

using rvo_calyr::kernels::Kernels;

constexpr int kPictures = 4;

struct Size {
    int width;
    int height;

    std::size_t Pixels() const { return static_cast<std::size_t>(width) * static_cast<std::size_t>(height); }
};

// A head, a neck and shoulders that reach the lower border; edges are soft over a few pixels, as a network's are.
std::uint8_t PersonByte(const Size& size, int x, int y, double moved) {
    const double u = (x + 0.5) / size.height - 0.5 * size.width / size.height - moved;
    const double v = (y + 0.5) / size.height;
    const double head = 1.0 - std::hypot(u / 0.13, (v - 0.33) / 0.18);
    const double neck = v > 0.4 && v < 0.65 ? 1.0 - std::abs(u) / 0.07 : -1.0;
    const double shoulders = 1.0 - std::hypot(u / 0.38, (v - 1.0) / 0.45);
    const double inside = std::max({head * 0.15, neck * 0.07, shoulders * 0.4});  // about the distance from the outline
    const double softness = 1.5 / size.height;
    return static_cast<std::uint8_t>(std::lround(255.0 / (1.0 + std::exp(-inside / softness * 2.0))));
}

struct Picture {
    std::vector<std::uint8_t> mask;
    std::vector<float> maskFloats;
    std::vector<std::uint8_t> frame;  // three planes
    std::vector<std::uint8_t> edgeMap;
};

std::vector<Picture> Pictures(const Size& size) {
    std::mt19937 random(20);
    std::vector<Picture> pictures(kPictures);
    for (std::size_t p = 0; p < pictures.size(); ++p) {
        Picture& picture = pictures[p];
        const double moved = 0.08 * std::sin(static_cast<double>(p));
        for (int y = 0; y < size.height; ++y) {
            for (int x = 0; x < size.width; ++x) {
                picture.mask.push_back(PersonByte(size, x, y, moved));
                picture.maskFloats.push_back(picture.mask.back());
            }
        }
        for (std::size_t plane = 0; plane < 3; ++plane) {
            for (const std::uint8_t byte : picture.mask) {
                picture.frame.push_back(static_cast<std::uint8_t>(byte / 2 + random() % 32));
            }
        }
        picture.edgeMap.resize(size.Pixels());
        std::uint32_t count = 0;
        rvo_calyr::kernels::PlainKernels().buildEdgeMap(size.width, size.height, picture.mask.data(), count,
                                                        picture.edgeMap.data());
    }
    return pictures;
}

const std::vector<Picture>& PicturesOf(const Size& size) {
    static const std::vector<Picture> small = Pictures({256, 144});
    static const std::vector<Picture> large = Pictures({640, 360});
    return size.width == 256 ? small : large;
}

// Runs a step on one picture after the other. `bytes` is what one step reads and writes.
template <class Step>
void Run(benchmark::State& state, const Size& size, std::size_t bytes, Step step) {
    const std::vector<Picture>& pictures = PicturesOf(size);
    std::size_t next = 0;
    for (auto _ : state) {
        step(pictures[next % kPictures], pictures[(next + 1) % kPictures]);
        ++next;
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(bytes) * state.iterations());
}

void WidenFrame(benchmark::State& state, const Kernels& kernels, const Size& size) {
    const std::size_t n = size.Pixels();
    std::vector<float> input(4 * n);
    Run(state, size, 4 * n * 5, [&](const Picture& picture, const Picture&) {
        kernels.widenBytes(picture.frame.data(), 3 * n, input.data());
        kernels.widenBytes(picture.mask.data(), n, input.data() + 3 * n);
    });
}

void ConvertMask(benchmark::State& state, const Kernels& kernels, const Size& size) {
    const std::size_t n = size.Pixels();
    const std::vector<float>& floats = PicturesOf(size).front().maskFloats;
    std::vector<std::uint8_t> mask(n);
    Run(state, size, n * 5,
        [&](const Picture&, const Picture&) { kernels.convertMask(floats.data(), n, mask.data()); });
}

void ConvertMaskTwice(benchmark::State& state, const Kernels& kernels, const Size& size) {
    const std::size_t n = size.Pixels();
    const std::vector<float>& floats = PicturesOf(size).front().maskFloats;
    std::vector<std::uint8_t> mask(n);
    std::vector<std::uint8_t> previousMask(n);
    Run(state, size, n * 6, [&](const Picture&, const Picture&) {
        benchmark::DoNotOptimize(kernels.convertMaskTwice(floats.data(), n, mask.data(), previousMask.data()));
    });
}

void CountChanged(benchmark::State& state, const Kernels& kernels, const Size& size) {
    const std::size_t n = size.Pixels();
    // The map is read whole, of the frames little: bytes per second are those of the map.
    Run(state, size, n, [&](const Picture& picture, const Picture& other) {
        benchmark::DoNotOptimize(
            kernels.countChangedPixels(n, picture.frame.data(), other.frame.data(), other.edgeMap.data()));
    });
}

void BuildEdgeMap(benchmark::State& state, const Kernels& kernels, const Size& size) {
    const std::size_t n = size.Pixels();
    std::vector<std::uint8_t> map(n);
    Run(state, size, 2 * n, [&](const Picture& picture, const Picture&) {
        std::memset(map.data(), 0, n);
        std::uint32_t count = 0;
        kernels.buildEdgeMap(size.width, size.height, picture.mask.data(), count, map.data());
        benchmark::DoNotOptimize(count);
    });
}

void FillMemory(benchmark::State& state, const Size& size) {
    std::vector<float> input(4 * size.Pixels());
    const std::size_t bytes = input.size() * sizeof(float);
    Run(state, size, bytes, [&](const Picture&, const Picture&) { std::memset(input.data(), 0, bytes); });
}

std::string NameOf(const char* function, const char* version, const Size& size) {
    return std::string(function) + "/" + version + "/" + std::to_string(size.width) + "x" + std::to_string(size.height);
}

void Register(const Kernels& kernels) {
    using Function = void (*)(benchmark::State&, const Kernels&, const Size&);
    struct Named {
        const char* name;
        Function function;
    };
    const Named functions[] = {{"WidenFrame", WidenFrame},
                               {"ConvertMask", ConvertMask},
                               {"ConvertMaskTwice", ConvertMaskTwice},
                               {"CountChanged", CountChanged},
                               {"BuildEdgeMap", BuildEdgeMap}};
    for (const Named& named : functions) {
        for (const Size size : {Size{256, 144}, Size{640, 360}}) {
            const std::string name = NameOf(named.name, kernels.name, size);
            benchmark::RegisterBenchmark(name.c_str(), [named, &kernels, size](benchmark::State& state) {
                named.function(state, kernels, size);
            })->Unit(benchmark::kMicrosecond);
        }
    }
}

}  // namespace

int main(int argumentCount, char** arguments) {
    const platform::ProcessorFeatures features = platform::ThisProcessorsFeatures();
    Register(rvo_calyr::kernels::PlainKernels());
    if (const Kernels* const sse2 = rvo_calyr::kernels::Sse2Kernels(); sse2 != nullptr) {
        Register(*sse2);
    }
    if (const Kernels* const avx2 = rvo_calyr::kernels::Avx2Kernels();
        avx2 != nullptr && features.avx2 && features.popcnt) {
        Register(*avx2);
    }
    for (const Size size : {Size{256, 144}, Size{640, 360}}) {
        benchmark::RegisterBenchmark(NameOf("FillMemory", "memset", size).c_str(), [size](benchmark::State& state) {
            FillMemory(state, size);
        })->Unit(benchmark::kMicrosecond);
    }
    benchmark::Initialize(&argumentCount, arguments);
    if (benchmark::ReportUnrecognizedArguments(argumentCount, arguments)) {
        return 1;
    }
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
