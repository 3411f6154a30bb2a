#include "velmo_scenes/canvas.h"

#include <gtest/gtest.h>

namespace scenes {
namespace {

constexpr Colour kWhite{1.0F, 1.0F, 1.0F};

// Everything left of `edge` pixels, on a canvas of 8 x 4.
void PaintLeftOf(Canvas& canvas, float edge, Role role) {
    canvas.Paint(
        Placing{}, Box{{0.0F, 0.0F}, {2.0F, 1.0F}}, role, 1.0F, 0.0F,
        [edge](Point p) {
            return Surface{p.x - edge * 0.25F, 0.0F, 0.0F};
        },
        [](Point, const Surface&) { return kWhite; });
}

class CanvasPaint : public testing::Test {
 protected:
    CanvasPaint() { m_canvas.Resize(8, 4); }
    float CoverAt(int x) { return m_canvas.Row(2)[x].cover; }
    float LatestAt(int x) { return m_canvas.Latest()[static_cast<std::size_t>(16 + x)]; }  // of the same row
    float RedAt(int x) { return m_canvas.Row(2)[x].colour.r; }

    Canvas m_canvas;
};

TEST_F(CanvasPaint, ColoursAndMarksAPixelByTheShareThatAPersonCovers) {
    PaintLeftOf(m_canvas, 3.25F, Role::Person);

    EXPECT_FLOAT_EQ(CoverAt(2), 1.0F);
    EXPECT_NEAR(CoverAt(3), 0.25F, 1e-5F);
    EXPECT_FLOAT_EQ(CoverAt(4), 0.0F);
    EXPECT_NEAR(RedAt(3), 0.25F, 1e-5F);
}

TEST_F(CanvasPaint, AThingInFrontTakesThePersonAway) {
    PaintLeftOf(m_canvas, 6.0F, Role::Person);
    PaintLeftOf(m_canvas, 2.5F, Role::Thing);

    EXPECT_FLOAT_EQ(CoverAt(1), 0.0F);
    EXPECT_NEAR(CoverAt(2), 0.5F, 1e-5F);
    EXPECT_FLOAT_EQ(CoverAt(3), 1.0F);
}

TEST_F(CanvasPaint, APersonTakesThePixelsFromTheOneBehind) {
    PaintLeftOf(m_canvas, 6.0F, Role::Person);
    m_canvas.BeginPerson();
    PaintLeftOf(m_canvas, 3.25F, Role::Person);

    EXPECT_FLOAT_EQ(CoverAt(2), 1.0F);
    EXPECT_FLOAT_EQ(LatestAt(2), 1.0F);
    EXPECT_FLOAT_EQ(CoverAt(3), 1.0F);
    EXPECT_NEAR(LatestAt(3), 0.25F, 1e-5F);
    EXPECT_FLOAT_EQ(CoverAt(5), 1.0F);
    EXPECT_FLOAT_EQ(LatestAt(5), 0.0F);
}

TEST_F(CanvasPaint, AThingInFrontTakesThePixelsFromWhicheverPerson) {
    PaintLeftOf(m_canvas, 6.0F, Role::Person);
    m_canvas.BeginPerson();
    PaintLeftOf(m_canvas, 4.0F, Role::Person);
    PaintLeftOf(m_canvas, 2.5F, Role::Thing);

    EXPECT_FLOAT_EQ(LatestAt(1), 0.0F);
    EXPECT_NEAR(LatestAt(2), 0.5F, 1e-5F);
    EXPECT_FLOAT_EQ(LatestAt(3), 1.0F);
}

TEST_F(CanvasPaint, ASurfaceLeavesTheTruthAlone) {
    PaintLeftOf(m_canvas, 4.0F, Role::Person);
    PaintLeftOf(m_canvas, 8.0F, Role::Surface);

    EXPECT_FLOAT_EQ(CoverAt(3), 1.0F);
    EXPECT_FLOAT_EQ(CoverAt(5), 0.0F);
    EXPECT_FLOAT_EQ(RedAt(5), 1.0F);
}

TEST_F(CanvasPaint, PaintsNothingOutsideOfTheBoxOrOfThePicture) {
    m_canvas.Paint(
        Placing{{0.0F, 0.0F}, 1.0F, 1.0F, 0.0F}, Box{{-5.0F, -5.0F}, {1.0F, 5.0F}}, Role::Person, 1.0F, 0.0F,
        [](Point) {
            return Surface{-1.0F, 0.0F, 0.0F};
        },
        [](Point, const Surface&) { return kWhite; });

    EXPECT_FLOAT_EQ(CoverAt(3), 1.0F);
    EXPECT_FLOAT_EQ(CoverAt(4), 0.0F);
}

TEST_F(CanvasPaint, TurnsAPlacingClockwise) {
    const Placing turned = Placing{{1.0F, 0.5F}, 2.0F, 1.0F, 0.0F}.Within({0.0F, 0.0F}, 90.0F);

    const Point right = turned.ToPicture({0.1F, 0.0F});

    EXPECT_NEAR(right.x, 1.0F, 0.001F);
    EXPECT_NEAR(right.y, 0.7F, 0.001F);
}

TEST_F(CanvasPaint, AShadeDarkensTheMostInTheMiddle) {
    PaintLeftOf(m_canvas, 8.0F, Role::Person);
    m_canvas.PaintShade(Placing{{1.0F, 0.5F}, 1.0F, 1.0F, 0.0F}, Box{{-2.0F, -2.0F}, {2.0F, 2.0F}}, 0.5F, 1.0F,
                        [](Point p) { return Length(p) - 0.5F; });

    EXPECT_LT(RedAt(4), 0.8F);
    EXPECT_GT(RedAt(0), RedAt(4) + 0.1F);
    EXPECT_FLOAT_EQ(CoverAt(4), 1.0F);
}

}  // namespace
}  // namespace scenes
