#pragma once

#include <mutex>
#include <string>
#include <string_view>

#include "platform/standard_streams.h"

namespace support {

// Keeps what is written to the standard streams. Thread: any.
class RecordingStreams : public platform::StandardStreams {
 public:
    void Write(platform::StandardStream stream, std::string_view text) override {
        const std::lock_guard lock(m_mutex);
        (stream == platform::StandardStream::Output ? m_output : m_error) += text;
    }

    std::string Output() const {
        const std::lock_guard lock(m_mutex);
        return m_output;
    }
    std::string Error() const {
        const std::lock_guard lock(m_mutex);
        return m_error;
    }

 private:
    mutable std::mutex m_mutex;
    std::string m_output;
    std::string m_error;
};

}  // namespace support
