#pragma once

#include <string_view>

namespace platform {

enum class StandardStream { Output, Error };

// The process's standard streams. Failures to write are ignored. Thread: any; one text is written in one piece.
class StandardStreams {
 public:
    virtual ~StandardStreams() = default;

    // Writes `text` as it stands, with no line end added, and flushes.
    virtual void Write(StandardStream stream, std::string_view text) = 0;
};

// The operating system's own.
StandardStreams& SystemStandardStreams();

}  // namespace platform
