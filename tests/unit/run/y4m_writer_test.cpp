#include "velmo_media/y4m_writer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

#include "full_disk.h"
#include "velmo_media/media_error.h"
#include "velmo_media/y4m_header.h"
#include "velmo_media/y4m_reader.h"
#include "y4m_bytes.h"

namespace run_tests {
namespace {

using testing::HasSubstr;
using velmo_media::ColourModel;
using velmo_media::ColourRange;
using velmo_media::MediaError;
using velmo_media::ParseY4mHeader;
using velmo_media::Picture;
using velmo_media::VideoFormat;
using velmo_media::Y4mHeader;
using velmo_media::Y4mWriter;

std::string Copied(const std::string& bytes) {
    std::istringstream in(bytes);
    std::ostringstream out;
    velmo_media::Y4mReader reader(in, "in");
    Y4mWriter writer(out, "out", reader.Format());
    Picture picture;
    while (reader.Next(picture))
        writer.Write(picture, "");
    writer.Finish();
    return out.str();
}

TEST(Y4mWriter, WritesWhatTheReaderReads) {
    for (const std::string chroma : {"420jpeg", "420mpeg2", "420paldv", "422", "444", "411", "mono"}) {
        SCOPED_TRACE(chroma);
        const std::string header = "YUV4MPEG2 W5 H3 F30000:1001 Ip A1:1 C" + chroma;
        const auto format = ParseY4mHeader(header);
        const std::string bytes = Y4mStream(header + " XCOLORRANGE=LIMITED", format.pixels.BytesOf(format.size), 3);
        EXPECT_EQ(Copied(bytes), bytes);
    }
}

TEST(Y4mWriter, KeepsOddRatesAndTheRange) {
    const std::string header = "YUV4MPEG2 W1 H1 F0:0 Ip A0:0 Cmono XCOLORRANGE=FULL";
    EXPECT_EQ(Copied(Y4mStream(header, 1, 1)), Y4mStream(header, 1, 1));
}

TEST(Y4mWriter, NamesPixelsThatHaveNoName) {
    VideoFormat format;
    format.size = {2, 2};
    format.pixels = {ColourModel::Yuv, 0, 0, ColourRange::Limited};
    EXPECT_EQ(Y4mHeader(format), "YUV4MPEG2 W2 H2 F0:0 Ip A0:0 C444 XCOLORRANGE=LIMITED\n");
    format.pixels = {ColourModel::Rgb, 0, 0, ColourRange::Full};
    EXPECT_THROW((void)Y4mHeader(format), MediaError);
}

TEST(Y4mWriter, WithoutAFrameLeavesAHeader) {
    std::ostringstream out;
    Y4mWriter writer(out, "out", ParseY4mHeader("YUV4MPEG2 W1 H1 Cmono"));
    writer.Finish();
    EXPECT_EQ(ReadAll(out.str()), "0 frames");
}

TEST(Y4mWriter, SaysWhenTheDiskIsFullAndHowMuchIsWhole) {
    FullDisk disk(100);
    std::ostream out(&disk);
    const VideoFormat format = ParseY4mHeader("YUV4MPEG2 W4 H4 Cmono");
    Y4mWriter writer(out, "masks.y4m", format);
    const Picture picture(format.pixels, format.size);
    writer.Write(picture, "");
    writer.Write(picture, "");
    try {
        writer.Write(picture, "");
        FAIL() << "the third frame has no room";
    } catch (const MediaError& error) {
        EXPECT_THAT(error.what(), HasSubstr("can't write masks.y4m: No space left on device"));
        EXPECT_THAT(error.what(), HasSubstr("2 frames were written whole"));
    }
    EXPECT_THAT(ReadAll(disk.Taken()), HasSubstr("2 frames, then:"));
}

}  // namespace
}  // namespace run_tests
