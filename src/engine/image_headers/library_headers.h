#pragma once

#include <istream>

#include "platform/image_format.h"

namespace hvq::util {

// Whether `file` begins as a library does: an image of Windows with the mark of a library, whatever its machine, or,
// where `nativeImages` says so, a 64-bit little-endian ELF shared object, whatever its machine. Any failure to read is
// false. Throws nothing unless the stream was told to. Thread: any, the stream's.
bool HasLibraryHeaders(std::istream& file, platform::ImageFormat nativeImages);

}  // namespace hvq::util
