#include "platform/standard_streams.h"

#include <cstdio>

namespace platform {
namespace {

class ProcessStreams final : public StandardStreams {
 public:
    void Write(StandardStream stream, std::string_view text) override {
        std::FILE* const file = stream == StandardStream::Error ? stderr : stdout;
        // One call writes the whole text under the stream's own lock. The process is often started with nothing behind
        // its streams, so a failure is nothing to speak of, and must not hold back the next text.
        (void)std::fwrite(text.data(), 1, text.size(), file);
        (void)std::fflush(file);
        std::clearerr(file);
    }
};

}  // namespace

StandardStreams& SystemStandardStreams() {
    static ProcessStreams& streams =
        *new ProcessStreams;  // never destroyed: destructors of globals may still come here
    return streams;
}

}  // namespace platform
