#pragma once

#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "platform/standard_streams.h"

namespace support {

// Keeps what is written to the standard streams. Thread: any.
class RecordingStreams final : public platform::StandardStreams {
 public:
    void Write(platform::StandardStream stream, std::string_view text) override {
        const std::lock_guard lock(m_mutex);
        (stream == platform::StandardStream::Output ? m_output : m_error).emplace_back(text);
    }

    // The texts written to a stream, one for each call, in order.
    std::vector<std::string> Texts(platform::StandardStream stream) const {
        const std::lock_guard lock(m_mutex);
        return stream == platform::StandardStream::Output ? m_output : m_error;
    }

    // All that was written to one of them.
    std::string Output() const { return Joined(platform::StandardStream::Output); }
    std::string Error() const { return Joined(platform::StandardStream::Error); }

 private:
    std::string Joined(platform::StandardStream stream) const {
        std::string all;
        for (const std::string& text : Texts(stream))
            all += text;
        return all;
    }

    mutable std::mutex m_mutex;
    std::vector<std::string> m_output;
    std::vector<std::string> m_error;
};

}  // namespace support
