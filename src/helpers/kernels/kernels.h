#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/processor_features.h"

namespace rvo_calyr::kernels {

// One version of all the per-pixel functions. Every version gives the same result to the bit and touches no byte
// outside the arrays it is given; arrays may start at any address and have any length. The functions allocate nothing,
// except where told, and throw nothing else. Outputs don't overlap inputs or each other. Thread: any. Lock: none taken.
//
// They are reached through the functions of byte_floats.h, content_change.h and edge_map.h, which take the version that
// suits the processor. Plain addresses and counts here, because a version for newer processors is compiled for them
// alone: an inline function of the standard library that both it and others use could end up in the program as compiled
// for the newer processor, and stop the others on an older one.
struct Kernels {
    const char* name;  // "plain", "sse2", "avx2"

    // floats[i] = the value of bytes[i], 0.0 to 255.0, for i below count.
    void (*widenBytes)(const std::uint8_t* bytes, std::size_t count, float* floats);

    // mask[i] = floats[i] truncated toward zero to a signed 32-bit integer, its low 8 bits; what doesn't fit into the
    // integer, not-a-number included, counts as -2^31, as the processor's conversion has it, and so gives 0.
    void (*convertMask)(const float* floats, std::size_t count, std::uint8_t* mask);

    // The same into two arrays at once. Returns the sum of the bytes of one of them.
    std::uint64_t (*convertMaskTwice)(const float* floats, std::size_t count, std::uint8_t* mask,
                                      std::uint8_t* previousMask);

    // How many pixels with a byte in edgeMap that isn't 0 have changed: those where the absolute differences between
    // reference and current sum up to more than kPixelChangeThreshold over the three planes. The frames have three
    // planes of pixelCount bytes, one after the other, edgeMap pixelCount bytes.
    std::size_t (*countChangedPixels)(std::size_t pixelCount, const std::uint8_t* current,
                                      const std::uint8_t* reference, const std::uint8_t* edgeMap);

    // As BuildEdgeMap of edge_map.h. The plain version allocates and can throw std::bad_alloc.
    bool (*buildEdgeMap)(std::int32_t width, std::int32_t height, const std::uint8_t* mask, std::uint32_t& count,
                         std::uint8_t* map);
};

// A pixel has changed when its three absolute differences sum up to more than this.
inline constexpr int kPixelChangeThreshold = 30;

// A mask byte above this is foreground.
inline constexpr int kForegroundThreshold = 128;

// The band reaches this many pixels from the outline, in each direction.
inline constexpr int kEdgeReach = 2;

// The version that reads as the definition, there on every processor.
const Kernels& PlainKernels();

// Versions for x86-64: its base, and processors with AVX2 and POPCNT. Null in a build for another architecture. Whether
// this processor can run the latter is the caller's to know.
const Kernels* Sse2Kernels();
const Kernels* Avx2Kernels();

// The fastest version for a processor with these features.
const Kernels& BestKernels(const platform::ProcessorFeatures& features);

// The fastest version for this processor; asks it once.
const Kernels& BestKernels();

}  // namespace rvo_calyr::kernels
