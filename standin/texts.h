#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

// Text in and out of the plain interface. Thread: any.
namespace standin {

// A path as UTF-8, for texts that people read.
std::string Utf8(const std::filesystem::path& path);

// A wide text as UTF-8. A half of a pair that stands alone, and what is no character, becomes U+FFFD.
std::string Utf8FromWide(std::wstring_view text);

// The file that a narrow text names: read as UTF-8 when it is that and there is such a file, else in the system's own
// way. The two differ on Windows only.
std::filesystem::path PathOf(std::string_view text);

// The file that a wide text names. Not the conversion of std::filesystem::path, which on Linux asks the locale and
// throws at what is not ASCII.
std::filesystem::path PathOfWide(std::wstring_view text);

// "1x4x144x256", or "no dimensions".
std::string DimsText(const std::vector<std::uint64_t>& dims);

}  // namespace standin
