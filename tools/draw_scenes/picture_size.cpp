#include "draw_scenes_tool/picture_size.h"

#include <charconv>

namespace draw_scenes {
namespace {

constexpr int kLongestSide = 4096;

std::optional<int> ReadSide(std::string_view text) {
    int side = 0;
    const char* const end = text.data() + text.size();
    const std::from_chars_result result = std::from_chars(text.data(), end, side);
    if (result.ec != std::errc() || result.ptr != end || side < 1 || side > kLongestSide) return std::nullopt;
    return side;
}

}  // namespace

std::optional<PictureSize> ReadPictureSize(std::string_view text) {
    const std::size_t cross = text.find('x');
    if (cross == std::string_view::npos) return std::nullopt;
    const std::optional<int> width = ReadSide(text.substr(0, cross));
    const std::optional<int> height = ReadSide(text.substr(cross + 1));
    if (!width || !height) return std::nullopt;
    return PictureSize{*width, *height};
}

}  // namespace draw_scenes
