#pragma once

#include <string>

#include "engine/loader_seams.h"

namespace hvq::util {

// The architecture of the machine itself, not of an emulated process: one of the names in architecture_names.h.
// Thread: any.
std::string GetSystemArchitecture(const LoaderSeams& seams = {});

}  // namespace hvq::util
