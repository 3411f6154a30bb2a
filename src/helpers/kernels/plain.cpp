#include "helpers/kernels/plain.h"

#include <algorithm>
#include <cstdlib>
#include <vector>

#include "helpers/kernels/kernels.h"
#include "helpers/kernels/truncate.h"

namespace rvo_calyr::kernels {

namespace plain {

namespace {

std::uint8_t MaskByte(float value) {
    return static_cast<std::uint8_t>(static_cast<std::uint32_t>(TruncateToInt32(value)) & 0xFFu);
}

// Summed-area table of a mask's foreground: how many foreground pixels a rectangle holds, from four entries.
class ForegroundTable {
 public:
    ForegroundTable(std::size_t width, std::size_t height, const std::uint8_t* mask)
        : m_width(width), m_sums(width * height) {
        for (std::size_t y = 0; y < height; ++y) {
            std::uint32_t rowSum = 0;
            for (std::size_t x = 0; x < width; ++x) {
                rowSum += mask[y * width + x] > kForegroundThreshold ? 1u : 0u;
                m_sums[y * width + x] = rowSum + Before(x + 1, y);
            }
        }
    }

    // In the rectangle of columns from left up to right, right excluded, and rows from top up to bottom likewise.
    std::uint32_t Count(std::size_t left, std::size_t top, std::size_t right, std::size_t bottom) const {
        return Before(right, bottom) - Before(left, bottom) - Before(right, top) + Before(left, top);
    }

 private:
    // In the first `rows` rows and `columns` columns.
    std::uint32_t Before(std::size_t columns, std::size_t rows) const {
        return columns == 0 || rows == 0 ? 0 : m_sums[(rows - 1) * m_width + columns - 1];
    }

    std::size_t m_width;
    std::vector<std::uint32_t> m_sums;
};

}  // namespace

void WidenBytes(const std::uint8_t* bytes, std::size_t count, float* floats) {
    for (std::size_t i = 0; i < count; ++i) {
        floats[i] = bytes[i];
    }
}

void ConvertMask(const float* floats, std::size_t count, std::uint8_t* mask) {
    for (std::size_t i = 0; i < count; ++i) {
        mask[i] = MaskByte(floats[i]);
    }
}

std::uint64_t ConvertMaskTwice(const float* floats, std::size_t count, std::uint8_t* mask, std::uint8_t* previousMask) {
    std::uint64_t sum = 0;
    for (std::size_t i = 0; i < count; ++i) {
        mask[i] = MaskByte(floats[i]);
        previousMask[i] = mask[i];
        sum += mask[i];
    }
    return sum;
}

std::size_t CountChangedPixels(std::size_t pixelCount, const std::uint8_t* current, const std::uint8_t* reference,
                               const std::uint8_t* edgeMap) {
    std::size_t changed = 0;
    for (std::size_t i = 0; i < pixelCount; ++i) {
        if (edgeMap[i] == 0) {
            continue;
        }
        int difference = 0;
        for (std::size_t plane = 0; plane < 3; ++plane) {
            difference += std::abs(reference[plane * pixelCount + i] - current[plane * pixelCount + i]);
        }
        if (difference > kPixelChangeThreshold) {
            ++changed;
        }
    }
    return changed;
}

bool BuildEdgeMap(std::int32_t width, std::int32_t height, const std::uint8_t* mask, std::uint32_t& count,
                  std::uint8_t* map) {
    if (mask == nullptr || map == nullptr) {
        return false;
    }
    count = 0;
    if (width <= 0 || height <= 0) {
        return true;
    }
    const std::size_t columns = static_cast<std::size_t>(width);
    const std::size_t rows = static_cast<std::size_t>(height);
    const std::size_t reach = kEdgeReach;
    const ForegroundTable table(columns, rows, mask);
    for (std::size_t y = 0; y < rows; ++y) {
        const std::size_t top = y - std::min(y, reach);
        const std::size_t bottom = std::min(y + reach + 1, rows);
        for (std::size_t x = 0; x < columns; ++x) {
            const std::size_t left = x - std::min(x, reach);
            const std::size_t right = std::min(x + reach + 1, columns);
            const std::uint32_t foreground = table.Count(left, top, right, bottom);
            if (foreground >= 1 && foreground < (right - left) * (bottom - top)) {
                map[y * columns + x] = 1;
                ++count;
            }
        }
    }
    return true;
}

}  // namespace plain

const Kernels& PlainKernels() {
    static constexpr Kernels kPlain = {"plain",
                                       plain::WidenBytes,
                                       plain::ConvertMask,
                                       plain::ConvertMaskTwice,
                                       plain::CountChangedPixels,
                                       plain::BuildEdgeMap};
    return kPlain;
}

}  // namespace rvo_calyr::kernels
