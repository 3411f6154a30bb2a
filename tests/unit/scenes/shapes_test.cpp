#include "velmo_scenes/shapes.h"

#include <gtest/gtest.h>

namespace scenes {
namespace {

TEST(Shapes, AnEllipseIsNegativeInsideAndZeroOnItsOutline) {
    EXPECT_NEAR(Ellipse({3.0F, 0.0F}, {1.0F, 0.0F}, 2.0F, 1.0F).distance, 0.0F, 1e-6F);
    EXPECT_LT(Ellipse({1.0F, 0.0F}, {1.0F, 0.0F}, 2.0F, 1.0F).distance, -0.9F);
    EXPECT_GT(Ellipse({1.0F, 1.5F}, {1.0F, 0.0F}, 2.0F, 1.0F).distance, 0.4F);
}

TEST(Shapes, ACapsulesRadiusGoesFromOneEndToTheOther) {
    const Point from{0.0F, 0.0F};
    const Point to{4.0F, 0.0F};
    EXPECT_NEAR(Capsule({0.0F, 1.0F}, from, to, 1.0F, 0.5F).distance, 0.0F, 1e-6F);
    EXPECT_NEAR(Capsule({4.5F, 0.0F}, from, to, 1.0F, 0.5F).distance, 0.0F, 1e-6F);
    EXPECT_NEAR(Capsule({2.0F, 0.0F}, from, to, 1.0F, 0.5F).distance, -0.75F, 1e-6F);
}

TEST(Shapes, ACapsuleOfNoLengthIsACircle) {
    const Point at{1.0F, 1.0F};
    EXPECT_NEAR(Capsule({1.0F, 3.0F}, at, at, 0.5F, 0.5F).distance, 1.5F, 1e-6F);
}

TEST(Shapes, ABoxHasFlatSidesAndRoundCorners) {
    EXPECT_NEAR(RoundedBox({2.0F, 0.0F}, {}, 2.0F, 1.0F, 0.25F), 0.0F, 1e-6F);
    EXPECT_GT(RoundedBox({2.0F, 1.0F}, {}, 2.0F, 1.0F, 0.25F), 0.05F);
    EXPECT_NEAR(RoundedBox({0.0F, 0.0F}, {}, 2.0F, 1.0F, 0.25F), -1.0F, 1e-6F);
}

TEST(Shapes, AJoinFillsTheGapWhereBothShapesMeetAndIsEachOfThemElsewhere) {
    const Surface near{0.2F, 0.0F, 0.0F};
    const Surface far{5.0F, 0.0F, 0.0F};
    EXPECT_NEAR(Join(near, near, 1.0F).distance, -0.05F, 1e-6F);
    EXPECT_NEAR(Join(near, far, 1.0F).distance, 0.2F, 1e-6F);
    EXPECT_NEAR(Join(far, near, 1.0F).distance, 0.2F, 1e-6F);
}

}  // namespace
}  // namespace scenes
