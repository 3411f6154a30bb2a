#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

// Still pictures of 8 bits, plane by plane. Thread: plain values.
namespace velmo_media {

// In pixels.
struct Size {
    std::uint32_t width = 0;
    std::uint32_t height = 0;

    std::size_t Area() const { return std::size_t{width} * height; }

    friend bool operator==(const Size&, const Size&) = default;
};

// The largest side and area that are read: so that a damaged header asks for no absurd memory.
inline constexpr std::uint32_t kMostSide = 16384;
inline constexpr std::size_t kMostArea = std::size_t{1} << 27;

enum class ColourModel {
    Rgb,   // three planes of the picture's size: red, green, blue
    Yuv,   // brightness at the picture's size, two of colour that may be smaller
    Grey,  // brightness alone
};

// Which bytes stand for black and white in brightness; RGB is always full.
enum class ColourRange { Limited /* 16 to 235 */, Full /* 0 to 255 */ };

struct PixelFormat {
    ColourModel model = ColourModel::Rgb;
    std::uint8_t chromaShiftX = 0;  // Yuv: the colour planes have one column for 2^shift of the picture's, rounded up
    std::uint8_t chromaShiftY = 0;
    ColourRange range = ColourRange::Full;

    std::size_t PlaneCount() const { return model == ColourModel::Grey ? 1 : 3; }
    Size PlaneSize(std::size_t plane, Size picture) const;
    std::size_t BytesOf(Size picture) const;

    friend bool operator==(const PixelFormat&, const PixelFormat&) = default;
};

class Picture {
 public:
    Picture() = default;
    Picture(const PixelFormat& format, Size size) { Reset(format, size); }

    // What the bytes hold is left open. Allocates nothing when it has had as many bytes before.
    void Reset(const PixelFormat& format, Size size);

    const PixelFormat& Format() const { return m_format; }
    Size Dimensions() const { return m_size; }
    Size PlaneSize(std::size_t plane) const { return m_format.PlaneSize(plane, m_size); }

    // Row by row without padding. `plane` is below Format().PlaneCount().
    std::span<std::uint8_t> Plane(std::size_t plane);
    std::span<const std::uint8_t> Plane(std::size_t plane) const;

    // All planes, one behind the other.
    std::span<std::uint8_t> Bytes() { return m_bytes; }
    std::span<const std::uint8_t> Bytes() const { return m_bytes; }

 private:
    std::size_t OffsetOf(std::size_t plane) const;

    PixelFormat m_format;
    Size m_size;
    std::vector<std::uint8_t> m_bytes;
};

}  // namespace velmo_media
