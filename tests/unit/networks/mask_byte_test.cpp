#include "network_check_tool/mask_byte.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

using network_check::MaskByte;
using Limits = std::numeric_limits<float>;

TEST(MaskBytes, AreCutToWholeNumbers) {
    EXPECT_EQ(MaskByte(0.0F), 0);
    EXPECT_EQ(MaskByte(0.99F), 0);
    EXPECT_EQ(MaskByte(1.0F), 1);
    EXPECT_EQ(MaskByte(128.5F), 128);
    EXPECT_EQ(MaskByte(254.99F), 254);
    EXPECT_EQ(MaskByte(255.0F), 255);
    EXPECT_EQ(MaskByte(255.5F), 255);
}

TEST(MaskBytes, StayInTheirRangeWhateverTheNetworkGives) {
    EXPECT_EQ(MaskByte(256.0F), 255);
    EXPECT_EQ(MaskByte(1e30F), 255);
    EXPECT_EQ(MaskByte(Limits::infinity()), 255);
    EXPECT_EQ(MaskByte(-0.01F), 0);
    EXPECT_EQ(MaskByte(-1.0F), 0);
    EXPECT_EQ(MaskByte(-Limits::infinity()), 0);
    EXPECT_EQ(MaskByte(Limits::quiet_NaN()), 0);
}

}  // namespace
