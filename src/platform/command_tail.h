#pragma once

#include <string>

namespace platform {

// Everything behind the program's name on this process's command line, as one text. On Windows that is the tail of the
// system's own command line as it stands, without the blanks in front of it and in bytes of the thread's code page;
// main's arguments are not looked at. On Linux a parent hands the tail over as one argument; somebody at a shell may
// not, so several are put together with a blank between, as Windows would have delivered them. Thread: any.
std::string CommandTail(int argumentCount, const char* const* arguments);

}  // namespace platform
