#include "velmo_media/compositor.h"

#include "velmo_media/blend.h"

namespace velmo_media {

Compositor::Compositor(const BackgroundKind& background, const PixelFormat& format, Size size)
    : m_size(size), m_background(background, format, size), m_toChroma(ScalerToColours(format, size)) {
    const Size chroma = format.PlaneSize(1, size);
    if (chroma != size) m_chromaMask.resize(chroma.Area());
}

void Compositor::Composite(const Picture& frame, std::span<const std::uint8_t> mask, Picture& out) {
    const Picture& back = m_background.For(frame);
    out.Reset(frame.Format(), frame.Dimensions());
    if (!m_chromaMask.empty()) ScalePlane(m_toChroma, mask, m_size, m_chromaMask, frame.PlaneSize(1));
    for (std::size_t plane = 0; plane < frame.Format().PlaneCount(); ++plane) {
        const bool isSmaller = plane > 0 && !m_chromaMask.empty();
        Blend(frame.Plane(plane), back.Plane(plane), isSmaller ? m_chromaMask : mask, out.Plane(plane));
    }
}

}  // namespace velmo_media
