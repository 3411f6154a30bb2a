#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "platform/module_files.h"

namespace infra {

// Between two folders of a path: one char.
inline constexpr std::string_view g_pathSeparator = platform::kPathSeparator;

// Writes the directory of the program or library that `address` lies in, in UTF-8, terminated and without a separator
// at its end.
//   buffer  `size` chars; left as it is unless the result is 0
// Returns 0 when it is done, 1 when `address` is null or lies in no module or the system does not tell the module's
// file, 2 when directory and terminator don't fit. Throws std::bad_alloc. Thread: any.
std::int32_t GetModuleDirectory(const void* address, char* buffer, std::size_t size);
std::int32_t GetModuleDirectory(const void* address, char* buffer, std::size_t size, platform::ModuleFiles& files);

}  // namespace infra
