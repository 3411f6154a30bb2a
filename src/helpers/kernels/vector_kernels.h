#pragma once

#include <cstddef>
#include <cstdint>

#include "helpers/kernels/edge_bits.h"
#include "helpers/kernels/kernels.h"

namespace rvo_calyr::kernels {

// The per-pixel functions over vectors of Simd::kBytes bytes. `Simd` names the operations of one instruction set (see
// sse2_kernels.cpp); it has to be a type of an anonymous namespace, so that everything made from this template belongs
// to the one file that is compiled for that instruction set.
template <class Simd>
class VectorKernels {
 public:
    static void WidenBytes(const std::uint8_t* bytes, std::size_t count, float* floats) {
        std::size_t i = 0;
        for (; i + kBytes <= count; i += kBytes) {
            Simd::Widen(bytes + i, floats + i);
        }
        for (; i < count; ++i) {
            floats[i] = bytes[i];
        }
    }

    static void ConvertMask(const float* floats, std::size_t count, std::uint8_t* mask) {
        std::size_t i = 0;
        for (; i + kBytes <= count; i += kBytes) {
            Simd::Store(mask + i, Simd::TruncateToBytes(floats + i));
        }
        for (; i < count; ++i) {
            mask[i] = Simd::TruncateToByte(floats[i]);
        }
    }

    // Chunk by chunk into one mask and from there into the other. Writing to both in turn takes half as long again: the
    // processor merges writes to a line of its cache only while no other line's come between.
    static std::uint64_t ConvertMaskTwice(const float* floats, std::size_t count, std::uint8_t* mask,
                                          std::uint8_t* previousMask) {
        constexpr std::size_t kChunk = 1024;
        Block sums = Simd::Zero();
        std::size_t i = 0;
        while (i + kBytes <= count) {
            const std::size_t blocks = (count - i) / kBytes;
            const std::size_t end = i + (blocks < kChunk / kBytes ? blocks * kBytes : kChunk);
            for (std::size_t k = i; k < end; k += kBytes) {
                const Block bytes = Simd::TruncateToBytes(floats + k);
                Simd::Store(mask + k, bytes);
                sums = Simd::AddByteSums(sums, bytes);
            }
            for (; i < end; i += kBytes) {
                Simd::Store(previousMask + i, Simd::Load(mask + i));
            }
        }
        std::uint64_t sum = Simd::Total(sums);
        for (; i < count; ++i) {
            mask[i] = Simd::TruncateToByte(floats[i]);
            previousMask[i] = mask[i];
            sum += mask[i];
        }
        return sum;
    }

    // The blocks that the map has something in are noted down first, without a branch, and looked at afterwards: along
    // an outline nobody can foresee which they are, and a wrong guess costs more than the block.
    static std::size_t CountChangedPixels(std::size_t pixelCount, const std::uint8_t* current,
                                          const std::uint8_t* reference, const std::uint8_t* edgeMap) {
        constexpr std::size_t kListed = 256;
        std::size_t starts[kListed];
        Block sums = Simd::Zero();
        std::size_t i = 0;
        while (i + kListBytes <= pixelCount) {
            const std::size_t blocks = (pixelCount - i) / kListBytes;
            const std::size_t end = i + (blocks < kListed ? blocks : kListed) * kListBytes;
            std::size_t listed = 0;
            for (; i < end; i += kListBytes) {
                starts[listed] = i;
                listed += AnyIn(edgeMap + i) ? 1u : 0u;
            }
            for (std::size_t k = 0; k < listed; ++k) {
                for (std::size_t at = starts[k]; at < starts[k] + kListBytes; at += kBytes) {
                    sums = Simd::AddByteSums(sums, ChangedOnes(pixelCount, current + at, reference + at, edgeMap + at));
                }
            }
        }
        std::size_t changed = static_cast<std::size_t>(Simd::Total(sums));
        for (; i < pixelCount; ++i) {
            if (edgeMap[i] != 0) {
                const int difference = Difference(current[i], reference[i]) +
                                       Difference(current[pixelCount + i], reference[pixelCount + i]) +
                                       Difference(current[2 * pixelCount + i], reference[2 * pixelCount + i]);
                changed += difference > kPixelChangeThreshold ? 1u : 0u;
            }
        }
        return changed;
    }

    static bool BuildEdgeMap(std::int32_t width, std::int32_t height, const std::uint8_t* mask, std::uint32_t& count,
                             std::uint8_t* map) {
        if (mask == nullptr || map == nullptr) {
            return false;
        }
        count =
            width > 0 && height > 0
                ? EdgeBits<Simd>(static_cast<std::size_t>(width), static_cast<std::size_t>(height), mask, map).MarkAll()
                : 0;
        return true;
    }

 private:
    using Block = typename Simd::Block;
    static constexpr std::size_t kBytes = Simd::kBytes;
    static constexpr std::size_t kListBytes = 32;  // one row of the list stands for so many pixels

    static bool AnyIn(const std::uint8_t* edgeMap) {
        Block any = Simd::Load(edgeMap);
        for (std::size_t at = kBytes; at < kListBytes; at += kBytes) {
            any = Simd::Or(any, Simd::Load(edgeMap + at));
        }
        return !Simd::IsZero(any);
    }

    // 1 in each byte whose pixel is on the map and has changed. Sums that reach 255 stay there, which is far above the
    // threshold.
    static Block ChangedOnes(std::size_t pixelCount, const std::uint8_t* current, const std::uint8_t* reference,
                             const std::uint8_t* edgeMap) {
        Block difference = Simd::AbsoluteDifference(Simd::Load(current), Simd::Load(reference));
        for (std::size_t plane = 1; plane < 3; ++plane) {
            difference =
                Simd::AddSaturated(difference, Simd::AbsoluteDifference(Simd::Load(current + plane * pixelCount),
                                                                        Simd::Load(reference + plane * pixelCount)));
        }
        const Block notChanged = Simd::IsByteZero(Simd::SubtractSaturated(difference, kPixelChangeThreshold));
        const Block notOnMap = Simd::IsByteZero(Simd::Load(edgeMap));
        return Simd::AndNot(Simd::Or(notChanged, notOnMap), Simd::Ones());
    }

    static int Difference(std::uint8_t a, std::uint8_t b) { return a > b ? a - b : b - a; }
};

// A version of the functions out of VectorKernels.
template <class Simd>
constexpr Kernels MakeKernels(const char* name) {
    using Functions = VectorKernels<Simd>;
    return {name,
            Functions::WidenBytes,
            Functions::ConvertMask,
            Functions::ConvertMaskTwice,
            Functions::CountChangedPixels,
            Functions::BuildEdgeMap};
}

}  // namespace rvo_calyr::kernels
