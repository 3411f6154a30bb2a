#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>

// What the numbers of an option name. They come from another process: ask NamesADevice or NamesAQuality before one of
// them is an index here.
namespace rvo_calyr {

// By `deviceType`: the device that the engine is to run on, as the engine calls it.
inline constexpr const char* kDeviceNames[] = {"AUTO", "CPU", "GPU", "NPU"};

// By `modelQuality`: the size of the model's input in pixels.
inline constexpr std::int32_t kModelWidths[] = {256, 640};
inline constexpr std::int32_t kModelHeights[] = {144, 360};
static_assert(std::size(kModelWidths) == std::size(kModelHeights));

// Whether kDeviceNames has a row for this `deviceType`.
constexpr bool NamesADevice(std::int32_t deviceType) {
    return deviceType >= 0 && static_cast<std::size_t>(deviceType) < std::size(kDeviceNames);
}

// Whether the tables of model sizes and files have a row for this `modelQuality`. The value of an option that nobody
// has set has none.
constexpr bool NamesAQuality(std::int32_t modelQuality) {
    return modelQuality >= 0 && static_cast<std::size_t>(modelQuality) < std::size(kModelWidths);
}

}  // namespace rvo_calyr
