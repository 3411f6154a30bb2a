#include "helpers/kernels/edge_map.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "guarded_array.h"
#include "kernel_versions.h"

namespace rvo_calyr {
namespace {

using kernels::AllVersions;
using kernels::FastVersions;
using kernels::Kernels;
using kernels::kVersionName;
using kernels::PlainKernels;

constexpr std::uint8_t kUnmarked = 7;  // what the maps hold before; anything but 1 shows what is written

// Where a pixel stands in a mask or map of so many columns.
std::size_t Index(int x, int y, int width) {
    return static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x);
}

struct Result {
    std::uint32_t count = 99;
    std::vector<std::uint8_t> map;

    bool operator==(const Result&) const = default;
};

Result Build(const Kernels* version, int width, int height, const std::vector<std::uint8_t>& mask) {
    Result result;
    result.map.assign(mask.size(), kUnmarked);
    EXPECT_TRUE(version->buildEdgeMap(width, height, mask.data(), result.count, result.map.data()));
    return result;
}

// The definition once more, pixel by pixel and without any table.
Result Defined(int width, int height, const std::vector<std::uint8_t>& mask) {
    Result result{0, std::vector<std::uint8_t>(mask.size(), kUnmarked)};
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            bool foreground = false;
            bool background = false;
            for (int v = std::max(y - 2, 0); v <= std::min(y + 2, height - 1); ++v) {
                for (int u = std::max(x - 2, 0); u <= std::min(x + 2, width - 1); ++u) {
                    (mask[Index(u, v, width)] > 128 ? foreground : background) = true;
                }
            }
            if (foreground && background) {
                result.map[Index(x, y, width)] = 1;
                ++result.count;
            }
        }
    }
    return result;
}

// A mask from rows of text, '#' being foreground.
std::vector<std::uint8_t> MaskOf(const std::vector<std::string>& rows) {
    std::vector<std::uint8_t> mask;
    for (const std::string& row : rows) {
        for (const char pixel : row) {
            mask.push_back(pixel == '#' ? 129 : 128);
        }
    }
    return mask;
}

// A map as rows of text, 'x' being marked.
std::vector<std::string> TextOf(const std::vector<std::uint8_t>& map, std::size_t width) {
    std::vector<std::string> rows(map.size() / width);
    for (std::size_t i = 0; i < map.size(); ++i) {
        rows[i / width] += map[i] == 1 ? 'x' : map[i] == kUnmarked ? '.' : '?';
    }
    return rows;
}

constexpr int kMaskKinds = 9;

// Masks of many kinds: noise of some densities, blobs, stripes, empty, full, and single pixels.
std::vector<std::uint8_t> MakeMask(int kind, int width, int height, std::mt19937& random) {
    const std::size_t pixels = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
    const auto at = [&](int x, int y) { return Index(x, y, width); };
    const auto below = [&](int limit) { return static_cast<int>(random() % static_cast<unsigned int>(limit)); };
    std::vector<std::uint8_t> mask(pixels, 0);
    switch (kind) {
        case 0:  // bytes of all values, many at the threshold
            for (std::uint8_t& byte : mask) {
                byte = static_cast<std::uint8_t>(random() % 2 == 0 ? 127 + random() % 4 : random());
            }
            break;
        case 1:  // sparse foreground
            for (std::uint8_t& byte : mask) {
                byte = random() % 100 == 0 ? 255 : 128;
            }
            break;
        case 2:  // sparse background
            for (std::uint8_t& byte : mask) {
                byte = random() % 100 == 0 ? 128 : 129;
            }
            break;
        case 3:  // rectangles
            for (int i = 0; i < 3; ++i) {
                const int left = below(width);
                const int top = below(height);
                const int right = left + 1 + below(width - left);
                const int bottom = top + 1 + below(height - top);
                const std::uint8_t byte = random() % 3 == 0 ? 0 : 255;
                for (int y = top; y < bottom; ++y) {
                    std::fill_n(mask.data() + at(left, y), right - left, byte);
                }
            }
            break;
        case 4:  // a disc
        {
            const int middleX = below(width);
            const int middleY = below(height);
            const int radius = 1 + below(std::max(width, height));
            for (int y = 0; y < height; ++y) {
                for (int x = 0; x < width; ++x) {
                    const int dx = x - middleX;
                    const int dy = y - middleY;
                    mask[at(x, y)] = dx * dx + dy * dy < radius * radius ? 200 : 50;
                }
            }
            break;
        }
        case 5:  // stripes of some width, along or across
        {
            const int period = 1 + below(70);
            const bool along = random() % 2 == 0;
            for (int y = 0; y < height; ++y) {
                for (int x = 0; x < width; ++x) {
                    mask[at(x, y)] = ((along ? y : x) / period) % 2 == 0 ? 255 : 0;
                }
            }
            break;
        }
        case 6:  // one pixel, near a corner more often than not
            mask[at(random() % 2 == 0 ? below(width) : width - 1, random() % 2 == 0 ? below(height) : height - 1)] =
                255;
            break;
        case 7:  // all but one
            std::fill(mask.begin(), mask.end(), std::uint8_t{255});
            mask[at(below(width), below(height))] = 0;
            break;
        default:  // nothing, or everything
            std::fill(mask.begin(), mask.end(), static_cast<std::uint8_t>(random() % 2 == 0 ? 128 : 129));
            break;
    }
    return mask;
}

