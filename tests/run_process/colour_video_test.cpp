// Whole runs of videos whose colours are stored at half the size: every plane of what is written.

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <ostream>
#include <string>
#include <vector>

#include "run_fixture.h"
#include "velmo_media/blend.h"
#include "velmo_media/colour.h"

namespace run_process_tests {
namespace {

using testing::HasSubstr;
using testing::SizeIs;

struct ClipKind {
    const char* pixels;  // of its header
    velmo_media::ColourRange range;
    std::uint32_t width;
    std::uint32_t height;
    std::array<std::uint8_t, 3> red;  // as such a video has it

    friend void PrintTo(const ClipKind& kind, std::ostream* out) {
        *out << kind.pixels << ", " << kind.width << " x " << kind.height;
    }
};

class RunInColour : public VideoRunTest, public testing::WithParamInterface<ClipKind> {
 protected:
    static constexpr std::uint32_t kSquare = 8;
    static constexpr std::uint8_t kU = 100;
    static constexpr std::uint8_t kV = 150;

    static std::uint32_t Width() { return GetParam().width; }
    static std::uint32_t Height() { return GetParam().height; }
    static std::uint32_t ColourWidth() { return (Width() + 1) / 2; }
    static std::uint32_t ColourHeight() { return (Height() + 1) / 2; }
    static std::size_t Area() { return std::size_t{Width()} * Height(); }
    static std::size_t ColourArea() { return std::size_t{ColourWidth()} * ColourHeight(); }

    static std::uint8_t Brightness(bool isBright) {
        if (GetParam().range == velmo_media::ColourRange::Full) return isBright ? 230 : 20;
        return isBright ? 210 : 30;
    }
    static bool IsBright(std::uint32_t x, std::uint32_t y) { return (x / kSquare + y / kSquare) % 2 == 0; }

    // A board of bright and dark squares in one colour, so that the mask has edges everywhere.
    static Grey Board() {
        Grey bytes;
        for (std::uint32_t y = 0; y < Height(); ++y) {
            for (std::uint32_t x = 0; x < Width(); ++x)
                bytes.push_back(Brightness(IsBright(x, y)));
        }
        bytes.insert(bytes.end(), ColourArea(), kU);
        bytes.insert(bytes.end(), ColourArea(), kV);
        return bytes;
    }

    // The test networks' rule for a first frame, in the middle of a square.
    static int MaskInside(bool isBright) {
        const velmo_media::ColourConverter converter(velmo_media::Matrix::Bt601, GetParam().range);
        const velmo_media::Rgb colour = converter.ToRgb(Brightness(isBright), kU, kV);
        return (colour.red + colour.green + colour.blue) / 4;
    }

    // The mean of the mask where the pixels lie that share this colour, rounded to the nearest.
    static std::uint8_t ColourMask(const Grey& mask, std::uint32_t column, std::uint32_t row) {
        const std::uint32_t right = std::min(2 * column + 2, Width());
        const std::uint32_t bottom = std::min(2 * row + 2, Height());
        std::uint32_t sum = 0;
        for (std::uint32_t y = 2 * row; y < bottom; ++y) {
            for (std::uint32_t x = 2 * column; x < right; ++x)
                sum += mask[std::size_t{y} * Width() + x];
        }
        const std::uint32_t count = std::max(1U, (right - 2 * column) * (bottom - 2 * row));
        return static_cast<std::uint8_t>((2 * sum + count) / (2 * count));
    }
};

TEST_P(RunInColour, PutsEveryPlaneBeforeItsBackgroundByTheMaskOfItsPixels) {
    const Grey board = Board();
    std::string clip = "YUV4MPEG2 W" + std::to_string(Width()) + " H" + std::to_string(Height()) + " F25:1 Ip A1:1 " +
                       GetParam().pixels + "\n";
    clip.append("FRAME\n").append(board.begin(), board.end());
    m_options.output = "-";
    m_options.masks = At("masks.y4m");
    m_options.background = "red";
    m_options.family = velmo_parent::ModelFamily::Inhouse;
    std::stringbuf input(clip);
    ASSERT_EQ(RunStream(input), 0) << m_talk.Text();

    EXPECT_THAT(m_written.str(), HasSubstr(GetParam().pixels));
    const auto masks = FramesAt("masks.y4m");
    const auto composites = FramesOf(m_written.str());
    ASSERT_THAT(masks, SizeIs(1));
    ASSERT_THAT(composites, SizeIs(1));
    const Grey& mask = masks[0];
    ASSERT_THAT(mask, SizeIs(Area()));
    ASSERT_THAT(composites[0], SizeIs(Area() + 2 * ColourArea()));

    for (std::uint32_t y = kSquare / 2; y < Height(); y += kSquare) {
        for (std::uint32_t x = kSquare / 2; x < Width(); x += kSquare)
            ASSERT_NEAR(mask[std::size_t{y} * Width() + x], MaskInside(IsBright(x, y)), 1) << x << ", " << y;
    }

    Grey brightness(Area());
    velmo_media::Blend({board.data(), Area()}, Grey(Area(), GetParam().red[0]), mask, brightness);
    EXPECT_TRUE(std::equal(brightness.begin(), brightness.end(), composites[0].begin()));

    Grey colourMask;
    for (std::uint32_t row = 0; row < ColourHeight(); ++row) {
        for (std::uint32_t column = 0; column < ColourWidth(); ++column)
            colourMask.push_back(ColourMask(mask, column, row));
    }
    for (const std::size_t plane : {std::size_t{1}, std::size_t{2}}) {
        Grey colours(ColourArea());
        velmo_media::Blend(Grey(ColourArea(), plane == 1 ? kU : kV), Grey(ColourArea(), GetParam().red[plane]),
                           colourMask, colours);
        const std::size_t begin = Area() + (plane - 1) * ColourArea();
        for (std::size_t at = 0; at < colours.size(); ++at) {
            ASSERT_NEAR(composites[0][begin + at], colours[at], 1)
                << "plane " << plane << ", column " << at % ColourWidth() << ", row " << at / ColourWidth();
        }
    }
}

constexpr std::array<std::uint8_t, 3> kLimitedRed = {81, 90, 240};
constexpr std::array<std::uint8_t, 3> kFullRed = {76, 85, 255};

INSTANTIATE_TEST_SUITE_P(
    Of420, RunInColour,
    testing::Values(
        ClipKind{"C420jpeg", velmo_media::ColourRange::Limited, kWidth, kHeight, kLimitedRed},
        ClipKind{"C420jpeg", velmo_media::ColourRange::Limited, kWidth - 1, kHeight - 1, kLimitedRed},
        ClipKind{"C420jpeg XCOLORRANGE=FULL", velmo_media::ColourRange::Full, kWidth, kHeight, kFullRed},
        ClipKind{"C420jpeg XCOLORRANGE=FULL", velmo_media::ColourRange::Full, kWidth - 1, kHeight, kFullRed},
        ClipKind{"C420 XCOLORRANGE=LIMITED", velmo_media::ColourRange::Limited, kWidth, kHeight, kLimitedRed},
        ClipKind{"C420 XCOLORRANGE=LIMITED", velmo_media::ColourRange::Limited, kWidth - 1, kHeight, kLimitedRed}));

}  // namespace
}  // namespace run_process_tests
