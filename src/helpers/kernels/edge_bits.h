#pragma once

#include <cstddef>
#include <cstdint>

#include "helpers/kernels/kernels.h"

namespace rvo_calyr::kernels {

// The edge map of one mask, worked out with one bit per pixel, 64 pixels per word.
//
// A pixel's window of 5 × 5 pixels holds both kinds of pixel exactly when one of the 4 × 4 blocks of 2 × 2 pixels in it
// does: such a block lies wherever two neighbours differ. So each block is judged once, and a pixel is marked when one
// of the sixteen around it is mixed; that is an "or" over four rows, then one over four columns. A window that is cut
// off at a border gives the same as a whole one in which the border's pixels are repeated outside, as each of those
// stands in the window already; so rows and columns outside are copies of the border's, and no window is a special
// case.
//
// The mask is taken in tiles, which bounds the memory: 10 KB on the stack for images of any size.
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
                FindMixedBlocks(rows);
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
    static constexpr std::size_t kBlockRows = 2 * kReach;  // of blocks of 2 × 2 in a window
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

    // Fills m_mixed: a bit for each block, at the place of its upper left pixel, in the rows from top - kReach to
    // top + rows + 1. In the last word of a row only the first bit is of use, as the neighbour on its right is missing.
    void FindMixedBlocks(std::size_t rows) {
        const std::size_t stride = m_stride;
        const std::size_t words = (rows + kBlockRows - 1) * stride;
        for (std::size_t i = 0; i < words; i += kVectorWords) {
            const Block upper = Simd::LoadWords(m_foreground + i);
            const Block lower = Simd::LoadWords(m_foreground + i + stride);
            const Block upperNext = Simd::LoadWords(m_foreground + i + 1);
            const Block lowerNext = Simd::LoadWords(m_foreground + i + stride + 1);
            const Block any = Simd::Or(upper, lower);
            const Block all = Simd::And(upper, lower);
            const Block anyRight = FromRight(any, Simd::Or(upperNext, lowerNext));
            const Block allRight = FromRight(all, Simd::And(upperNext, lowerNext));
            Simd::StoreWords(m_mixed + i, Simd::AndNot(Simd::And(all, allRight), Simd::Or(any, anyRight)));
        }
        ClearSlack(m_mixed + words);
    }

    // Makes the tile's rows of m_mixed, in place, the "or" of the four rows of blocks in a pixel's window.
    void CombineRows(std::size_t rows) {
        const std::size_t stride = m_stride;
        for (std::size_t i = 0; i < rows * stride; i += kVectorWords) {
            Block any = Simd::LoadWords(m_mixed + i);
            for (std::size_t row = 1; row < kBlockRows; ++row) {
                any = Simd::Or(any, Simd::LoadWords(m_mixed + i + row * stride));
            }
            Simd::StoreWords(m_mixed + i, any);
        }
    }

    // Combines the columns likewise, and writes the marks of the tile's rows.
    std::uint32_t MarkTile(std::size_t top, std::size_t rows) {
        std::uint32_t marked = 0;
        for (std::size_t row = 0; row < rows; ++row) {
            const std::size_t start = (top + row) * m_width + m_left;
            const std::uint64_t* const mixed = m_mixed + row * m_stride + 1;
            for (std::size_t word = 0; word < m_words; word += kVectorWords) {
                const Block own = Simd::LoadWords(mixed + word);
                const Block left = Simd::LoadWords(mixed + word - 1);
                const Block right = Simd::LoadWords(mixed + word + 1);
                if (Simd::IsZero(Simd::Or(own, Simd::Or(left, right)))) {
                    continue;  // far from the outline, like most of a picture
                }
                const Block fromLeft = Simd::Or(FromLeft<1>(own, left), FromLeft<2>(own, left));
                const Block any = Simd::Or(Simd::Or(own, FromRight(own, right)), fromLeft);
                std::uint64_t bands[kVectorWords];
                Simd::StoreWords(bands, Simd::And(any, Simd::LoadWords(m_inside + word)));
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

    // Each bit becomes that of the next pixel on the right; `right` are the words behind.
    static Block FromRight(Block own, Block right) {
        return Simd::Or(Simd::template ShiftDown<1>(own), Simd::template ShiftUp<63>(right));
    }

    // Each bit becomes that of the pixel so many places to the left; `left` are the words before.
    template <int kPlaces>
    static Block FromLeft(Block own, Block left) {
        return Simd::Or(Simd::template ShiftUp<kPlaces>(own), Simd::template ShiftDown<64 - kPlaces>(left));
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
    std::uint64_t m_mixed[(kTileRows + kBlockRows - 1) * kTileStride + kSlack];
};

}  // namespace rvo_calyr::kernels
