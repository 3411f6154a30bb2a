#pragma once

#include <filesystem>
#include <string>

#include "engine/loader_seams.h"

namespace hvq::util {

// Whether something stands at `path`, links followed. Whatever keeps from telling, a lack of memory included, is false.
// Narrow paths are read by the file system's code page. Thread: any.
bool FileExists(const std::string& path, const LoaderSeams& seams = {}) noexcept;
bool FileExists(const std::wstring& path, const LoaderSeams& seams = {}) noexcept;

// The same for callers that have to know when the system can't tell: throws std::filesystem::filesystem_error for the
// operation "exists" then, as std::filesystem::exists does. Thread: any.
bool PathExists(const std::filesystem::path& path, const LoaderSeams& seams = {});

}  // namespace hvq::util
