#include "velmo_media/png_codec.h"

#define STBI_ONLY_PNG
#define STBI_NO_STDIO
#define STBI_MAX_DIMENSIONS 16384
#define STBI_WRITE_NO_STDIO
#ifndef __clang_analyzer__  // which follows calls into the library, and is of another mind than its makers
#define STB_IMAGE_STATIC
#define STB_IMAGE_IMPLEMENTATION
#define STB_IMAGE_WRITE_STATIC
#define STB_IMAGE_WRITE_IMPLEMENTATION
#endif
#include <stb/stb_image.h>
#include <stb/stb_image_write.h>

#include <cstddef>
#include <limits>
#include <memory>

#include "velmo_media/media_error.h"

namespace velmo_media {
namespace {

static_assert(STBI_MAX_DIMENSIONS == kMostSide);

struct FreeImage {
    void operator()(stbi_uc* pixels) const { stbi_image_free(pixels); }
};

void Append(void* file, void* data, int size) {
    auto& bytes = *static_cast<std::vector<std::uint8_t>*>(file);
    const auto* const begin = static_cast<const std::uint8_t*>(data);
    bytes.insert(bytes.end(), begin, begin + size);
}

}  // namespace

void DecodePng(std::span<const std::uint8_t> file, Picture& picture) {
    constexpr int kChannels = 3;
    if (file.size() > static_cast<std::size_t>(std::numeric_limits<int>::max())) {
        throw MediaError("it is too large for a PNG file");
    }
    const auto bytes = static_cast<int>(file.size());
    int width = 0;
    int height = 0;
    int channels = 0;
    if (stbi_info_from_memory(file.data(), bytes, &width, &height, &channels) == 0) {
        throw MediaError(std::string("it is no PNG file that can be read (") + stbi_failure_reason() + ")");
    }
    const Size size{static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height)};
    if (size.Area() > kMostArea) throw MediaError("it has too many pixels");
    const std::unique_ptr<stbi_uc, FreeImage> pixels(
        stbi_load_from_memory(file.data(), bytes, &width, &height, &channels, kChannels));
    if (!pixels) throw MediaError(std::string("it is no PNG file that can be read (") + stbi_failure_reason() + ")");

    picture.Reset({ColourModel::Rgb, 0, 0, ColourRange::Full}, size);
    const auto red = picture.Plane(0);
    const auto green = picture.Plane(1);
    const auto blue = picture.Plane(2);
    const stbi_uc* pixel = pixels.get();
    for (std::size_t at = 0; at < red.size(); ++at, pixel += kChannels) {
        red[at] = pixel[0];
        green[at] = pixel[1];
        blue[at] = pixel[2];
    }
}

void PngEncoder::Encode(const Picture& picture, std::vector<std::uint8_t>& file) {
    const Size size = picture.Dimensions();
    const std::size_t channels = picture.Format().PlaneCount();
    std::span<const std::uint8_t> pixels = picture.Bytes();
    if (channels == 3) {
        m_pixels.resize(pixels.size());
        const auto red = picture.Plane(0);
        const auto green = picture.Plane(1);
        const auto blue = picture.Plane(2);
        std::uint8_t* pixel = m_pixels.data();
        for (std::size_t at = 0; at < red.size(); ++at, pixel += 3) {
            pixel[0] = red[at];
            pixel[1] = green[at];
            pixel[2] = blue[at];
        }
        pixels = m_pixels;
    }
    file.clear();
    const auto width = static_cast<int>(size.width);
    const auto done =
        stbi_write_png_to_func(Append, &file, width, static_cast<int>(size.height), static_cast<int>(channels),
                               pixels.data(), width * static_cast<int>(channels));
    if (done == 0) throw MediaError("it can't be made a PNG file");
}

void EncodePng(const Picture& picture, std::vector<std::uint8_t>& file) {
    PngEncoder().Encode(picture, file);
}

}  // namespace velmo_media
