#include "velmo_report/contact_sheet.h"

#include <algorithm>

#include "velmo_media/model_fit.h"
#include "velmo_media/picture_conversion.h"

namespace velmo_report {
namespace {

constexpr velmo_media::Size kThumbnail{240, 240};
constexpr std::size_t kKept = 4;  // times as many as are given

}  // namespace

velmo_media::Picture Thumbnail(const velmo_media::Picture& picture, velmo_media::Size most) {
    const velmo_media::Size size = picture.Dimensions();
    velmo_media::Picture rgb;
    if (size.width <= most.width && size.height <= most.height) {
        velmo_media::ConvertToRgb(picture, rgb);
        return rgb;
    }
    // As a model of this size would see it: made small first, so that few pixels have to change their colours.
    const velmo_media::Size small = velmo_media::FitInto(most, size).size;
    rgb.Reset({velmo_media::ColourModel::Rgb, 0, 0, velmo_media::ColourRange::Full}, small);
    velmo_media::ModelFit(picture.Format(), size, small).ToModel(picture, {rgb.Plane(0), rgb.Plane(1), rgb.Plane(2)});
    return rgb;
}

void ContactSheet::Add(std::uint64_t frame, FrameOutcome outcome, const velmo_media::Picture& picture,
                       const velmo_media::Picture& mask, const velmo_media::Picture& composite) {
    if (m_frames.size() == kKept * m_most) {
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
