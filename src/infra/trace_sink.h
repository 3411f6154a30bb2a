#pragma once

#include <cstdint>

namespace rvo_calyr {

// Receives every log line that passes the logger's level.
class IRvoCalyrTraceSink {
 public:
    // Takes one finished line.
    //   level  0 "ERROR", 1 "WARNING", 2 "INFO", 3 "DEBUG", 4 "DETAIL"
    //   text   terminated, without a line end, of any length; valid during the call only
    // The result is ignored. What is thrown passes through the logger to whoever logs.
    // Thread: any that logs, several at once. Lock: the logger's, shared; so the sink must not replace itself in here.
    virtual std::int32_t OnTrace(std::uint32_t level, const char* text) = 0;

    virtual ~IRvoCalyrTraceSink() = default;
};

}  // namespace rvo_calyr
