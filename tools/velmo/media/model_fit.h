#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "velmo_media/colour.h"
#include "velmo_media/picture.h"
#include "velmo_media/plane_scaler.h"

namespace velmo_media {

// Where a picture lies in the model's.
struct FitArea {
    std::uint32_t left = 0;
    std::uint32_t top = 0;
    Size size;

    friend bool operator==(const FitArea&, const FitArea&) = default;
};

// A picture of another shape than the model's keeps its shape and lies in the middle, with black bars beside it: a
// network knows people as they are, not squeezed. What lacks less than a pixel of the whole side fills it.
FitArea FitInto(Size model, Size picture);

// From pictures of one format and size to the model's planes of red, green and blue, and from its mask back to one of
// the picture's size. Thread: the two ways have no state in common; one at a time for each. Allocates in the
// constructor alone.
class ModelFit {
 public:
    ModelFit(const PixelFormat& format, Size picture, Size model);

    const FitArea& Area() const { return m_area; }

    // Writes every byte of the three planes, each of the model's size.
    void ToModel(const Picture& picture, const std::array<std::span<std::uint8_t>, 3>& planes);

    // `mask` has the model's size, `target` the picture's.
    void FromModel(std::span<const std::uint8_t> mask, std::span<std::uint8_t> target);

 private:
    PixelFormat m_format;
    Size m_picture;
    Size m_model;
    FitArea m_area;
    ColourConverter m_converter;
    PlaneScaler m_brightness;
    std::optional<PlaneScaler> m_colours;  // of Yuv
    PlaneScaler m_mask;
};

}  // namespace velmo_media
