#include "velmo_scenes/camera.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "velmo_scenes/compression.h"

namespace scenes {
namespace {

using testing::Each;
using testing::Not;

Canvas GreyCanvas(int width, int height, float grey) {
    Canvas canvas;
    canvas.Resize(width, height);
    for (Texel& texel : canvas.Texels())
        texel = {{grey, grey, grey}, 0.5F};
    return canvas;
}

TEST(CameraDevelop, APlainCameraKeepsColoursAndTheMask) {
    Canvas canvas = GreyCanvas(5, 3, 0.2F);
    Frame frame;

    Develop(canvas, Camera{}, 1, frame);

    EXPECT_EQ(frame.rgb.size(), 45U);
    EXPECT_THAT(frame.rgb, Each(51));
    EXPECT_EQ(frame.mask.size(), 15U);
    EXPECT_THAT(frame.mask, Each(128));
}

TEST(CameraDevelop, LightBeyondWhiteIsClipped) {
    Canvas canvas = GreyCanvas(4, 4, 2.5F);
    Frame frame;

    Develop(canvas, Camera{}, 1, frame);

    EXPECT_THAT(frame.rgb, Each(255));
}

TEST(CameraDevelop, NoiseFollowsFromItsSeedAndSparesTheMask) {
    Camera camera;
    camera.noise = 0.05F;
    Canvas canvas = GreyCanvas(16, 9, 0.5F);
    Frame first;
    Frame again;
    Frame other;

    Develop(canvas, camera, 1, first);
    Develop(canvas, camera, 1, again);
    Develop(canvas, camera, 2, other);

    EXPECT_EQ(first.rgb, again.rgb);
    EXPECT_NE(first.rgb, other.rgb);
    EXPECT_THAT(first.mask, Each(128));
}

TEST(CameraBlur, KeepsAnEvenPictureAndSpreadsASpot) {
    for (const float deviation : {0.05F, 0.3F}) {  // by three neighbours, and by boxes
        Canvas canvas = GreyCanvas(12, 10, 0.5F);
        canvas.Row(5)[6].colour.r = 5.0F;

        Blur(canvas, deviation, deviation);

        EXPECT_LT(canvas.Row(5)[6].colour.r, 4.9F);
        EXPECT_GT(canvas.Row(5)[7].colour.r, 0.501F);
        EXPECT_GT(canvas.Row(4)[6].colour.r, 0.501F);
        EXPECT_NEAR(canvas.Row(0)[0].colour.g, 0.5F, 1e-5F);
        EXPECT_NEAR(canvas.Row(9)[11].colour.g, 0.5F, 1e-5F);
        EXPECT_FLOAT_EQ(canvas.Row(5)[7].cover, 0.5F);
    }
}

TEST(CameraBlur, WithoutAnyItLeavesThePicture) {
    Canvas canvas = GreyCanvas(6, 6, 0.5F);
    canvas.Row(3)[3].colour.r = 1.0F;

    Blur(canvas, 0.0F, 0.0F);

    EXPECT_FLOAT_EQ(canvas.Row(3)[3].colour.r, 1.0F);
    EXPECT_FLOAT_EQ(canvas.Row(3)[4].colour.r, 0.5F);
}

Frame Ramp(int width, int height) {
    Frame frame;
    frame.width = width;
    frame.height = height;
    for (int i = 0; i < width * height * 3; ++i)
        frame.rgb.push_back(static_cast<std::uint8_t>(i * 37 % 251));
    return frame;
}

double Difference(const Frame& a, const Frame& b) {
    double sum = 0.0;
    for (std::size_t i = 0; i < a.rgb.size(); ++i)
        sum += a.rgb[i] > b.rgb[i] ? a.rgb[i] - b.rgb[i] : b.rgb[i] - a.rgb[i];
    return sum / static_cast<double>(a.rgb.size());
}

TEST(Compression, AnEvenPictureStaysEven) {
    Frame frame;
    frame.width = 16;
    frame.height = 16;
    frame.rgb.assign(16U * 16U * 3U, 100);

    Compress(frame, 1.0F);

    EXPECT_THAT(frame.rgb, Each(frame.rgb[0]));
    EXPECT_NEAR(frame.rgb[0], 100, 3);
}

TEST(Compression, MoreOfItLosesMore) {
    const Frame original = Ramp(32, 16);
    Frame light = original;
    Frame heavy = original;

    Compress(light, 0.05F);
    Compress(heavy, 1.0F);

    EXPECT_GT(Difference(original, light), 0.0);
    EXPECT_GT(Difference(original, heavy), Difference(original, light));
}

TEST(Compression, TakesSizesThatAreNoMultipleOfABlock) {
    for (const auto& [width, height] : {std::pair{1, 1}, std::pair{17, 3}, std::pair{15, 33}}) {
        Frame frame = Ramp(width, height);
        const Frame original = frame;

        Compress(frame, 0.5F);

        EXPECT_EQ(frame.rgb.size(), original.rgb.size());
        EXPECT_THAT(frame.rgb, Not(testing::IsEmpty()));
    }
}

}  // namespace
}  // namespace scenes
