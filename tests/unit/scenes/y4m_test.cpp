#include "draw_scenes_tool/y4m.h"

#include <gtest/gtest.h>

#include <string>

#include "draw_scenes_tool/clip_stream.h"

namespace draw_scenes {
namespace {

scenes::Frame Plain(int width, int height, std::uint8_t r, std::uint8_t g, std::uint8_t b) {
    scenes::Frame frame;
    frame.width = width;
    frame.height = height;
    for (int i = 0; i < width * height; ++i)
        frame.rgb.insert(frame.rgb.end(), {r, g, b});
    return frame;
}

std::string FrameBytes(const scenes::Frame& frame) {
    std::string bytes;
    AppendY4mFrame(frame, bytes);
    return bytes;
}

TEST(Y4m, TheHeaderTellsSizeRateAndRange) {
    EXPECT_EQ(Y4mHeader({640, 360}, 30), "YUV4MPEG2 W640 H360 F30:1 Ip A1:1 C420jpeg XCOLORRANGE=LIMITED\n");
}

TEST(Y4m, BlackAndWhiteAreTheEndsOfTheLimitedRange) {
    EXPECT_EQ(FrameBytes(Plain(2, 2, 0, 0, 0)), "FRAME\n\x10\x10\x10\x10\x80\x80");
    EXPECT_EQ(FrameBytes(Plain(2, 2, 255, 255, 255)), "FRAME\n\xEB\xEB\xEB\xEB\x80\x80");
}

TEST(Y4m, PureColoursAreAtTheEndsOfTheirs) {
    EXPECT_EQ(FrameBytes(Plain(1, 1, 255, 0, 0)), "FRAME\n\x52\x5A\xF0");
    EXPECT_EQ(FrameBytes(Plain(1, 1, 0, 0, 255)), "FRAME\n\x29\xF0\x6E");
}

TEST(Y4m, AColourIsTheMeanOfFourPixelsAndOfFewerAtAnOddEdge) {
    scenes::Frame frame = Plain(3, 1, 0, 0, 0);
    frame.rgb[0] = 255;  // red beside black, then black alone

    EXPECT_EQ(FrameBytes(frame), "FRAME\n\x52\x10\x10\x6D\x80\xB8\x80");
}

class Counter final : public ByteSink {
 public:
    bool Take(const std::string& bytes) override {
        size += bytes.size();
        return ++pieces < limit;
    }
    std::size_t size = 0;
    int pieces = 0;
    int limit = 1000;
};

TEST(ClipStream, HasAsManyFramesAsTheTimeAsksFor) {
    Counter counter;
    ClipOptions options;
    options.size = {16, 10};
    options.seconds = 0.5;
    options.framesPerSecond = 10;

    EXPECT_TRUE(DrawClip(options, counter));

    EXPECT_EQ(counter.size, Y4mHeader(options.size, 10).size() + 5U * (6U + 240U));
}

TEST(ClipStream, EndsWhenNothingMoreIsTaken) {
    Counter counter;
    counter.limit = 2;
    ClipOptions options;
    options.size = {16, 10};

    EXPECT_FALSE(DrawClip(options, counter));

    EXPECT_EQ(counter.pieces, 2);
}

}  // namespace
}  // namespace draw_scenes
