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

// From now on the bytes of standard input and output are what they are (Windows would take line ends and the end mark
// for something else). Before the first of them.
void SetBinaryStandardStreams();

// Whether a person reads what goes to this stream.
bool IsTerminal(StandardStream stream);

}  // namespace platform
