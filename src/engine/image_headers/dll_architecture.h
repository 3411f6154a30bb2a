#pragma once

#include <string>

#include "engine/loader_seams.h"

namespace hvq::util {

// The architecture that a library was built for: one of the names in architecture_names.h. Every failure is the unknown
// one, after a line on standard error. Thread: any.
std::string GetDllArchitecture(const std::wstring& path, const LoaderSeams& seams = {});

}  // namespace hvq::util
