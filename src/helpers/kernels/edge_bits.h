#pragma once

#include <cstddef>
#include <cstdint>

#include "helpers/kernels/kernels.h"

namespace rvo_calyr::kernels {

// The edge map of one mask, worked out with one bit per pixel.
//
// A pixel's window holds both kinds of pixel when some pixel in it is foreground (the "or" over it is 1) and not all
// are (the "and" over it is 0). Both are separable: first over five rows, then over five columns, 64 pixels per word. A
// window that is cut off at a border gives the same as a whole one in which the border's pixels are repeated outside,
// as each of those stands in the window already; so rows and columns outside are copies of the border's, and nothing is
// a special case.
//
// The mask is taken in tiles, which bounds the memory: 15 KB on the stack for images of any size.
// In a tile each row of pixels has a word for the neighbours on the left, its own words, and one for those on the
// right.
template <class Simd>
class EdgeBits {
 public:
    EdgeBits(std::size_t width, std::size_t height, const std::uint8_t* mask, std::uint8_t* map)
        : m_width(width), m_height(height), m_pixels(width * height), m_mask(mask), m_map(map) {}

    // Writes the marks and returns how many there are.
    std::uint32_t MarkAll() {
        std::uint32_t marked = 0;
        for (m_left = 0; m_left < m_width; m_left += kTileWords * kWordPixels) {
            const std::size_t columns = m_width - m_left;
            m_words = columns > kTileWords * kWordPixels ? kTileWords : (columns + kWordPixels - 1) / kWordPixels;
            m_stride = m_words + 2;
            for (std::size_t word = 0; word < kTileWords; ++word) {
                m_inside[word] = LowBits(word * kWordPixels < columns ? columns - word * kWordPixels : 0);
            }
            for (std::size_t top = 0; top < m_height; top += kTileRows) {
                const std::size_t rows = m_height - top < kTileRows ? m_height - top : kTileRows;
                PackTile(top, rows);
                CombineRows(rows);
                marked += MarkTile(top, rows);
            }
        }
        return marked;
    }

 private:
    using Block = typename Simd::Block;

    static constexpr std::size_t kWordPixels = 64;
    static constexpr std::size_t kVectorWords = Simd::kBytes / sizeof(std::uint64_t);
    static constexpr std::size_t kReach = kEdgeReach;
    static constexpr std::size_t kTileRows = 32;
    static constexpr std::size_t kTileWords = 16;  // own words of a row: 1024 pixels
    static constexpr std::size_t kTileStride = kTileWords + 2;
    // Whole vectors are worked on, and some of them reach beyond the last word.
    static constexpr std::size_t kSlack = kVectorWords;
    static_assert(kTileWords % kVectorWords == 0);

    // The words at the end of an array that a vector may reach into. Their bits end up nowhere, but reading what has
    // never been written is undefined.
    static void ClearSlack(std::uint64_t* words) {
        for (std::size_t i = 0; i < kSlack; ++i) {
            words[i] = 0;
        }
    }

    static std::uint64_t LowBits(std::size_t count) {
        return count >= kWordPixels ? ~std::uint64_t{0} : (std::uint64_t{1} << count) - 1;
    }

    // Fills m_foreground with the rows from top - kReach to top + rows + kReach.
    void PackTile(std::size_t top, std::size_t rows) {
        const std::size_t held = rows + 2 * kReach;
        std::size_t row = 0;
        if (top > 0) {  // the last rows of the tile above, which was a whole one, are there already
            const std::uint64_t* const from = m_foreground + kTileRows * m_stride;
            for (std::size_t i = 0; i < 2 * kReach * m_stride; ++i) {
                m_foreground[i] = from[i];
            }
            row = 2 * kReach;
        }
        for (; row < held; ++row) {
            // row kReach of the tile is row `top` of the image
            const std::size_t below = top + row;
            const std::size_t y = below < kReach ? 0 : below - kReach < m_height ? below - kReach : m_height - 1;
            PackRow(y, m_foreground + row * m_stride);
        }
        ClearSlack(m_foreground + held * m_stride);
    }

    void PackRow(std::size_t y, std::uint64_t* words) const {
        const std::size_t start = y * m_width;
        for (std::size_t word = 0; word < m_words; ++word) {
            words[1 + word] = PackWord(start + m_left + word * kWordPixels);
        }
        // Of the neighbours only the two next ones count. Where there are none, the border's pixel stands for them, in
        // what is left of the last word, too.
        const std::size_t border = m_width - 1;
        const std::size_t right = m_left + m_words * kWordPixels;
        words[0] = Bit(start + (m_left > 1 ? m_left - 2 : 0)) << 62 | Bit(start + (m_left > 0 ? m_left - 1 : 0)) << 63;
        words[1 + m_words] = Bit(start + (right < border ? right : border)) |
                             Bit(start + (right + 1 < border ? right + 1 : border)) << 1;
        if (right > m_width) {
            const std::uint64_t inside = m_inside[m_words - 1];
            const std::uint64_t repeated = std::uint64_t{0} - Bit(start + border);
            words[m_words] = (words[m_words] & inside) | (repeated & ~inside);
        }
    }

