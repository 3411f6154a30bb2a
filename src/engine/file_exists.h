#pragma once

#include <string>

#include "engine/loader_seams.h"

namespace hvq::util {

// Whether something stands at `path`, links followed. Whatever keeps from telling, a lack of memory included, is false.
// Narrow paths are read by the file system's code page. Thread: any.
bool FileExists(const std::string& path, const LoaderSeams& seams = {}) noexcept;
bool FileExists(const std::wstring& path, const LoaderSeams& seams = {}) noexcept;

}  // namespace hvq::util
