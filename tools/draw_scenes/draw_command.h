#pragma once

#include <iosfwd>

#include "draw_scenes_tool/byte_sink.h"

namespace draw_scenes {

inline constexpr int kDrawingFailed = 1;  // nothing more was taken, or something was thrown
inline constexpr int kNoFile = 2;         // the file is there already, or can't be written

// Does what a command line asks for.
//   output  gets what goes to no file of its own
//   texts   help that was asked for
//   errors  one line for each failure
// Returns the exit code: 0, one of those above, or CLI11's for a command line that can't be taken. What is thrown on
// the way, std::bad_alloc and what the output throws included, becomes a line. Thread: one at a time.
int RunDrawScenes(int argc, const char* const* argv, ByteSink& output, std::ostream& texts, std::ostream& errors);

}  // namespace draw_scenes
