#pragma once

#include <string>

namespace platform::posix {

// Whether this is an ELF file that ends before the code and data that its headers speak of. The system's loader maps
// them unseen and touches them, so such a file would not be refused but end the process with SIGBUS. False for
// whatever that loader refuses by itself: what is no ELF file of this machine's width, or can't be read at all.
bool IsCutOff(const std::string& path);

}  // namespace platform::posix
