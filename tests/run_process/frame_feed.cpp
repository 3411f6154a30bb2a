#include "frame_feed.h"

#include <utility>

namespace run_process_tests {

FrameFeed::FrameFeed(std::uint32_t width, std::uint32_t height, std::function<Grey(std::uint64_t)> next)
    : m_next(std::move(next)),
      m_bytes("YUV4MPEG2 W" + std::to_string(width) + " H" + std::to_string(height) +
              " F30000:1001 Ip A1:1 Cmono XCOLORRANGE=FULL\n") {
    setg(m_bytes.data(), m_bytes.data(), m_bytes.data() + m_bytes.size());
}

FrameFeed::int_type FrameFeed::underflow() {
    const Grey picture = m_next(m_frame++);
    if (picture.empty()) return traits_type::eof();
    m_bytes.assign("FRAME\n").append(picture.begin(), picture.end());
    setg(m_bytes.data(), m_bytes.data(), m_bytes.data() + m_bytes.size());
    return traits_type::to_int_type(m_bytes[0]);
}

Grey Halves(std::uint32_t width, std::uint32_t height, bool isLeftBright) {
    Grey picture;
    picture.reserve(std::size_t{width} * height);
    for (std::uint32_t y = 0; y < height; ++y) {
        for (std::uint32_t x = 0; x < width; ++x)
            picture.push_back((x < width / 2) == isLeftBright ? 240 : 20);
    }
    return picture;
}

}  // namespace run_process_tests
