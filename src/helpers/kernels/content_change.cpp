#include "helpers/kernels/content_change.h"

#include <cstddef>

#include "helpers/kernels/truncate.h"

namespace rvo_calyr {

namespace {

constexpr std::int32_t kInfer = 1;
constexpr std::int32_t kSkip = 0;

constexpr std::int32_t kSkipLimit = 16;
constexpr std::int32_t kLeastEdgePixels = 9;
constexpr double kPermilleScale = 1000.0;
constexpr std::int32_t kFrameChangePermille = 180;

}  // namespace

std::int32_t DetectContentChange(std::int32_t pixelCount, const std::uint8_t* current, const std::uint8_t* reference,
                                 const std::uint8_t* edgeMap, std::int32_t edgeCount, std::int32_t& skipCount,
                                 std::uint64_t mode, std::int32_t* permille) {
    return DetectContentChange(kernels::BestKernels(), pixelCount, current, reference, edgeMap, edgeCount, skipCount,
                               mode, permille);
}

std::int32_t DetectContentChange(const kernels::Kernels& version, std::int32_t pixelCount, const std::uint8_t* current,
                                 const std::uint8_t* reference, const std::uint8_t* edgeMap, std::int32_t edgeCount,
                                 std::int32_t& skipCount, std::uint64_t /*mode*/, std::int32_t* permille) {
    if (current == nullptr || reference == nullptr || edgeMap == nullptr) {
        skipCount = 0;
        return kInfer;
    }
    if (skipCount < 0) {
        ++skipCount;
        return kSkip;
    }
    if (skipCount > kSkipLimit) {  // bounds a run of skipped frames, whatever they look like
        skipCount = 0;
        return kInfer;
    }
    if (edgeCount < kLeastEdgePixels) {  // an empty or full mask: nothing to measure by
        ++skipCount;
        return kSkip;
    }
    const std::size_t pixels = pixelCount > 0 ? static_cast<std::size_t>(pixelCount) : 0;
    const std::size_t changed = version.countChangedPixels(pixels, current, reference, edgeMap);
    const std::int32_t measured = kernels::TruncateToInt32(static_cast<double>(changed) * kPermilleScale / edgeCount);
    if (permille != nullptr) {
        *permille = measured;
    }
    if (measured > kFrameChangePermille) {
        skipCount = 0;
        return kInfer;
    }
    ++skipCount;
    return kSkip;
}

}  // namespace rvo_calyr
