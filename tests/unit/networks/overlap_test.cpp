#include "network_check_tool/overlap.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

namespace {

using Mask = std::vector<std::uint8_t>;
using network_check::Overlap;

TEST(MaskOverlap, CountsAPixelFrom129Up) {
    EXPECT_EQ(Overlap(Mask{128, 129}, Mask{255, 255}), 0.5);
}

TEST(MaskOverlap, IsTheSharedPixelsOverThoseOfEither) {
    EXPECT_EQ(Overlap(Mask{255, 255, 255, 0}, Mask{0, 255, 255, 255}), 0.5);
}

TEST(MaskOverlap, IsWholeWhenBothAreEmptyAndNoneWhenOneIs) {
    EXPECT_EQ(Overlap(Mask{0, 0}, Mask{0, 128}), 1.0);
    EXPECT_EQ(Overlap(Mask{0, 0}, Mask{0, 255}), 0.0);
}

}  // namespace
