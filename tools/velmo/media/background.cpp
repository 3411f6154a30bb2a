#include "velmo_media/background.h"

#include <algorithm>

#include "velmo_media/model_fit.h"
#include "velmo_media/picture_conversion.h"
#include "velmo_media/plane_scaler.h"

namespace velmo_media {
namespace {

constexpr PixelFormat kRgb{ColourModel::Rgb, 0, 0, ColourRange::Full};
constexpr std::uint32_t kBlurShare = 40;  // of the height

Picture OfOneColour(Rgb colour, Size size) {
    Picture picture(kRgb, size);
    std::ranges::fill(picture.Plane(0), colour.red);
    std::ranges::fill(picture.Plane(1), colour.green);
    std::ranges::fill(picture.Plane(2), colour.blue);
    return picture;
}

// Scaled to fill the size, the middle of it.
Picture Filling(const Picture& rgb, Size size) {
    const Size whole = rgb.Dimensions();
    // The part of the picture that has the frame's shape lies in it as a frame would lie in a model of its size.
    const FitArea part = FitInto(whole, size);
    Picture picture(kRgb, size);
    PlaneScaler scaler(part.size, size);
    for (std::size_t plane = 0; plane < kRgb.PlaneCount(); ++plane) {
        const std::size_t offset = std::size_t{part.top} * whole.width + part.left;
        scaler.Scale(rgb.Plane(plane).data() + offset, whole.width, picture.Plane(plane).data(), size.width);
    }
    return picture;
}

}  // namespace

Background::Background(const BackgroundKind& kind, const PixelFormat& format, Size size) {
    if (const auto* colour = std::get_if<Rgb>(&kind)) {
        m_picture = ConvertTo(format, OfOneColour(*colour, size));
    } else if (const auto* picture = std::get_if<Picture>(&kind)) {
        m_picture = ConvertTo(format, Filling(*picture, size));
    } else {
        m_picture.Reset(format, size);
        for (std::size_t plane = 0; plane < format.PlaneCount(); ++plane) {
            const Size planeSize = format.PlaneSize(plane, size);
            const std::uint32_t radius = std::max(1U, size.height / kBlurShare);
            // As far as in the picture, in pixels of this plane.
            m_blurs.emplace_back(planeSize, BlurRadius{std::max(1U, radius * planeSize.width / size.width),
                                                       std::max(1U, radius * planeSize.height / size.height)});
        }
    }
}

const Picture& Background::For(const Picture& frame) {
    for (std::size_t plane = 0; plane < m_blurs.size(); ++plane)
        m_blurs[plane].Blur(frame.Plane(plane), m_picture.Plane(plane));
    return m_picture;
}

}  // namespace velmo_media
