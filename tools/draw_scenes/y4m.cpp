#include "draw_scenes_tool/y4m.h"

namespace draw_scenes {
namespace {

struct Sum {
    int r = 0;
    int g = 0;
    int b = 0;
};

// The mean of the up to four pixels that share a colour.
Sum MeanAround(const scenes::Frame& frame, int left, int top) {
    Sum sum;
    int count = 0;
    for (int y = top; y < top + 2 && y < frame.height; ++y) {
        for (int x = left; x < left + 2 && x < frame.width; ++x, ++count) {
            const std::size_t at =
                (static_cast<std::size_t>(y) * static_cast<std::size_t>(frame.width) + static_cast<std::size_t>(x)) *
                3U;
            sum.r += frame.rgb[at];
            sum.g += frame.rgb[at + 1];
            sum.b += frame.rgb[at + 2];
        }
    }
    return {(sum.r + count / 2) / count, (sum.g + count / 2) / count, (sum.b + count / 2) / count};
}

// The usual whole numbers of 1/256; sums stay positive before the shift.
char Luma(int r, int g, int b) {
    return static_cast<char>((66 * r + 129 * g + 25 * b + 128 + (16 << 8)) >> 8);
}
char ColourBlue(Sum c) {
    return static_cast<char>((-38 * c.r - 74 * c.g + 112 * c.b + 128 + (128 << 8)) >> 8);
}
char ColourRed(Sum c) {
    return static_cast<char>((112 * c.r - 94 * c.g - 18 * c.b + 128 + (128 << 8)) >> 8);
}

}  // namespace

std::string Y4mHeader(PictureSize size, int framesPerSecond) {
    return "YUV4MPEG2 W" + std::to_string(size.width) + " H" + std::to_string(size.height) + " F" +
           std::to_string(framesPerSecond) + ":1 Ip A1:1 C420jpeg XCOLORRANGE=LIMITED\n";
}

void AppendY4mFrame(const scenes::Frame& frame, std::string& bytes) {
    bytes += "FRAME\n";
    for (std::size_t i = 0; i < frame.rgb.size(); i += 3) {
        bytes.push_back(Luma(frame.rgb[i], frame.rgb[i + 1], frame.rgb[i + 2]));
    }
    for (const auto colour : {ColourBlue, ColourRed}) {
        for (int y = 0; y < frame.height; y += 2) {
            for (int x = 0; x < frame.width; x += 2)
                bytes.push_back(colour(MeanAround(frame, x, y)));
        }
    }
}

}  // namespace draw_scenes
