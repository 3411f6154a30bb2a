#include "velmo_report/contact_sheet.h"

#include <algorithm>

#include "velmo_media/model_fit.h"
#include "velmo_media/picture_conversion.h"
#include "velmo_media/plane_scaler.h"

namespace velmo_report {
namespace {

constexpr velmo_media::Size kThumbnail{240, 240};

}  // namespace

velmo_media::Picture Thumbnail(const velmo_media::Picture& picture, velmo_media::Size most) {
    velmo_media::Picture rgb;
    velmo_media::ConvertToRgb(picture, rgb);
    const velmo_media::Size size = rgb.Dimensions();
    if (size.width <= most.width && size.height <= most.height) return rgb;
    velmo_media::Picture small(rgb.Format(), velmo_media::FitInto(most, size).size);
    velmo_media::PlaneScaler scaler(size, small.Dimensions());
    for (std::size_t plane = 0; plane < rgb.Format().PlaneCount(); ++plane)
        velmo_media::ScalePlane(scaler, rgb.Plane(plane), size, small.Plane(plane), small.Dimensions());
    return small;
}

void ContactSheet::Add(std::uint64_t frame, FrameOutcome outcome, const velmo_media::Picture& picture,
                       const velmo_media::Picture& mask, const velmo_media::Picture& composite) {
    if (m_frames.size() == 2 * m_most) {
        m_stride *= 2;
        std::erase_if(m_frames, [this](const SheetFrame& one) { return !Wants(one.frame); });
        if (!Wants(frame)) return;
    }
    m_frames.push_back({frame, outcome, Thumbnail(picture, kThumbnail), Thumbnail(mask, kThumbnail),
                        Thumbnail(composite, kThumbnail)});
}

std::vector<SheetFrame> ContactSheet::Pick() const {
    if (m_frames.size() <= m_most) return m_frames;
    std::vector<SheetFrame> picked;
    for (std::size_t at = 0; at < m_most; ++at)
        picked.push_back(m_frames[at * (m_frames.size() - 1) / (m_most - 1)]);
    return picked;
}

}  // namespace velmo_report
