#include "velmo_media/picture_conversion.h"

#include <algorithm>

#include "velmo_media/colour.h"
#include "velmo_media/plane_scaler.h"

namespace velmo_media {
namespace {

constexpr std::uint8_t kNoColour = 128;

}  // namespace

void ConvertToRgb(const Picture& picture, Picture& rgb) {
    const PixelFormat& format = picture.Format();
    const Size size = picture.Dimensions();
    rgb.Reset({ColourModel::Rgb, 0, 0, ColourRange::Full}, size);
    if (format.model == ColourModel::Rgb) {
        std::copy(picture.Bytes().begin(), picture.Bytes().end(), rgb.Bytes().begin());
        return;
    }
    const ColourConverter converter(MatrixFor(size), format.range);
    const bool isGrey = format.model == ColourModel::Grey;
    const auto y = picture.Plane(0);
    const auto u = picture.Plane(isGrey ? 0 : 1);
    const auto v = picture.Plane(isGrey ? 0 : 2);
    const std::size_t chromaWidth = isGrey ? 0 : picture.PlaneSize(1).width;
    const auto red = rgb.Plane(0);
    const auto green = rgb.Plane(1);
    const auto blue = rgb.Plane(2);
    for (std::uint32_t row = 0; row < size.height; ++row) {
        for (std::uint32_t column = 0; column < size.width; ++column) {
            const std::size_t at = std::size_t{row} * size.width + column;
            const std::size_t chroma = (row >> format.chromaShiftY) * chromaWidth + (column >> format.chromaShiftX);
            const Rgb colour =
                isGrey ? converter.ToRgb(y[at], kNoColour, kNoColour) : converter.ToRgb(y[at], u[chroma], v[chroma]);
            red[at] = colour.red;
            green[at] = colour.green;
            blue[at] = colour.blue;
        }
    }
}

Picture ConvertTo(const PixelFormat& format, const Picture& rgb) {
    const Size size = rgb.Dimensions();
    if (format.model == ColourModel::Rgb) return rgb;
    const ColourConverter converter(MatrixFor(size), format.range);
    Picture whole({ColourModel::Yuv, 0, 0, format.range}, size);
    for (std::size_t at = 0; at < size.Area(); ++at) {
        const auto yuv = converter.ToYuv({rgb.Plane(0)[at], rgb.Plane(1)[at], rgb.Plane(2)[at]});
        for (std::size_t plane = 0; plane < yuv.size(); ++plane)
            whole.Plane(plane)[at] = yuv[plane];
    }
    Picture picture(format, size);
    for (std::size_t plane = 0; plane < format.PlaneCount(); ++plane) {
        PlaneScaler scaler(size, picture.PlaneSize(plane));
        ScalePlane(scaler, whole.Plane(plane), size, picture.Plane(plane), picture.PlaneSize(plane));
    }
    return picture;
}

}  // namespace velmo_media
