#pragma once

#include <cstdint>
#include <string>

namespace velmo_parent {

// One line of the process's log. Thread: a plain value.
struct LogLine {
    std::uint32_t level = 0;      // 0 "ERROR", 1 "WARNING", 2 "INFO", 3 "DEBUG", 4 "DETAIL"
    std::uint32_t processId = 0;  // 0 in lines from before the process's main loop
    std::uint32_t threadId = 0;   // the thread that logged
    std::string text;             // without the "[pid:tid] " in front and without a line end
};

}  // namespace velmo_parent
