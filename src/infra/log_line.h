#pragma once

#include <cstdint>

#include "infra/logger.h"
#include "infra/text_formator.h"

namespace rvo_calyr {

// One log line in the shape that all lines of the system have:
//   [RVO_CALYR]<message>, <key>=<value>, <key>=<value> [this=<address>]
// Built on the caller's stack without an allocation, cut silently at 1023 bytes. Belongs to one thread.
//   LogLine("RvoCalyrMlHost::Start(), success").Value("pid", m_pid).This(this).Log(kInfoLevel);
class LogLine {
 public:
    static constexpr std::uint32_t kBytes = 1024;

    // `message` names class and operation: "RvoHvqHelper::Init() fail, ...".
    explicit LogLine(const char* message) : m_text(m_buffer, kBytes) { m_text << "[RVO_CALYR]" << message; }
    LogLine(const LogLine&) = delete;
    LogLine& operator=(const LogLine&) = delete;

    // ", <key>=<value>", with what TextFormator takes as a value.
    template <class T>
    LogLine& Value(const char* key, const T& value) {
        m_text << ", " << key << "=" << value;
        return *this;
    }

    // `value` as it stands, for messages that go on behind a value.
    template <class T>
    LogLine& Text(const T& value) {
        m_text << value;
        return *this;
    }

    // " [this=<address>]", for code that runs in an object; comes last.
    LogLine& This(const void* object) {
        m_text << " [this=" << object << "]";
        return *this;
    }

    void Log(std::int32_t level) const { g_logger.Log(level, m_text.Text()); }

 private:
    char m_buffer[kBytes];
    infra::TextFormator m_text;
};

}  // namespace rvo_calyr