class BuildEdgeMapBy : public testing::TestWithParam<const Kernels*> {};

TEST_P(BuildEdgeMapBy, RefusesAMissingArrayAndWritesNothing) {
    std::vector<std::uint8_t> mask = MaskOf({"#.#"});
    std::vector<std::uint8_t> map(3, kUnmarked);
    std::uint32_t count = 99;

    EXPECT_FALSE(GetParam()->buildEdgeMap(3, 1, nullptr, count, map.data()));
    EXPECT_FALSE(GetParam()->buildEdgeMap(3, 1, mask.data(), count, nullptr));

    EXPECT_EQ(count, 99u);
    EXPECT_THAT(map, testing::Each(kUnmarked));
}

TEST_P(BuildEdgeMapBy, MarksNothingInAMaskWithoutPixels) {
    const std::vector<std::uint8_t> mask = MaskOf({"#.#"});
    for (const auto& [width, height] : {std::pair{0, 3}, {3, 0}, {0, 0}, {-1, 3}, {3, -1}, {-3, -1}}) {
        const Result result = Build(GetParam(), width, height, mask);
        EXPECT_EQ(result.count, 0u);
        EXPECT_THAT(result.map, testing::Each(kUnmarked));
    }
}

TEST_P(BuildEdgeMapBy, MarksTwoPixelsOnBothSidesOfAnOutline) {
    const std::vector<std::uint8_t> mask =
        MaskOf({"............", "............", "............", "...########.", "...########.", "...########.",
                "...########.", "...########.", "...########.", "............", "............"});

    const Result result = Build(GetParam(), 12, 11, mask);

    EXPECT_THAT(TextOf(result.map, 12), testing::ElementsAre("............",  //
                                                             ".xxxxxxxxxxx",  //
                                                             ".xxxxxxxxxxx",  //
                                                             ".xxxxxxxxxxx",  //
                                                             ".xxxxxxxxxxx",  //
                                                             ".xxxx....xxx",  //
                                                             ".xxxx....xxx",  //
                                                             ".xxxxxxxxxxx",  //
                                                             ".xxxxxxxxxxx",  //
                                                             ".xxxxxxxxxxx",  //
                                                             ".xxxxxxxxxxx"));
    EXPECT_EQ(result.count, 11u * 10u - 8u);
}

TEST_P(BuildEdgeMapBy, MarksTheTransitionsOfAMaskOfOneRow) {
    const Result result = Build(GetParam(), 16, 1, MaskOf({"......####....##"}));

    EXPECT_THAT(TextOf(result.map, 16), testing::ElementsAre("....xxxxxxxxxxxx"));
    EXPECT_EQ(result.count, 12u);
}

TEST_P(BuildEdgeMapBy, MarksTheTransitionsOfAMaskOfOneColumn) {
    const Result result =
        Build(GetParam(), 1, 12, MaskOf({".", ".", ".", ".", "#", "#", "#", "#", "#", "#", "#", "#"}));

    EXPECT_THAT(TextOf(result.map, 1),
                testing::ElementsAre(".", ".", "x", "x", "x", "x", ".", ".", ".", ".", ".", "."));
}

