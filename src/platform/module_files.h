#pragma once

#include <optional>
#include <string>

namespace platform {

// Between two folders of a path.
#ifdef _WIN32
inline constexpr char kPathSeparator[] = "\\";
#else
inline constexpr char kPathSeparator[] = "/";
#endif

// Which file a piece of the running program came from. Thread: any.
class ModuleFiles {
 public:
    virtual ~ModuleFiles() = default;

    // The full path, in UTF-8, of the program or library that `address` lies in. Nothing when it lies in none, or when
    // the system does not tell. On Windows names are cut at 260 chars, which is not detected.
    virtual std::optional<std::string> FileOf(const void* address) = 0;
};

// The operating system's own.
ModuleFiles& SystemModuleFiles();

}  // namespace platform
