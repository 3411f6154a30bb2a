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

Grey Halves(std::uint32_t width, std::uint32_t height, std::uint8_t bright, std::uint8_t dark) {
    Grey picture;
    picture.reserve(std::size_t{width} * height);
    for (std::uint32_t y = 0; y < height; ++y) {
        picture.insert(picture.end(), width / 2, bright);
        picture.insert(picture.end(), width - width / 2, dark);
    }
    return picture;
}

}  // namespace run_process_tests
