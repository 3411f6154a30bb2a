#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "velmo_media/picture.h"

namespace velmo_media {

// How much of a plane another one lies over, in its pixels, from its left and its top on: more than there are where the
// other one's last pixels lie half beyond the edge, less where its own do.
struct PlaneExtent {
    double width = 0;
    double height = 0;
};

// Scales planes of one size to another: a side that shrinks takes the mean of what each pixel covers, a side that grows
// draws straight lines between the middles of pixels. In whole numbers, so equal on every machine; the same size gives
// the same bytes. Thread: one at a time. Allocates in the constructor alone.
class PlaneScaler {
 public:
    // All sides at least 1.
    PlaneScaler(Size from, Size to);

    // The target lies over `covered` of the source. That is above 0, and reaches beyond the source by less than one
    // pixel of the target.
    PlaneScaler(Size from, PlaneExtent covered, Size to);

    // `source` and `target` are the first pixels of the planes, `sourceStride` and `targetStride` the bytes from one
    // row to the next. The planes don't overlap.
    void Scale(const std::uint8_t* source, std::size_t sourceStride, std::uint8_t* target, std::size_t targetStride);

 private:
    // Which pixels of the source make one of the target, and how much each counts, of 2^14.
    struct Taps {
        std::uint32_t first = 0;
        std::uint32_t count = 0;
        std::size_t weights = 0;  // where they begin
    };
    struct Axis {
        std::vector<Taps> taps;
        std::vector<std::uint32_t> weights;
    };
    static Axis MakeAxis(std::uint32_t from, double covered, std::uint32_t to);

    void MixRows(const std::uint8_t* source, std::size_t stride, const Taps& taps);
    void MixColumns(std::uint8_t* target) const;

    Size m_from;
    Size m_to;
    bool m_isCopy;
    Axis m_horizontal;
    Axis m_vertical;
    std::vector<std::uint32_t> m_row;  // one row of the target's height and the source's width
};

// From planes of the picture's size to the size of its planes of colour, each pixel of which takes the mean of those
// that share it: fewer of them at the right and the lower edge of a picture that has no whole number of such groups.
PlaneScaler ScalerToColours(const PixelFormat& format, Size picture);

// From the picture's planes of colour to planes of any size: of those at the edges only what lies in the picture.
PlaneScaler ScalerFromColours(const PixelFormat& format, Size picture, Size to);

// A whole plane to a whole plane.
void ScalePlane(PlaneScaler& scaler, std::span<const std::uint8_t> source, Size from, std::span<std::uint8_t> target,
                Size to);

}  // namespace velmo_media
