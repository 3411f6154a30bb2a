#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <numeric>
#include <vector>

#include "velmo_media/model_fit.h"
#include "velmo_media/plane_scaler.h"

namespace run_tests {
namespace {

using testing::Each;
using testing::ElementsAre;
using velmo_media::ColourModel;
using velmo_media::ColourRange;
using velmo_media::FitArea;
using velmo_media::FitInto;
using velmo_media::ModelFit;
using velmo_media::Picture;
using velmo_media::PlaneScaler;
using velmo_media::Size;
using Bytes = std::vector<std::uint8_t>;

Bytes Scaled(const Bytes& source, Size from, Size to) {
    Bytes target(to.Area());
    PlaneScaler scaler(from, to);
    velmo_media::ScalePlane(scaler, source, from, target, to);
    return target;
}

TEST(PlaneScaler, LeavesPlanesOfTheSameSizeAsTheyAre) {
    Bytes source(7 * 5);
    std::iota(source.begin(), source.end(), std::uint8_t{200});
    EXPECT_EQ(Scaled(source, {7, 5}, {7, 5}), source);
}

TEST(PlaneScaler, TakesTheMeanOfWhatAPixelCoversWhenItShrinks) {
    EXPECT_THAT(Scaled({0, 10, 100, 200, 20, 30, 50, 251}, {4, 2}, {2, 1}), ElementsAre(15, 150));
    EXPECT_THAT(Scaled({0, 90, 255}, {3, 1}, {2, 1}), ElementsAre(30, 200));  // a third of the middle to each
}

TEST(PlaneScaler, DrawsStraightLinesWhenItGrows) {
    EXPECT_THAT(Scaled({0, 100}, {2, 1}, {4, 1}), ElementsAre(0, 25, 75, 100));
    EXPECT_THAT(Scaled({0, 100}, {1, 2}, {1, 4}), ElementsAre(0, 25, 75, 100));
    EXPECT_THAT(Scaled({40}, {1, 1}, {3, 2}), Each(40));
}

TEST(PlaneScaler, KeepsOneColourAtAnySize) {
    for (const Size to : {Size{1, 1}, Size{2, 3}, Size{13, 7}, Size{14, 6}, Size{29, 31}}) {
        SCOPED_TRACE(to.width);
        EXPECT_THAT(Scaled(Bytes(13 * 7, 255), {13, 7}, to), Each(255));
        EXPECT_THAT(Scaled(Bytes(13 * 7, 1), {13, 7}, to), Each(1));
    }
}

TEST(PlaneScaler, CanGrowOneSideAndShrinkTheOther) {
    EXPECT_THAT(Scaled({0, 20, 100, 40}, {2, 2}, {4, 1}), ElementsAre(50, 45, 35, 30));
}

// A plane of such a picture, as its planes of colour have it.
Bytes ToColours(const velmo_media::PixelFormat& format, Size size, const Bytes& source) {
    const Size colours = format.PlaneSize(1, size);
    Bytes target(colours.Area());
    PlaneScaler scaler = velmo_media::ScalerToColours(format, size);
    velmo_media::ScalePlane(scaler, source, size, target, colours);
    return target;
}

constexpr velmo_media::PixelFormat k420{ColourModel::Yuv, 1, 1, ColourRange::Limited};
constexpr velmo_media::PixelFormat k411{ColourModel::Yuv, 2, 0, ColourRange::Limited};
constexpr velmo_media::PixelFormat k444{ColourModel::Yuv, 0, 0, ColourRange::Limited};

TEST(ScalerToColours, TakesTheMeanOfTheVeryPixelsThatShareAColour) {
    EXPECT_THAT(ToColours(k420, {4, 2}, {0, 10, 20, 30, 20, 30, 40, 50}), ElementsAre(15, 35));
    // The last column and the last row have a colour of their own.
    EXPECT_THAT(ToColours(k420, {5, 1}, {0, 10, 100, 120, 250}), ElementsAre(5, 110, 250));
    EXPECT_THAT(ToColours(k420, {1, 5}, {0, 10, 100, 120, 250}), ElementsAre(5, 110, 250));
    EXPECT_THAT(ToColours(k420, {3, 3}, {0, 0, 9, 0, 0, 11, 40, 60, 200}), ElementsAre(0, 10, 50, 200));
    EXPECT_THAT(ToColours(k420, {1, 1}, {7}), ElementsAre(7));
    EXPECT_THAT(ToColours(k411, {5, 1}, {0, 10, 20, 30, 250}), ElementsAre(15, 250));
    EXPECT_THAT(ToColours(k411, {7, 1}, {0, 10, 20, 30, 250, 250, 100}), ElementsAre(15, 200));
    EXPECT_THAT(ToColours(k411, {3, 1}, {0, 10, 20}), ElementsAre(10));
    EXPECT_THAT(ToColours(k444, {3, 1}, {1, 2, 3}), ElementsAre(1, 2, 3));
}

TEST(ScalerToColours, TakesEveryPixelOfEveryWidthOnce) {
    for (const velmo_media::PixelFormat& format : {k420, k411}) {
        const std::uint32_t group = 1U << format.chromaShiftX;
        for (std::uint32_t width = 1; width < 200; ++width) {
            Bytes source(width);
            for (std::uint32_t x = 0; x < width; ++x)
                source[x] = static_cast<std::uint8_t>(x / group % 2 == 0 ? 17 : 230);
            const Bytes colours = ToColours(format, {width, 1}, source);
            for (std::size_t at = 0; at < colours.size(); ++at)
                ASSERT_EQ(colours[at], at % 2 == 0 ? 17 : 230) << "group " << at << " of " << width << " pixels";
        }
    }
}

TEST(ScalerFromColours, LeavesOutWhatOfTheLastColourIsBeyondThePicture) {
    const auto scaled = [](Size size, const Bytes& colours, Size to) {
        Bytes target(to.Area());
        PlaneScaler scaler = velmo_media::ScalerFromColours(k420, size, to);
        velmo_media::ScalePlane(scaler, colours, k420.PlaneSize(1, size), target, to);
        return target;
    };
    // Of three colours the last is half as wide: a quarter of what the second of two pixels covers.
    EXPECT_THAT(scaled({5, 1}, {10, 20, 220}, {1, 1}), ElementsAre((2 * 10 + 2 * 20 + 220) / 5));
    EXPECT_THAT(scaled({4, 1}, {10, 20}, {1, 1}), ElementsAre(15));
    // Grown to the picture's own size, the middle of the last colour lies at the picture's edge.
    EXPECT_THAT(scaled({3, 1}, {0, 100}, {3, 1}), ElementsAre(0, 25, 75));
}

TEST(ModelFit, FillsTheModelWithAPictureOfItsShape) {
    EXPECT_EQ(FitInto({256, 144}, {1920, 1080}), (FitArea{0, 0, {256, 144}}));
    EXPECT_EQ(FitInto({256, 144}, {1366, 768}), (FitArea{0, 0, {256, 144}}));
    EXPECT_EQ(FitInto({640, 360}, {16, 9}), (FitArea{0, 0, {640, 360}}));
}

TEST(ModelFit, PutsOtherShapesIntoTheMiddle) {
    EXPECT_EQ(FitInto({256, 144}, {640, 480}), (FitArea{32, 0, {192, 144}}));
    EXPECT_EQ(FitInto({256, 144}, {1080, 1920}), (FitArea{87, 0, {81, 144}}));
    EXPECT_EQ(FitInto({256, 144}, {2560, 720}), (FitArea{0, 36, {256, 72}}));
    EXPECT_EQ(FitInto({256, 144}, {1, 16384}), (FitArea{127, 0, {1, 144}}));
    EXPECT_EQ(FitInto({256, 144}, {16384, 1}), (FitArea{0, 71, {256, 1}}));
}

// What ToModel writes over three planes that hold something else.
std::array<Bytes, 3> Planes(ModelFit& fit, const Picture& picture, Size model) {
    std::array<Bytes, 3> planes;
    std::array<std::span<std::uint8_t>, 3> spans;
    for (std::size_t plane = 0; plane < planes.size(); ++plane) {
        planes[plane].assign(model.Area(), 99);
        spans[plane] = planes[plane];
    }
    fit.ToModel(picture, spans);
    return planes;
}

TEST(ModelFit, LeavesBlackBarsBesideThePicture) {
    constexpr Size kModel{4, 2};
    Picture picture({ColourModel::Rgb, 0, 0, ColourRange::Full}, {2, 2});
    std::fill(picture.Bytes().begin(), picture.Bytes().end(), std::uint8_t{200});
    ModelFit fit(picture.Format(), {2, 2}, kModel);

    for (const Bytes& plane : Planes(fit, picture, kModel))
        EXPECT_THAT(plane, ElementsAre(0, 200, 200, 0, 0, 200, 200, 0));
}

TEST(ModelFit, MakesRedGreenAndBlueOfAVideo) {
    constexpr Size kModel{4, 2};
    Picture picture({ColourModel::Yuv, 1, 1, ColourRange::Limited}, {4, 2});
    std::fill(picture.Plane(0).begin(), picture.Plane(0).end(), std::uint8_t{82});
    std::fill(picture.Plane(1).begin(), picture.Plane(1).end(), std::uint8_t{90});
    std::fill(picture.Plane(2).begin(), picture.Plane(2).end(), std::uint8_t{240});
    ModelFit fit(picture.Format(), {4, 2}, kModel);

    const auto planes = Planes(fit, picture, kModel);

    EXPECT_THAT(planes[0], Each(255));  // red, as television has it
    EXPECT_THAT(planes[1], Each(1));
    EXPECT_THAT(planes[2], Each(0));
}

TEST(ModelFit, MakesThreeEqualPlanesOfGrey) {
    constexpr Size kModel{4, 2};
    Picture picture({ColourModel::Grey, 0, 0, ColourRange::Limited}, {4, 2});
    std::fill(picture.Bytes().begin(), picture.Bytes().end(), std::uint8_t{16 + 73});
    ModelFit fit(picture.Format(), {4, 2}, kModel);

    for (const Bytes& plane : Planes(fit, picture, kModel))
        EXPECT_THAT(plane, Each(85));  // a third of the way from black to white
}

TEST(ModelFit, BringsTheMaskBackWithoutTheBars) {
    ModelFit fit({ColourModel::Rgb, 0, 0, ColourRange::Full}, {2, 2}, {4, 2});
    const Bytes mask = {9, 1, 2, 9, 9, 3, 4, 9};
    Bytes target(4);
    fit.FromModel(mask, target);
    EXPECT_THAT(target, ElementsAre(1, 2, 3, 4));
}

}  // namespace
}  // namespace run_tests
