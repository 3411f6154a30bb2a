#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "velmo_media/picture.h"

// PNG files as bytes in memory. Thread: any. What the library behind it allocates for a picture is its own; beyond that
// memory is kept for the next picture of the same size.
namespace velmo_media {

// Makes `picture` Rgb; transparency is left out, 16 bits become 8. Throws MediaError with the reason, which names no
// file.
void DecodePng(std::span<const std::uint8_t> file, Picture& picture);

// For many pictures, one at a time.
class PngEncoder {
 public:
    // Replaces what `file` holds, and keeps its memory. The picture is Rgb or Grey, of the full range.
    // Throws MediaError, and std::bad_alloc.
    void Encode(const Picture& picture, std::vector<std::uint8_t>& file);

 private:
    std::vector<std::uint8_t> m_pixels;  // all of one pixel together
};

// One of them.
void EncodePng(const Picture& picture, std::vector<std::uint8_t>& file);

}  // namespace velmo_media