    // 64 pixels from an index on; those behind the end of the mask are background.
    std::uint64_t PackWord(std::size_t start) const {
        if (start + kWordPixels <= m_pixels) {
            return Simd::Above(m_mask + start, kForegroundThreshold);
        }
        std::uint64_t bits = 0;
        for (std::size_t i = 0; start + i < m_pixels; ++i) {
            bits |= Bit(start + i) << i;
        }
        return bits;
    }

    // 1 when the pixel is foreground, else 0.
    std::uint64_t Bit(std::size_t index) const { return m_mask[index] > kForegroundThreshold ? 1u : 0u; }

    // Fills m_any and m_all: "or" and "and" over the five rows around each row of the tile.
    void CombineRows(std::size_t rows) {
        const std::size_t words = rows * m_stride;
        for (std::size_t i = 0; i < words; i += kVectorWords) {
            const std::uint64_t* at = m_foreground + i;
            Block any = Simd::LoadWords(at);
            Block all = any;
            for (std::size_t row = 1; row <= 2 * kReach; ++row) {
                at += m_stride;
                const Block bits = Simd::LoadWords(at);
                any = Simd::Or(any, bits);
                all = Simd::And(all, bits);
            }
            Simd::StoreWords(m_any + i, any);
            Simd::StoreWords(m_all + i, all);
        }
        ClearSlack(m_any + words);
        ClearSlack(m_all + words);
    }

    // Does the columns, and writes the marks of the tile's rows.
    std::uint32_t MarkTile(std::size_t top, std::size_t rows) {
        std::uint32_t marked = 0;
        for (std::size_t row = 0; row < rows; ++row) {
            const std::size_t start = (top + row) * m_width + m_left;
            const std::uint64_t* const any = m_any + row * m_stride + 1;
            const std::uint64_t* const all = m_all + row * m_stride + 1;
            for (std::size_t word = 0; word < m_words; word += kVectorWords) {
                const Block band = Simd::And(Simd::AndNot(AllOfColumns(all + word), AnyOfColumns(any + word)),
                                             Simd::LoadWords(m_inside + word));
                if (Simd::IsZero(band)) {
                    continue;
                }
                std::uint64_t bands[kVectorWords];
                Simd::StoreWords(bands, band);
                for (std::size_t i = 0; i < kVectorWords; ++i) {
                    if (bands[i] != 0) {
                        marked += Simd::CountBits(bands[i]);
                        MarkWord(start + (word + i) * kWordPixels, bands[i]);
                    }
                }
            }
        }
        return marked;
    }

    // Each bit becomes the "or" of itself and its two neighbours on both sides.
    static Block AnyOfColumns(const std::uint64_t* words) {
        const Block own = Simd::LoadWords(words);
        const Block left = Simd::LoadWords(words - 1);
        const Block right = Simd::LoadWords(words + 1);
        const Block fromLeft = Simd::Or(Simd::Or(Simd::template ShiftUp<1>(own), Simd::template ShiftDown<63>(left)),
                                        Simd::Or(Simd::template ShiftUp<2>(own), Simd::template ShiftDown<62>(left)));
        const Block fromRight = Simd::Or(Simd::Or(Simd::template ShiftDown<1>(own), Simd::template ShiftUp<63>(right)),
                                         Simd::Or(Simd::template ShiftDown<2>(own), Simd::template ShiftUp<62>(right)));
        return Simd::Or(own, Simd::Or(fromLeft, fromRight));
    }

    // Likewise the "and".
    static Block AllOfColumns(const std::uint64_t* words) {
        const Block own = Simd::LoadWords(words);
        const Block left = Simd::LoadWords(words - 1);
        const Block right = Simd::LoadWords(words + 1);
        const Block fromLeft = Simd::And(Simd::Or(Simd::template ShiftUp<1>(own), Simd::template ShiftDown<63>(left)),
                                         Simd::Or(Simd::template ShiftUp<2>(own), Simd::template ShiftDown<62>(left)));
        const Block fromRight =
            Simd::And(Simd::Or(Simd::template ShiftDown<1>(own), Simd::template ShiftUp<63>(right)),
                      Simd::Or(Simd::template ShiftDown<2>(own), Simd::template ShiftUp<62>(right)));
        return Simd::And(own, Simd::And(fromLeft, fromRight));
    }

    void MarkWord(std::size_t start, std::uint64_t band) {
        if (start + kWordPixels <= m_pixels) {
            Simd::StoreOnes(m_map + start, band);
            return;
        }
        for (std::size_t i = 0; band != 0; ++i, band >>= 1) {
            if ((band & 1u) != 0) {
                m_map[start + i] = 1;
            }
        }
    }

    std::size_t m_width;
    std::size_t m_height;
    std::size_t m_pixels;
    const std::uint8_t* m_mask;
    std::uint8_t* m_map;

    std::size_t m_left = 0;    // first column of the tile
    std::size_t m_words = 0;   // own words of a row in it
    std::size_t m_stride = 0;  // words from row to row, the two for the neighbours included

    // Not initialised: each word is written before it is read.
    std::uint64_t m_inside[kTileWords];  // bits of a row that are pixels of the image
    std::uint64_t m_foreground[(kTileRows + 2 * kReach) * kTileStride + kSlack];
    std::uint64_t m_any[kTileRows * kTileStride + kSlack];
    std::uint64_t m_all[kTileRows * kTileStride + kSlack];
};

}  // namespace rvo_calyr::kernels
