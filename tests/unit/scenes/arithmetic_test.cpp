#include <gtest/gtest.h>

#include "velmo_scenes/colour.h"
#include "velmo_scenes/exact_math.h"
#include "velmo_scenes/random.h"
#include "velmo_scenes/value_noise.h"

namespace scenes {
namespace {

TEST(ExactMath, GoesDownToTheNextWholeNumberOnBothSidesOfZero) {
    EXPECT_EQ(FloorToInt(2.75F), 2);
    EXPECT_EQ(FloorToInt(2.0F), 2);
    EXPECT_EQ(FloorToInt(-2.0F), -2);
    EXPECT_EQ(FloorToInt(-2.25F), -3);
    EXPECT_EQ(Fraction(-2.25F), 0.75F);
}

TEST(ExactMath, SineIsCloseToTheTrueOneAllAround) {
    constexpr double kTwoPi = 6.283185307179586;
    for (int i = -1000; i <= 2000; ++i) {
        const float turns = static_cast<float>(i) / 1000.0F;
        ASSERT_NEAR(SineOfTurns(turns), std::sin(kTwoPi * turns), 0.001) << turns;
        ASSERT_NEAR(CosineOfTurns(turns), std::cos(kTwoPi * turns), 0.001) << turns;
    }
    EXPECT_NEAR(SineOfDegrees(30.0F), 0.5, 0.001);
}

TEST(ExactMath, KeepsValuesWithinBounds) {
    EXPECT_EQ(Clamp(-1.0F, 0.0F, 2.0F), 0.0F);
    EXPECT_EQ(Clamp(3.0F, 0.0F, 2.0F), 2.0F);
    EXPECT_EQ(Clamp(1.5F, 0.0F, 2.0F), 1.5F);
    EXPECT_EQ(Root(-4.0F), 0.0F);
    EXPECT_EQ(SmoothStep(1.0F, 3.0F, 0.5F), 0.0F);
    EXPECT_EQ(SmoothStep(1.0F, 3.0F, 2.0F), 0.5F);
    EXPECT_EQ(SmoothStep(1.0F, 3.0F, 3.5F), 1.0F);
}

TEST(ExactMath, AStepFromAHigherValueToALowerOneFalls) {
    EXPECT_EQ(SmoothStep(3.0F, 1.0F, 3.5F), 0.0F);
    EXPECT_EQ(SmoothStep(3.0F, 1.0F, 2.5F), SmoothStep(1.0F, 3.0F, 1.5F));
    EXPECT_EQ(SmoothStep(3.0F, 1.0F, 0.5F), 1.0F);
}

TEST(RandomNumbers, FollowFromTheSeedAlone) {
    Random first(5);
    Random again(5);
    Random other(6);
    const std::uint64_t bits = first.Bits();
    EXPECT_EQ(bits, again.Bits());
    EXPECT_NE(bits, other.Bits());
}

TEST(RandomNumbers, StayInTheirRange) {
    Random random(1);
    bool low = false;
    bool high = false;
    for (int i = 0; i < 2000; ++i) {
        const float unit = random.Unit();
        ASSERT_GE(unit, 0.0F);
        ASSERT_LT(unit, 1.0F);
        const float bell = random.Bell();
        ASSERT_LE(Absolute(bell), 1.0F);
        const int index = random.Index(3);
        ASSERT_GE(index, 0);
        ASSERT_LE(index, 2);
        low = low || index == 0;
        high = high || index == 2;
    }
    EXPECT_TRUE(low);
    EXPECT_TRUE(high);
}

TEST(Hues, GoFromRedOverGreenToBlue) {
    const Colour red = FromHue({0.0F, 1.0F, 0.5F});
    EXPECT_EQ(red.r, 0.5F);
    EXPECT_EQ(red.g, 0.0F);
    EXPECT_EQ(red.b, 0.0F);
    const Colour green = FromHue({1.0F / 3.0F, 1.0F, 1.0F});
    EXPECT_NEAR(green.r, 0.0F, 1e-5F);
    EXPECT_EQ(green.g, 1.0F);
    const Colour grey = FromHue({0.7F, 0.0F, 0.25F});
    EXPECT_EQ(grey.r, 0.25F);
    EXPECT_EQ(grey.b, 0.25F);
}

TEST(ValueNoises, RepeatAfterTheirTileAndAreSmoothInBetween) {
    const ValueNoise& noise = ValueNoise::Instance();
    EXPECT_EQ(noise.At(1.5F, 2.25F), noise.At(1.5F + 32.0F, 2.25F - 32.0F));
    EXPECT_NEAR(noise.SoftAt(3.0F, 4.0F), noise.SoftAt(3.01F, 4.0F), 0.05F);
    EXPECT_NE(noise.SoftAt(3.0F, 4.0F), noise.SoftAt(5.5F, 4.0F));
}

}  // namespace
}  // namespace scenes
