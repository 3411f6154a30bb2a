#pragma once

#include <string>

namespace platform::posix {

// What keeps the library at this path from being loaded, as far as it shows before the system's loader is asked: the
// errno value of opening it, or ENOEXEC for an ELF file that ends before the code and data that its headers speak of.
// The loader maps those unseen and touches them, so it would not refuse such a file but die of SIGBUS. 0 leaves the
// file to the loader, as whatever that refuses by itself.
int ImageProblem(const std::string& path);

}  // namespace platform::posix
