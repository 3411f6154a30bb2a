#include "velmo_run/frame_writer.h"

#include <algorithm>

namespace velmo_run {

using velmo_media::ColourModel;
using velmo_media::ColourRange;

FrameWriter::FrameWriter(const Sinks& sinks, velmo_media::ModelFit& fit, velmo_media::Compositor& compositor,
                         velmo_media::Size picture)
    : m_sinks(sinks), m_fit(fit), m_compositor(compositor) {
    m_mask.Reset({ColourModel::Grey, 0, 0, ColourRange::Full}, picture);
    std::ranges::fill(m_mask.Bytes(), std::uint8_t{0});
}

void FrameWriter::Write(FrameSlot& slot) {
    const bool wantsPictures = m_sinks.listener != nullptr && m_sinks.listener->WantsPictures(slot.record.index);
    if (!slot.mask.empty()) m_fit.FromModel(slot.mask, m_mask.Bytes());
    if (m_sinks.masks != nullptr) m_sinks.masks->Write(m_mask, slot.name);
    if (m_sinks.composite != nullptr || wantsPictures)
        m_compositor.Composite(slot.picture, m_mask.Bytes(), m_composite);
    if (m_sinks.composite != nullptr) m_sinks.composite->Write(m_composite, slot.name);
    if (m_sinks.csv != nullptr) m_sinks.csv->Write(slot.record);
    if (m_sinks.listener != nullptr) {
        m_sinks.listener->OnWritten(slot, wantsPictures ? &m_mask : nullptr, wantsPictures ? &m_composite : nullptr);
    }
}

void FrameWriter::Finish() {
    if (m_sinks.composite != nullptr) m_sinks.composite->Finish();
    if (m_sinks.masks != nullptr) m_sinks.masks->Finish();
}

}  // namespace velmo_run
