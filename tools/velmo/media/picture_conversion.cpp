#include "velmo_media/picture_conversion.h"

#include <algorithm>

namespace velmo_media {

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

RgbConverter::RgbConverter(const PixelFormat& format, Size size)
    : m_format(format), m_size(size), m_colours(MatrixFor(size), format.range) {
    if (format.model != ColourModel::Yuv || format.PlaneSize(1, size) == size) return;
    m_whole.Reset({ColourModel::Yuv, 0, 0, format.range}, size);
    m_toColours = ScalerToColours(format, size);
}

void RgbConverter::Convert(const Picture& rgb, Picture& out) {
    out.Reset(m_format, m_size);
    if (m_format.model == ColourModel::Rgb) {
        std::copy(rgb.Bytes().begin(), rgb.Bytes().end(), out.Bytes().begin());
        return;
    }
    const auto red = rgb.Plane(0);
    const auto green = rgb.Plane(1);
    const auto blue = rgb.Plane(2);
    const auto y = out.Plane(0);
    if (m_format.model == ColourModel::Grey) {
        for (std::size_t at = 0; at < y.size(); ++at)
            y[at] = m_colours.ToYuv({red[at], green[at], blue[at]})[0];
        return;
    }
    Picture& whole = m_toColours ? m_whole : out;
    const auto u = whole.Plane(1);
    const auto v = whole.Plane(2);
    for (std::size_t at = 0; at < y.size(); ++at) {
        const auto yuv = m_colours.ToYuv({red[at], green[at], blue[at]});
        y[at] = yuv[0];
        u[at] = yuv[1];
        v[at] = yuv[2];
    }
    if (!m_toColours) return;
    ScalePlane(*m_toColours, u, m_size, out.Plane(1), out.PlaneSize(1));
    ScalePlane(*m_toColours, v, m_size, out.Plane(2), out.PlaneSize(2));
}

Picture ConvertTo(const PixelFormat& format, const Picture& rgb) {
    Picture picture;
    RgbConverter(format, rgb.Dimensions()).Convert(rgb, picture);
    return picture;
}

}  // namespace velmo_media
