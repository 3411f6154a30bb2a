#pragma once

#include <iosfwd>

#include "draw_scenes_tool/byte_sink.h"

namespace draw_scenes {

inline constexpr int kDrawingFailed = 1;  // nothing more was taken, or something was thrown
// Nothing was begun: the command line can't be right, or the file is there already or can't be written.
inline constexpr int kNotBegun = 2;

// Does what a command line asks for.
//   output  gets what goes to no file of its own
//   texts   help that was asked for
//   errors  one line for each failure
// Returns the exit code: 0 or one of those above. What is thrown on the way, std::bad_alloc and what the output throws
// included, becomes a line. Thread: one at a time.
int RunDrawScenes(int argc, const char* const* argv, ByteSink& output, std::ostream& texts, std::ostream& errors);

}  // namespace draw_scenes
