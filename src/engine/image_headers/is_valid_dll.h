#pragma once

#include <string>

#include "engine/loader_seams.h"

namespace hvq::util {

// Whether the file at `path` begins as a library does. A library for another machine is valid all the same: standard
// error warns, in two pieces and with no line end, so that the next output continues the line. A file that can't be
// opened gets a line on standard error; everything else that is no library is false without a word. Thread: any.
bool IsValidDll(const std::wstring& path, const LoaderSeams& seams = {});

}  // namespace hvq::util
