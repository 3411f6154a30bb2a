#pragma once

#include <string>

namespace platform {

// Everything behind the program's name on this process's command line, as the one who started it gave it: nothing is
// split, unquoted or joined. On Windows that is the tail of the system's own command line, without the blanks in front
// of it and in bytes of the thread's code page; main's arguments are not looked at. On Linux it is the first argument,
// "" when there is none. Thread: any.
std::string CommandTail(int argumentCount, const char* const* arguments);

}  // namespace platform
