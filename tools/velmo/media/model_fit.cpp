#include "velmo_media/model_fit.h"

#include <algorithm>

namespace velmo_media {
namespace {

std::uint32_t Scaled(std::uint32_t side, std::uint32_t by, std::uint32_t of) {
    const std::uint64_t product = std::uint64_t{side} * by;
    return static_cast<std::uint32_t>(std::max<std::uint64_t>(1, (product + of / 2) / of));
}

}  // namespace

FitArea FitInto(Size model, Size picture) {
    FitArea area;
    area.size = model;
    const std::uint64_t wide = std::uint64_t{picture.width} * model.height;
    const std::uint64_t high = std::uint64_t{picture.height} * model.width;
    if (wide > high) area.size.height = std::min(model.height, Scaled(picture.height, model.width, picture.width));
    if (wide < high) area.size.width = std::min(model.width, Scaled(picture.width, model.height, picture.height));
    area.left = (model.width - area.size.width) / 2;
    area.top = (model.height - area.size.height) / 2;
    return area;
}

ModelFit::ModelFit(const PixelFormat& format, Size picture, Size model)
    : m_format(format),
      m_picture(picture),
      m_model(model),
      m_area(FitInto(model, picture)),
      m_converter(MatrixFor(picture), format.range),
      m_brightness(picture, m_area.size),
      m_mask(m_area.size, picture) {
    if (format.model == ColourModel::Yuv) m_colours = ScalerFromColours(format, picture, m_area.size);
}

void ModelFit::ToModel(const Picture& picture, const std::array<std::span<std::uint8_t>, 3>& planes) {
    const std::size_t offset = std::size_t{m_area.top} * m_model.width + m_area.left;
    const bool hasBars = m_area.size != m_model;
    for (std::size_t plane = 0; plane < planes.size(); ++plane) {
        if (hasBars) std::fill(planes[plane].begin(), planes[plane].end(), std::uint8_t{0});
        if (plane >= m_format.PlaneCount()) continue;
        PlaneScaler& scaler = plane > 0 && m_colours ? *m_colours : m_brightness;
        scaler.Scale(picture.Plane(plane).data(), picture.PlaneSize(plane).width, planes[plane].data() + offset,
                     m_model.width);
    }
    if (m_format.model == ColourModel::Rgb) return;
    for (std::uint32_t row = 0; row < m_area.size.height; ++row) {
        const std::size_t at = offset + std::size_t{row} * m_model.width;
        const auto part = [&](std::size_t plane) { return planes[plane].subspan(at, m_area.size.width); };
        if (m_format.model == ColourModel::Grey) {
            std::fill(part(1).begin(), part(1).end(), kNoColour);
            std::fill(part(2).begin(), part(2).end(), kNoColour);
        }
        m_converter.ToRgb(part(0), part(1), part(2), part(0), part(1), part(2));
    }
}

void ModelFit::FromModel(std::span<const std::uint8_t> mask, std::span<std::uint8_t> target) {
    const std::size_t offset = std::size_t{m_area.top} * m_model.width + m_area.left;
    m_mask.Scale(mask.data() + offset, m_model.width, target.data(), m_picture.width);
}

}  // namespace velmo_media