TEST_P(BuildEdgeMapBy, TakesTheBorderForNoOutline) {
    for (const char* pixel : {"#", "."}) {
        std::string row;
        for (int i = 0; i < 70; ++i) {
            row += pixel;
        }
        const Result result = Build(GetParam(), 70, 5, MaskOf({row, row, row, row, row}));
        EXPECT_EQ(result.count, 0u);
        EXPECT_THAT(result.map, testing::Each(kUnmarked));
    }
}

TEST_P(BuildEdgeMapBy, CountsAMaskByteOf129AsForegroundAnd128AsBackground) {
    for (int byte = 0; byte < 256; ++byte) {
        std::vector<std::uint8_t> mask(70, 0);
        mask[3] = static_cast<std::uint8_t>(byte);
        EXPECT_EQ(Build(GetParam(), 70, 1, mask).count, byte > 128 ? 5u : 0u) << byte;
    }
}

TEST_P(BuildEdgeMapBy, MarksASinglePixelsWindowAcrossTheBoundariesOfWordsAndTiles) {
    constexpr int kWidth = 2200;
    constexpr int kHeight = 100;
    for (const int x : {0, 1, 62, 63, 64, 65, 66, 1021, 1022, 1023, 1024, 1025, 1026, 2047, 2048, 2198, 2199}) {
        for (const int y : {0, 1, 2, 29, 30, 31, 32, 33, 34, 63, 64, 96, 98, 99}) {
            std::vector<std::uint8_t> mask(Index(0, kHeight, kWidth), 0);
            mask[Index(x, y, kWidth)] = 255;

            const Result result = Build(GetParam(), kWidth, kHeight, mask);

            std::uint32_t expected = 0;
            for (int v = std::max(0, y - 2); v <= std::min(kHeight - 1, y + 2); ++v) {
                for (int u = std::max(0, x - 2); u <= std::min(kWidth - 1, x + 2); ++u) {
                    ASSERT_EQ(result.map[Index(u, v, kWidth)], 1) << x << ", " << y;
                    ++expected;
                }
            }
            ASSERT_EQ(result.count, expected) << x << ", " << y;
            ASSERT_EQ(static_cast<std::uint32_t>(std::ranges::count(result.map, 1)), expected) << x << ", " << y;
        }
    }
}

