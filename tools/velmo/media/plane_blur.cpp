#include "velmo_media/plane_blur.h"

#include <algorithm>
#include <cstddef>

namespace velmo_media {
namespace {

constexpr std::uint32_t kMost = 1024;

// Where a pixel beyond the edge is looked up.
std::size_t Inside(std::int64_t at, std::uint32_t side) {
    return static_cast<std::size_t>(std::clamp<std::int64_t>(at, 0, std::int64_t{side} - 1));
}

}  // namespace

PlaneBlur::PlaneBlur(Size size, BlurRadius radius)
    : m_size(size),
      m_radius{std::min(radius.x, kMost), std::min(radius.y, kMost)},
      m_between(size.Area()),
      m_sums(size.width) {}

void PlaneBlur::BlurRows(std::span<const std::uint8_t> source, std::span<std::uint8_t> target) const {
    const std::int64_t radius = m_radius.x;
    const std::uint32_t count = 2 * m_radius.x + 1;
    for (std::uint32_t y = 0; y < m_size.height; ++y) {
        const auto from = source.subspan(std::size_t{y} * m_size.width, m_size.width);
        const auto to = target.subspan(std::size_t{y} * m_size.width, m_size.width);
        std::uint32_t sum = count / 2;
        for (std::int64_t x = -radius; x <= radius; ++x)
            sum += from[Inside(x, m_size.width)];
        for (std::int64_t x = 0; x < m_size.width; ++x) {
            to[static_cast<std::size_t>(x)] = static_cast<std::uint8_t>(sum / count);
            sum += from[Inside(x + radius + 1, m_size.width)];
            sum -= from[Inside(x - radius, m_size.width)];
        }
    }
}

void PlaneBlur::BlurColumns(std::span<const std::uint8_t> source, std::span<std::uint8_t> target) {
    const std::int64_t radius = m_radius.y;
    const std::uint32_t count = 2 * m_radius.y + 1;
    const auto row = [&](std::int64_t y) {
        return source.subspan(Inside(y, m_size.height) * m_size.width, m_size.width);
    };
    std::fill(m_sums.begin(), m_sums.end(), count / 2);
    for (std::int64_t y = -radius; y <= radius; ++y) {
        const auto more = row(y);
        for (std::size_t x = 0; x < m_sums.size(); ++x)
            m_sums[x] += more[x];
    }
    for (std::int64_t y = 0; y < m_size.height; ++y) {
        const auto to = target.subspan(static_cast<std::size_t>(y) * m_size.width, m_size.width);
        const auto next = row(y + radius + 1);
        const auto last = row(y - radius);
        for (std::size_t x = 0; x < m_sums.size(); ++x) {
            to[x] = static_cast<std::uint8_t>(m_sums[x] / count);
            m_sums[x] += next[x];
            m_sums[x] -= last[x];
        }
    }
}

void PlaneBlur::Blur(std::span<const std::uint8_t> source, std::span<std::uint8_t> target) {
    BlurRows(source, target);
    BlurColumns(target, m_between);
    BlurRows(m_between, target);
    BlurColumns(target, m_between);
    std::copy(m_between.begin(), m_between.end(), target.begin());
}

}  // namespace velmo_media
