#pragma once

#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "platform/standard_streams.h"

namespace support {

// Keeps what is written. Thread: any.
class RecordingStreams final : public platform::StandardStreams {
 public:
    // The texts written to a stream, one for each call, in order.
    std::vector<std::string> Texts(platform::StandardStream stream) const {
        const std::lock_guard lock(m_mutex);
        return stream == platform::StandardStream::Output ? m_output : m_error;
    }

    void Write(platform::StandardStream stream, std::string_view text) override {
        const std::lock_guard lock(m_mutex);
        (stream == platform::StandardStream::Output ? m_output : m_error).emplace_back(text);
    }

 private:
    mutable std::mutex m_mutex;
    std::vector<std::string> m_output;
    std::vector<std::string> m_error;
};

}  // namespace support
