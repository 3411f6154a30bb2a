#include "velmo_media/plane_scaler.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace velmo_media {
namespace {

constexpr unsigned kWeightBits = 14;
constexpr std::uint32_t kWhole = 1U << kWeightBits;
constexpr unsigned kRowBits = 8;  // of a mixed row, behind the point

// Shares as whole numbers with exactly kWhole for a sum, so that a plane of one colour keeps it.
void AppendWeights(const std::vector<double>& shares, std::vector<std::uint32_t>& weights) {
    std::uint32_t given = 0;
    std::size_t largest = weights.size();
    for (const double share : shares) {
        const auto weight = static_cast<std::uint32_t>(share * kWhole);
        given += weight;
        weights.push_back(weight);
        if (weight > weights[largest]) largest = weights.size() - 1;
    }
    weights[largest] += kWhole - given;
}

}  // namespace

PlaneScaler::Axis PlaneScaler::MakeAxis(std::uint32_t from, double covered, std::uint32_t to) {
    Axis axis;
    const double step = covered / to;
    std::vector<double> shares;
    for (std::uint32_t at = 0; at < to; ++at) {
        Taps taps;
        taps.weights = axis.weights.size();
        shares.clear();
        if (covered > to) {
            const double begin = at * step;
            const double end = std::min<double>(at + 1 == to ? covered : (at + 1) * step, from);
            taps.first = static_cast<std::uint32_t>(begin);
            for (std::uint32_t pixel = taps.first; pixel < from && pixel < end; ++pixel) {
                const double part = std::min<double>(pixel + 1, end) - std::max<double>(pixel, begin);
                shares.push_back(part / (end - begin));
            }
        } else {
            const double middle = std::clamp((at + 0.5) * step - 0.5, 0.0, static_cast<double>(from - 1));
            taps.first = static_cast<std::uint32_t>(middle);
            const double rest = middle - taps.first;
            shares.push_back(1 - rest);
            if (rest > 0) shares.push_back(rest);
        }
        taps.count = static_cast<std::uint32_t>(shares.size());
        AppendWeights(shares, axis.weights);
        axis.taps.push_back(taps);
    }
    return axis;
}

PlaneScaler::PlaneScaler(Size from, Size to)
    : PlaneScaler(from, {static_cast<double>(from.width), static_cast<double>(from.height)}, to) {}

PlaneScaler::PlaneScaler(Size from, PlaneExtent covered, Size to)
    : m_from(from),
      m_to(to),
      m_isCopy(from == to && covered.width == from.width && covered.height == from.height),
      m_horizontal(MakeAxis(from.width, covered.width, to.width)),
      m_vertical(MakeAxis(from.height, covered.height, to.height)),
      m_row(from.width) {}

void PlaneScaler::MixRows(const std::uint8_t* source, std::size_t stride, const Taps& taps) {
    std::fill(m_row.begin(), m_row.end(), 0U);
    for (std::uint32_t tap = 0; tap < taps.count; ++tap) {
        const std::uint8_t* const row = source + (taps.first + tap) * stride;
        const std::uint32_t weight = m_vertical.weights[taps.weights + tap];
        for (std::size_t x = 0; x < m_row.size(); ++x)
            m_row[x] += weight * row[x];
    }
    for (std::uint32_t& sum : m_row)
        sum >>= kWeightBits - kRowBits;
}

void PlaneScaler::MixColumns(std::uint8_t* target) const {
    constexpr unsigned kShift = kWeightBits + kRowBits;
    for (const Taps& taps : m_horizontal.taps) {
        const std::uint32_t* const weights = m_horizontal.weights.data() + taps.weights;
        std::uint32_t sum = 1U << (kShift - 1);
        for (std::uint32_t tap = 0; tap < taps.count; ++tap)
            sum += weights[tap] * m_row[taps.first + tap];
        *target++ = static_cast<std::uint8_t>(sum >> kShift);
    }
}

void PlaneScaler::Scale(const std::uint8_t* source, std::size_t sourceStride, std::uint8_t* target,
                        std::size_t targetStride) {
    if (m_isCopy) {
        for (std::uint32_t y = 0; y < m_to.height; ++y)
            std::memcpy(target + y * targetStride, source + y * sourceStride, m_to.width);
        return;
    }
    for (std::uint32_t y = 0; y < m_to.height; ++y) {
        MixRows(source, sourceStride, m_vertical.taps[y]);
        MixColumns(target + y * targetStride);
    }
}

PlaneScaler ScalerToColours(const PixelFormat& format, Size picture) {
    const Size colours = format.PlaneSize(1, picture);
    if (colours == picture) return {picture, picture};
    const auto width = std::uint64_t{colours.width} << format.chromaShiftX;
    const auto height = std::uint64_t{colours.height} << format.chromaShiftY;
    return {picture, {static_cast<double>(width), static_cast<double>(height)}, colours};
}

PlaneScaler ScalerFromColours(const PixelFormat& format, Size picture, Size to) {
    const Size colours = format.PlaneSize(1, picture);
    if (colours == picture) return {picture, to};
    const double width = static_cast<double>(picture.width) / (1U << format.chromaShiftX);
    const double height = static_cast<double>(picture.height) / (1U << format.chromaShiftY);
    return {colours, {width, height}, to};
}

void ScalePlane(PlaneScaler& scaler, std::span<const std::uint8_t> source, Size from, std::span<std::uint8_t> target,
                Size to) {
    scaler.Scale(source.data(), from.width, target.data(), to.width);
}

}  // namespace velmo_media
