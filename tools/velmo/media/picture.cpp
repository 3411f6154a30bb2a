#include "velmo_media/picture.h"

namespace velmo_media {
namespace {

std::uint32_t ShiftedUp(std::uint32_t side, unsigned shift) {
    return (side + (1U << shift) - 1U) >> shift;
}

}  // namespace

Size PixelFormat::PlaneSize(std::size_t plane, Size picture) const {
    if (model != ColourModel::Yuv || plane == 0) return picture;
    return {ShiftedUp(picture.width, chromaShiftX), ShiftedUp(picture.height, chromaShiftY)};
}

std::size_t PixelFormat::BytesOf(Size picture) const {
    std::size_t bytes = 0;
    for (std::size_t plane = 0; plane < PlaneCount(); ++plane)
        bytes += PlaneSize(plane, picture).Area();
    return bytes;
}

void Picture::Reset(const PixelFormat& format, Size size) {
    m_format = format;
    m_size = size;
    m_bytes.resize(format.BytesOf(size));
}

std::size_t Picture::OffsetOf(std::size_t plane) const {
    std::size_t offset = 0;
    for (std::size_t before = 0; before < plane; ++before)
        offset += PlaneSize(before).Area();
    return offset;
}

std::span<std::uint8_t> Picture::Plane(std::size_t plane) {
    return Bytes().subspan(OffsetOf(plane), PlaneSize(plane).Area());
}

std::span<const std::uint8_t> Picture::Plane(std::size_t plane) const {
    return Bytes().subspan(OffsetOf(plane), PlaneSize(plane).Area());
}

}  // namespace velmo_media
