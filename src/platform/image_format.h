#pragma once

namespace platform {

// How a file of code is laid out.
enum class ImageFormat { Pe, Elf };

// What this system's loader takes.
#ifdef _WIN32
inline constexpr ImageFormat kNativeImageFormat = ImageFormat::Pe;
#else
inline constexpr ImageFormat kNativeImageFormat = ImageFormat::Elf;
#endif

}  // namespace platform