TEST_P(BuildEdgeMapBy, AgreesWithTheDefinitionOnSmallMasks) {
    std::mt19937 random(6);
    for (int height = 1; height <= 14; ++height) {
        for (int width = 1; width <= 14; ++width) {
            for (int kind = 0; kind < kMaskKinds; ++kind) {
                const std::vector<std::uint8_t> mask = MakeMask(kind, width, height, random);
                ASSERT_EQ(Build(GetParam(), width, height, mask), Defined(width, height, mask))
                    << width << " x " << height << ", kind " << kind;
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Versions, BuildEdgeMapBy, testing::ValuesIn(AllVersions()), kVersionName);

class FastEdgeMap : public testing::TestWithParam<const Kernels*> {};

void ExpectAsPlain(const Kernels* version, int width, int height, const std::vector<std::uint8_t>& mask,
                   const char* what) {
    const Result expected = Build(&PlainKernels(), width, height, mask);
    const Result result = Build(version, width, height, mask);
    ASSERT_EQ(result.count, expected.count) << width << " x " << height << ", " << what;
    ASSERT_EQ(result.map, expected.map) << width << " x " << height << ", " << what;
}

TEST_P(FastEdgeMap, IsThePlainOneForEveryKindAroundWordsAndTiles) {
    std::mt19937 random(8);
    for (const int width : {1,   2,   3,    63,   64,   65,   127,  128,  129,  191,  192,  193, 256,
                            257, 640, 1023, 1024, 1025, 1026, 1088, 2047, 2048, 2049, 2050, 3100}) {
        for (const int height : {1, 2, 3, 31, 32, 33, 34, 35, 36, 64, 65, 97}) {
            for (int kind = 0; kind < kMaskKinds; ++kind) {
                ASSERT_NO_FATAL_FAILURE(
                    ExpectAsPlain(GetParam(), width, height, MakeMask(kind, width, height, random), "boundaries"));
            }
        }
    }
}

TEST_P(FastEdgeMap, IsThePlainOneAtTheSizesOfTheModels) {
    std::mt19937 random(9);
    for (const auto& [width, height] : {std::pair{256, 144}, {640, 360}, {360, 640}}) {
        for (int kind = 0; kind < kMaskKinds; ++kind) {
            ASSERT_NO_FATAL_FAILURE(
                ExpectAsPlain(GetParam(), width, height, MakeMask(kind, width, height, random), "models"));
        }
    }
}

TEST_P(FastEdgeMap, StaysBetweenGuards) {
    std::mt19937 random(10);
    for (const Guard guard : {Guard::Before, Guard::Behind}) {
        for (const int width : {1, 2, 5, 31, 33, 63, 64, 65, 100, 127, 129, 200, 1024, 1027}) {
            for (const int height : {1, 2, 3, 5, 32, 33, 35, 66}) {
                const std::vector<std::uint8_t> mask = MakeMask(0, width, height, random);
                const GuardedArray<std::uint8_t> guardedMask(mask.size(), guard);
                std::ranges::copy(mask, guardedMask.Data());
                const GuardedArray<std::uint8_t> map(mask.size(), guard);
                std::ranges::fill(map.Span(), kUnmarked);
                std::uint32_t count = 0;

                GetParam()->buildEdgeMap(width, height, guardedMask.Data(), count, map.Data());

                const Result expected = Build(&PlainKernels(), width, height, mask);
                ASSERT_EQ(count, expected.count) << width << " x " << height;
                ASSERT_TRUE(std::ranges::equal(map.Span(), expected.map)) << width << " x " << height;
            }
        }
    }
}

TEST_P(FastEdgeMap, WorksAtEveryAlignment) {
    std::mt19937 random(11);
    constexpr int kWidth = 150;
    constexpr int kHeight = 40;
    const std::vector<std::uint8_t> mask = MakeMask(4, kWidth, kHeight, random);
    const Result expected = Build(&PlainKernels(), kWidth, kHeight, mask);
    for (std::size_t start = 0; start < 64; ++start) {
        std::vector<std::uint8_t> moved(mask.size() + 64, 0);
        std::ranges::copy(mask, moved.begin() + static_cast<std::ptrdiff_t>(start));
        std::vector<std::uint8_t> map(mask.size() + 64, kUnmarked);
        std::uint32_t count = 0;

        GetParam()->buildEdgeMap(kWidth, kHeight, moved.data() + start, count, map.data() + 63 - start);

        ASSERT_EQ(count, expected.count) << start;
        ASSERT_TRUE(std::equal(expected.map.begin(), expected.map.end(), map.data() + 63 - start)) << start;
    }
}

INSTANTIATE_TEST_SUITE_P(Versions, FastEdgeMap, testing::ValuesIn(FastVersions()), kVersionName);
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(FastEdgeMap);

// All versions in one test, which makes each mask and its plain map once.
TEST(FastEdgeMaps, AreThePlainOneAtEverySize) {
    std::mt19937 random(7);
    int kind = 0;
    for (int height = 1; height <= VELMOML_EDGE_MAP_SIZES; ++height) {
        for (int width = 1; width <= VELMOML_EDGE_MAP_SIZES; ++width) {
            kind = (kind + 1) % kMaskKinds;  // neither 200 nor 70 divides by nine: a width meets all kinds in turn
            const std::vector<std::uint8_t> mask = MakeMask(kind, width, height, random);
            const Result expected = Build(&PlainKernels(), width, height, mask);
            for (const Kernels* version : FastVersions()) {
                ASSERT_EQ(Build(version, width, height, mask), expected)
                    << version->name << ", " << width << " x " << height << ", kind " << kind;
            }
        }
    }
}

TEST(BuildEdgeMap, LeavesUnmarkedPixelsAsTheyAre) {
    std::vector<std::uint8_t> map(12, kUnmarked);
    std::uint32_t count = 99;

    EXPECT_TRUE(BuildEdgeMap(12, 1, MaskOf({"......######"}).data(), count, map.data()));

    EXPECT_THAT(TextOf(map, 12), testing::ElementsAre("....xxxx...."));
    EXPECT_EQ(count, 4u);
}

}  // namespace
}  // namespace rvo_calyr
