#pragma once

#include <string>

namespace velmo_media {

// The text for a stream that has just failed: "can't write NAME", and the system's reason where it left one in errno,
// which was set to 0 before.
std::string WriteFailure(const std::string& name);

}  // namespace velmo_media
