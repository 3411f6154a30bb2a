#pragma once

#include <string>

#include "engine/loader_seams.h"

namespace hvq::util {

// The absolute form of `path`, which need not exist. "" on failure, after a line on standard error with the system's
// error number. Thread: any.
std::string GetAbsoluteFilePath(const std::string& path, const LoaderSeams& seams = {});
std::wstring GetAbsoluteFilePathW(const std::wstring& path, const LoaderSeams& seams = {});

}  // namespace hvq::util
