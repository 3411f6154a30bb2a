#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "velmo_media/picture.h"

// PNG files as bytes in memory. Thread: any.
namespace velmo_media {

// A picture of Rgb; transparency is left out, 16 bits become 8. Throws MediaError with the reason, which names no file.
Picture DecodePng(std::span<const std::uint8_t> file);

// Replaces what `file` holds, and keeps its memory for the next picture. The picture is Rgb or Grey.
// Throws MediaError, and std::bad_alloc.
void EncodePng(const Picture& picture, std::vector<std::uint8_t>& file);

}  // namespace velmo_media
