#pragma once

// This program as a child of its own tests: the role, followed by the path of a library in UTF-8. It loads the library,
// says on standard error what was thrown, and ends with 0 when it was loaded and 1 when not.
namespace roles {

inline constexpr char kLoadNarrow[] = "load-narrow:";
inline constexpr char kLoadWide[] = "load-wide:";

}  // namespace roles
