#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <numeric>
#include <vector>

#include "velmo_media/blend.h"
#include "velmo_media/colour.h"
#include "velmo_media/compositor.h"
#include "velmo_media/picture_conversion.h"
#include "velmo_media/plane_blur.h"

namespace run_tests {
namespace {

using testing::Each;
using testing::ElementsAre;
using velmo_media::Blend;
using velmo_media::BlurredBackground;
using velmo_media::ColourConverter;
using velmo_media::ColourModel;
using velmo_media::ColourRange;
using velmo_media::Compositor;
using velmo_media::Matrix;
using velmo_media::ParseColour;
using velmo_media::Picture;
using velmo_media::PixelFormat;
using velmo_media::PlaneBlur;
using velmo_media::Rgb;
using velmo_media::Size;
using Bytes = std::vector<std::uint8_t>;

constexpr PixelFormat kRgb{ColourModel::Rgb, 0, 0, ColourRange::Full};
constexpr PixelFormat k420{ColourModel::Yuv, 1, 1, ColourRange::Limited};

Picture Filled(const PixelFormat& format, Size size, Bytes values) {
    Picture picture(format, size);
    for (std::size_t plane = 0; plane < format.PlaneCount(); ++plane)
        std::ranges::fill(picture.Plane(plane), values[plane]);
    return picture;
}

TEST(Blend, IsTheWeightedMeanRoundedToTheNearestForAllBytes) {
    Bytes masks(256);
    std::iota(masks.begin(), masks.end(), std::uint8_t{0});
    for (int front = 0; front < 256; front += 5) {
        for (int back = 0; back < 256; back += 3) {
            Bytes out(masks.size());
            Blend(Bytes(masks.size(), static_cast<std::uint8_t>(front)),
                  Bytes(masks.size(), static_cast<std::uint8_t>(back)), masks, out);
            for (int mask = 0; mask < 256; ++mask) {
                const int rounded = (2 * (front * mask + back * (255 - mask)) + 255) / 510;
                if (out[static_cast<std::size_t>(mask)] != rounded) {
                    ADD_FAILURE() << front << " over " << back << " by " << mask;
                }
            }
        }
    }
}

TEST(Colour, IsReadByNameAndByDigits) {
    EXPECT_EQ(ParseColour("#0A10ff"), (Rgb{10, 16, 255}));
    EXPECT_EQ(ParseColour("000000"), (Rgb{0, 0, 0}));
    EXPECT_EQ(ParseColour("white"), (Rgb{255, 255, 255}));
    for (const char* text : {"", "#", "#12345", "#1234567", "#12345g", "whitish", "-12345", "0x1234"})
        EXPECT_EQ(ParseColour(text), std::nullopt) << text;
}

TEST(Colour, HasTheValuesOfTelevision) {
    const ColourConverter small(Matrix::Bt601, ColourRange::Limited);
    EXPECT_THAT(small.ToYuv({0, 0, 0}), ElementsAre(16, 128, 128));
    EXPECT_THAT(small.ToYuv({255, 255, 255}), ElementsAre(235, 128, 128));
    EXPECT_THAT(small.ToYuv({255, 0, 0}), ElementsAre(81, 90, 240));
    EXPECT_THAT(small.ToYuv({0, 0, 255}), ElementsAre(41, 240, 110));
    const ColourConverter large(Matrix::Bt709, ColourRange::Limited);
    EXPECT_THAT(large.ToYuv({255, 0, 0}), ElementsAre(63, 102, 240));
    const ColourConverter full(Matrix::Bt601, ColourRange::Full);
    EXPECT_THAT(full.ToYuv({255, 255, 255}), ElementsAre(255, 128, 128));
    EXPECT_EQ(velmo_media::MatrixFor({1279, 719}), Matrix::Bt601);
    EXPECT_EQ(velmo_media::MatrixFor({1280, 719}), Matrix::Bt709);
    EXPECT_EQ(velmo_media::MatrixFor({480, 720}), Matrix::Bt709);
}

TEST(Colour, ComesBackFromAVideoAsItWas) {
    for (const Matrix matrix : {Matrix::Bt601, Matrix::Bt709}) {
        for (const ColourRange range : {ColourRange::Limited, ColourRange::Full}) {
            const ColourConverter converter(matrix, range);
            for (int value = 0; value < 4096; ++value) {
                const Rgb colour{static_cast<std::uint8_t>((value & 15) * 17),
                                 static_cast<std::uint8_t>((value >> 4 & 15) * 17),
                                 static_cast<std::uint8_t>((value >> 8) * 17)};
                const auto yuv = converter.ToYuv(colour);
                const Rgb back = converter.ToRgb(yuv[0], yuv[1], yuv[2]);
                // Each step of a video is more than one of a screen.
                ASSERT_NEAR(back.red, colour.red, 3);
                ASSERT_NEAR(back.green, colour.green, 3);
                ASSERT_NEAR(back.blue, colour.blue, 3);
            }
        }
    }
}

TEST(Compositor, ShowsTheFrameWhereTheMaskIsFullAndTheColourWhereItIsEmpty) {
    constexpr Size kSize{4, 2};
    const Picture frame = Filled(k420, kSize, {100, 60, 200});
    Compositor compositor(Rgb{255, 0, 0}, k420, kSize);
    const Bytes mask = {255, 255, 0, 0, 255, 255, 0, 0};
    Picture out;
    compositor.Composite(frame, mask, out);
    EXPECT_THAT(out.Plane(0), ElementsAre(100, 100, 81, 81, 100, 100, 81, 81));
    EXPECT_THAT(out.Plane(1), ElementsAre(60, 90));
    EXPECT_THAT(out.Plane(2), ElementsAre(200, 240));
}

TEST(Compositor, MixesColoursByTheMaskOfTheirPixels) {
    const Picture frame = Filled(k420, {2, 2}, {100, 60, 200});
    Compositor compositor(Rgb{255, 0, 0}, k420, {2, 2});
    const Bytes mask = {255, 255, 0, 0};
    Picture out;
    compositor.Composite(frame, mask, out);
    EXPECT_THAT(out.Plane(0), ElementsAre(100, 100, 81, 81));
    EXPECT_THAT(out.Plane(1), ElementsAre(75));  // half of each
    EXPECT_THAT(out.Plane(2), ElementsAre(220));
}

TEST(Compositor, MixesTheLastColourOfAnOddWidthByItsOneColumn) {
    constexpr Size kSize{5, 1};
    const Picture frame = Filled(k420, kSize, {100, 60, 200});
    Picture out;
    Compositor(Rgb{255, 0, 0}, k420, kSize).Composite(frame, Bytes{0, 0, 255, 255, 0}, out);
    EXPECT_THAT(out.Plane(1), ElementsAre(90, 60, 90));
    EXPECT_THAT(out.Plane(2), ElementsAre(240, 200, 240));
}

TEST(Compositor, TakesOddSizesAndEveryKindOfPixel) {
    for (const PixelFormat& format : {kRgb, k420, PixelFormat{ColourModel::Yuv, 1, 0, ColourRange::Limited},
                                      PixelFormat{ColourModel::Yuv, 2, 0, ColourRange::Limited},
                                      PixelFormat{ColourModel::Yuv, 0, 0, ColourRange::Full},
                                      PixelFormat{ColourModel::Grey, 0, 0, ColourRange::Limited}}) {
        const Picture frame = Filled(format, {5, 3}, {10, 20, 30});
        Picture out;
        Compositor(Rgb{1, 2, 3}, format, {5, 3}).Composite(frame, Bytes(15, 255), out);
        EXPECT_TRUE(std::ranges::equal(out.Bytes(), frame.Bytes()));
        Compositor(BlurredBackground{}, format, {5, 3}).Composite(frame, Bytes(15, 0), out);
        EXPECT_TRUE(std::ranges::equal(out.Bytes(), frame.Bytes())) << "one colour stays so when it is blurred";
    }
}

TEST(Compositor, CutsAPictureThatFillsTheFrame) {
    // Three columns, of which a frame of one by one takes the middle one.
    Picture columns(kRgb, {3, 1});
    for (std::size_t plane = 0; plane < 3; ++plane) {
        columns.Plane(plane)[0] = 10;
        columns.Plane(plane)[1] = 20;
        columns.Plane(plane)[2] = 30;
    }
    Picture out;
    Compositor(columns, kRgb, {1, 1}).Composite(Filled(kRgb, {1, 1}, {0, 0, 0}), Bytes(1, 0), out);
    EXPECT_THAT(out.Bytes(), Each(20));
}

TEST(PlaneBlur, SpreadsAPointOverASquareTwice) {
    Bytes source(7 * 7, 0);
    source[3 * 7 + 3] = 243;
    Bytes target(7 * 7);
    PlaneBlur({7, 7}, {1, 1}).Blur(source, target);
    EXPECT_EQ(target[3 * 7 + 3], 27);  // 3 / 9 of 3 / 9
    EXPECT_EQ(target[3 * 7 + 5], 9);
    EXPECT_EQ(target[1 * 7 + 1], 3);
    EXPECT_EQ(target[3 * 7 + 6], 0);
}

TEST(PlaneBlur, ReachesAsFarAsItIsToldForEachAxis) {
    Bytes source(9 * 9, 0);
    source[4 * 9 + 4] = 225;
    Bytes target(9 * 9);
    PlaneBlur({9, 9}, {2, 0}).Blur(source, target);
    EXPECT_EQ(target[4 * 9 + 0], 9);
    EXPECT_EQ(target[3 * 9 + 4], 0);
    PlaneBlur({9, 9}, {0, 2}).Blur(source, target);
    EXPECT_EQ(target[0 * 9 + 4], 9);
    EXPECT_EQ(target[4 * 9 + 3], 0);
}

TEST(Background, IsBlurredAsFarInColoursAsInBrightnessWhateverTheirSize) {
    // A radius of two pixels, twice, reaches four pixels of the picture to each side.
    constexpr Size kSize{80, 80};
    for (const auto& [shiftX, shiftY] : {std::pair{0, 0}, {1, 1}, {1, 0}, {0, 1}}) {
        const PixelFormat format{ColourModel::Yuv, static_cast<std::uint8_t>(shiftX), static_cast<std::uint8_t>(shiftY),
                                 ColourRange::Limited};
        Picture frame = Filled(format, kSize, {0, 0, 0});
        const Size colours = frame.PlaneSize(1);
        const std::size_t x = colours.width / 2;
        const std::size_t y = colours.height / 2;
        frame.Plane(1)[y * colours.width + x] = 255;
        velmo_media::Background background(BlurredBackground{}, format, kSize);
        const Picture& blurred = background.For(frame);
        const auto at = [&](std::size_t column, std::size_t row) {
            return int{blurred.Plane(1)[row * colours.width + column]};
        };
        const std::size_t reachX = 4U >> shiftX;
        const std::size_t reachY = 4U >> shiftY;
        SCOPED_TRACE("colours of 1 / " + std::to_string(1 << shiftX) + " by 1 / " + std::to_string(1 << shiftY));
        EXPECT_GT(at(x - reachX, y), 0);
        EXPECT_GT(at(x + reachX, y), 0);
        EXPECT_EQ(at(x - reachX - 1, y), 0);
        EXPECT_EQ(at(x + reachX + 1, y), 0);
        EXPECT_GT(at(x, y - reachY), 0);
        EXPECT_GT(at(x, y + reachY), 0);
        EXPECT_EQ(at(x, y - reachY - 1), 0);
        EXPECT_EQ(at(x, y + reachY + 1), 0);
    }
}

TEST(PlaneBlur, RepeatsTheEdgeBeyondIt) {
    const Bytes source(5 * 2, 77);
    Bytes target(5 * 2);
    for (const std::uint32_t radius : {0U, 1U, 9U}) {
        PlaneBlur({5, 2}, {radius, radius}).Blur(source, target);
        EXPECT_THAT(target, Each(77));
    }
}

TEST(PictureConversion, MakesEveryKindOfPixelOfAPictureTimeAndAgain) {
    constexpr Size kSize{5, 3};
    const Rgb colours[] = {{255, 0, 0}, {0, 0, 255}};
    for (const PixelFormat& format : {kRgb, k420, PixelFormat{ColourModel::Yuv, 2, 0, ColourRange::Limited},
                                      PixelFormat{ColourModel::Yuv, 0, 0, ColourRange::Full},
                                      PixelFormat{ColourModel::Grey, 0, 0, ColourRange::Limited}}) {
        velmo_media::RgbConverter converter(format, kSize);
        const ColourConverter reference(Matrix::Bt601, format.range);
        for (const Rgb& colour : colours) {
            Picture out;
            converter.Convert(Filled(kRgb, kSize, {colour.red, colour.green, colour.blue}), out);
            ASSERT_EQ(out.Format(), format);
            ASSERT_EQ(out.Dimensions(), kSize);
            const auto yuv = reference.ToYuv(colour);
            const std::uint8_t rgb[] = {colour.red, colour.green, colour.blue};
            for (std::size_t plane = 0; plane < format.PlaneCount(); ++plane)
                EXPECT_THAT(out.Plane(plane), Each(format.model == ColourModel::Rgb ? rgb[plane] : yuv[plane]));
        }
    }
}

TEST(PictureConversion, GivesAnOddPicturesLastColumnAColourOfItsOwn) {
    Picture rgb = Filled(kRgb, {3, 1}, {255, 0, 0});
    rgb.Plane(0)[2] = 0;
    rgb.Plane(2)[2] = 255;
    const Picture video = velmo_media::ConvertTo(k420, rgb);
    EXPECT_THAT(video.Plane(0), ElementsAre(81, 81, 41));
    EXPECT_THAT(video.Plane(1), ElementsAre(90, 240));
    EXPECT_THAT(video.Plane(2), ElementsAre(240, 110));
}

TEST(PictureConversion, TakesSmallerColourPlanesAsTheyAre) {
    Picture video = Filled(k420, {3, 3}, {81, 90, 240});
    Picture rgb;
    velmo_media::ConvertToRgb(video, rgb);
    EXPECT_THAT(rgb.Plane(0), Each(testing::AllOf(testing::Ge(253), testing::Le(255))));
    EXPECT_THAT(rgb.Plane(1), Each(testing::Le(1)));
}

}  // namespace
}  // namespace run_tests
