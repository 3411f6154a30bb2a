#pragma once

#include <string>

namespace platform::posix {

// The absolute form of a path that need not exist: the current directory before it, repeated separators and dots
// folded. Links stay as they are, and so do two dots behind one, which lead to the parent of what it points at. A
// separator at the end stays. "" on failure, the reason then being in LastError.
std::string AbsolutePath(const std::string& path);

}  // namespace platform::posix
