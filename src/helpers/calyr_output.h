#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>

#include "helpers/hvq_output.h"

namespace rvo_calyr {

inline constexpr std::size_t kGestureFloats = 9;
inline constexpr std::size_t kLandmarksFloats = 207216;
inline constexpr std::size_t kLutVerticesFloats = 99;  // 3 × 33
inline constexpr std::size_t kLutFloats = 107811;      // 3 × 33 × 33 × 33

// The result of a frame with everything that a family may give. All buffers are there whatever the frame's size, zero
// at first; only the mask may be missing.
class RvoCalyrOutput final : public RvoHvqOutput {
 public:
    // Throws std::bad_alloc.
    explicit RvoCalyrOutput(const calyr_ipc::IpcFrameHeader& frameHeader);
    ~RvoCalyrOutput() override = default;

    void CopyToIpcRecord(calyr_ipc::OutputSlot& slot) const override;

    std::uint32_t motion = 0;  // the bits of the layer's first element, whatever its type
    const std::unique_ptr<std::array<float, kGestureFloats>> gesture;
    const std::unique_ptr<std::array<float, kLandmarksFloats>> landmarks;
    const std::unique_ptr<std::array<float, kLutVerticesFloats>> lutVertices;
    const std::unique_ptr<std::array<float, kLutFloats>> lut;
};

}  // namespace rvo_calyr
