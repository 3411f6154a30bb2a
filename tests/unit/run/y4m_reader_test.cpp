#include "velmo_media/y4m_reader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "velmo_media/media_error.h"
#include "velmo_media/y4m_header.h"
#include "y4m_bytes.h"

namespace run_tests {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;
using velmo_media::ColourModel;
using velmo_media::ColourRange;
using velmo_media::FrameRate;
using velmo_media::ParseY4mHeader;
using velmo_media::Picture;
using velmo_media::Size;
using velmo_media::VideoFormat;
using velmo_media::Y4mReader;

std::string WhyNot(const std::string& header) {
    try {
        (void)ParseY4mHeader(header);
    } catch (const velmo_media::MediaError& error) {
        return error.what();
    }
    return "it was read";
}

TEST(Y4mHeader, TellsSizeRateAndPixels) {
    const VideoFormat format = ParseY4mHeader("YUV4MPEG2 W640 H360 F30000:1001 Ip A4:3 C422 XYSCSS=422");
    EXPECT_EQ(format.size, (Size{640, 360}));
    EXPECT_EQ(format.rate, (FrameRate{30000, 1001}));
    EXPECT_EQ(format.aspect, (FrameRate{4, 3}));
    EXPECT_EQ(format.chroma, "422");
    EXPECT_EQ(format.pixels.model, ColourModel::Yuv);
    EXPECT_EQ(format.pixels.chromaShiftX, 1);
    EXPECT_EQ(format.pixels.chromaShiftY, 0);
    EXPECT_EQ(format.pixels.range, ColourRange::Limited);
}

TEST(Y4mHeader, TakesParametersInAnyOrderAndPassesOverThoseItDoesNotKnow) {
    const VideoFormat format = ParseY4mHeader("YUV4MPEG2 Cmono  H2 XFOO=1 Z9 W3");
    EXPECT_EQ(format.size, (Size{3, 2}));
    EXPECT_EQ(format.pixels.model, ColourModel::Grey);
}

TEST(Y4mHeader, WithoutPixelsAndRateIs420AtAnUnknownRate) {
    const VideoFormat format = ParseY4mHeader("YUV4MPEG2 W2 H2");
    EXPECT_EQ(format.pixels.chromaShiftX, 1);
    EXPECT_EQ(format.pixels.chromaShiftY, 1);
    EXPECT_EQ(format.chroma, "");
    EXPECT_EQ(format.rate, (FrameRate{0, 0}));
}

TEST(Y4mHeader, KnowsThatAnUnknownRateIsToldByZeros) {
    EXPECT_EQ(ParseY4mHeader("YUV4MPEG2 W2 H2 F0:0").rate, (FrameRate{0, 0}));
    EXPECT_EQ(ParseY4mHeader("YUV4MPEG2 W2 H2 F24000:1001").rate, (FrameRate{24000, 1001}));
}

TEST(Y4mHeader, TellsTheFullRange) {
    EXPECT_EQ(ParseY4mHeader("YUV4MPEG2 W2 H2 XCOLORRANGE=FULL").pixels.range, ColourRange::Full);
    EXPECT_EQ(ParseY4mHeader("YUV4MPEG2 W2 H2 XCOLORRANGE=LIMITED").pixels.range, ColourRange::Limited);
}

TEST(Y4mHeader, EveryKindOfChromaHasItsPlanes) {
    struct Kind {
        const char* name;
        Size chroma;  // of a picture of 5 x 3
    };
    for (const Kind& kind : {Kind{"420jpeg", {3, 2}}, Kind{"420mpeg2", {3, 2}}, Kind{"420paldv", {3, 2}},
                             Kind{"420", {3, 2}}, Kind{"422", {3, 3}}, Kind{"444", {5, 3}}, Kind{"411", {2, 3}}}) {
        SCOPED_TRACE(kind.name);
        const VideoFormat format = ParseY4mHeader(std::string("YUV4MPEG2 W5 H3 C") + kind.name);
        EXPECT_EQ(format.pixels.PlaneCount(), 3u);
        EXPECT_EQ(format.pixels.PlaneSize(0, format.size), (Size{5, 3}));
        EXPECT_EQ(format.pixels.PlaneSize(1, format.size), kind.chroma);
        EXPECT_EQ(format.pixels.PlaneSize(2, format.size), kind.chroma);
    }
    const VideoFormat grey = ParseY4mHeader("YUV4MPEG2 W5 H3 Cmono");
    EXPECT_EQ(grey.pixels.BytesOf(grey.size), 15u);
}

TEST(Y4mHeader, RefusesWhatCannotBeReadHereAndSaysWhy) {
    EXPECT_THAT(WhyNot("RIFF"), HasSubstr("no Y4M stream"));
    EXPECT_THAT(WhyNot("YUV4MPEG22 W2 H2"), HasSubstr("no Y4M stream"));
    EXPECT_THAT(WhyNot("YUV4MPEG2"), HasSubstr("no width"));
    EXPECT_THAT(WhyNot("YUV4MPEG2 W2"), HasSubstr("no height"));
    EXPECT_THAT(WhyNot("YUV4MPEG2 W0 H2"), HasSubstr("\"W0\""));
    EXPECT_THAT(WhyNot("YUV4MPEG2 W-2 H2"), HasSubstr("\"W-2\""));
    EXPECT_THAT(WhyNot("YUV4MPEG2 W2x H2"), HasSubstr("\"W2x\""));
    EXPECT_THAT(WhyNot("YUV4MPEG2 W2 H16385"), HasSubstr("\"H16385\""));
    EXPECT_THAT(WhyNot("YUV4MPEG2 W99999999999 H2"), HasSubstr("from 1 to 16384"));
    EXPECT_THAT(WhyNot("YUV4MPEG2 W16384 H16384"), HasSubstr("too many pixels"));
    EXPECT_THAT(WhyNot("YUV4MPEG2 W2 H2 F30"), HasSubstr("\"F30\""));
    EXPECT_THAT(WhyNot("YUV4MPEG2 W2 H2 F30:x"), HasSubstr("no fraction"));
    EXPECT_THAT(WhyNot("YUV4MPEG2 W2 H2 It"), HasSubstr("interlaced"));
    EXPECT_THAT(WhyNot("YUV4MPEG2 W2 H2 Im"), HasSubstr("interlaced"));
    EXPECT_THAT(WhyNot("YUV4MPEG2 W2 H2 C420p10"), HasSubstr("\"C420p10\""));
    EXPECT_THAT(WhyNot("YUV4MPEG2 W2 H2 C444alpha"), HasSubstr("8 bits"));
    EXPECT_THAT(WhyNot("YUV4MPEG2 W2 H2 Ip"), "it was read");
    EXPECT_THAT(WhyNot("YUV4MPEG2 W2 H2 I?"), "it was read");
    EXPECT_THAT(WhyNot("YUV4MPEG2 W16384 H8192"), "it was read");
}

TEST(Y4mReader, GivesEachFrameAsItStands) {
    std::istringstream stream(Y4mStream("YUV4MPEG2 W3 H1 C420jpeg", 7, 2));
    Y4mReader reader(stream, "clip");
    Picture picture;

    ASSERT_TRUE(reader.Next(picture));
    EXPECT_THAT(picture.Plane(0), ElementsAre(0, 1, 2));
    EXPECT_THAT(picture.Plane(1), ElementsAre(3, 4));
    EXPECT_THAT(picture.Plane(2), ElementsAre(5, 6));
    ASSERT_TRUE(reader.Next(picture));
    EXPECT_THAT(picture.Plane(2), ElementsAre(6, 7));
    ASSERT_FALSE(reader.Next(picture));
}

TEST(Y4mReader, PassesOverTheParametersOfFrames) {
    const std::string header = "YUV4MPEG2 W1 H1 Cmono\n";
    EXPECT_EQ(ReadAll(header + "FRAME Ip\nxFRAME XANY=1 Z\ny"), "2 frames");
}

TEST(Y4mReader, TakesTheEndOfAFrameForTheProperEnd) {
    EXPECT_EQ(ReadAll(Y4mStream("YUV4MPEG2 W2 H2 C444", 12, 3)), "3 frames");
    EXPECT_EQ(ReadAll("YUV4MPEG2 W2 H2\n"), "0 frames");
}

TEST(Y4mReader, SaysWhereAFrameIsCutOff) {
    const std::string whole = Y4mStream("YUV4MPEG2 W2 H2 Cmono", 4, 2);
    EXPECT_EQ(ReadAll(whole.substr(0, whole.size() - 1)),
              "1 frames, then: clip: frame 1 at byte 38 is cut off: 3 of its 4 bytes are there");
    EXPECT_EQ(ReadAll(whole.substr(0, whole.size() - 4)),
              "1 frames, then: clip: frame 1 at byte 38 is cut off: 0 of its 4 bytes are there");
    EXPECT_EQ(ReadAll(whole.substr(0, whole.size() - 5)),
              "1 frames, then: clip: frame 1 at byte 32 is cut off in its header");
    EXPECT_EQ(ReadAll(whole.substr(0, whole.size() - 8)),
              "1 frames, then: clip: frame 1 at byte 32 is cut off in its header");
}

TEST(Y4mReader, SaysWhereAFrameHasNoHeader) {
    const std::string stream = Y4mStream("YUV4MPEG2 W2 H2 Cmono", 4, 1);
    EXPECT_EQ(ReadAll(stream + "garbage\nand more"),
              "1 frames, then: clip: frame 1 at byte 32 does not begin with \"FRAME\" but with \"garbage\"");
    EXPECT_EQ(ReadAll(stream + "FRAMES\nabcd"),
              "1 frames, then: clip: frame 1 at byte 32 does not begin with \"FRAME\" but with \"FRAMES\"");
    EXPECT_EQ(ReadAll(stream + "x\x01\xFFy"),
              "1 frames, then: clip: frame 1 at byte 32 does not begin with \"FRAME\" but with \"x..y\"");
}

TEST(Y4mReader, DoesNotReadOnAndOnInALineWithoutEnd) {
    EXPECT_THAT(ReadAll("YUV4MPEG2 W2 H2 Cmono\nFRAME " + std::string(1'000'000, 'x')),
                StartsWith("0 frames, then: clip: frame 0 at byte 22 does not begin with"));
    EXPECT_THAT(ReadAll("YUV4MPEG2 W2 H2 X" + std::string(1'000'000, 'x')), HasSubstr("its header has no end"));
}

TEST(Y4mReader, TellsAnEmptyStreamFromOneThatIsNoVideo) {
    EXPECT_EQ(ReadAll(""), "0 frames, then: clip: the stream is empty");
    EXPECT_THAT(ReadAll("\n"), HasSubstr("no Y4M stream"));
    EXPECT_THAT(ReadAll("YUV4MPEG2 W2 H2"), HasSubstr("its header has no end"));
    EXPECT_THAT(ReadAll(std::string(100, '\0')), HasSubstr("no Y4M stream"));
}

TEST(Y4mReader, ReckonsTheNumberOfFramesFromTheLength) {
    const std::string bytes = Y4mStream("YUV4MPEG2 W3 H3 C420jpeg", 17, 7);
    std::istringstream known(bytes);
    EXPECT_EQ(Y4mReader(known, "clip", bytes.size()).CountHint(), 7u);
    std::istringstream unknown(bytes);
    EXPECT_EQ(Y4mReader(unknown, "clip").CountHint(), std::nullopt);
}

}  // namespace
}  // namespace run_tests
