#pragma once

#include <string>

#include "velmo_parent/notices.h"

namespace velmo_run {

// What a notice says, in words for a person, on one line.
std::string TextOf(const velmo_parent::Notice& notice);

// "AUTO", "CPU", "GPU", "NPU"; "?" for what names none.
const char* DeviceName(int device);

}  // namespace velmo_run
