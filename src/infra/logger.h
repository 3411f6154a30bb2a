#pragma once

#include <atomic>
#include <cstdarg>
#include <cstdint>

#include "infra/trace_sink.h"
#include "platform/reader_writer_lock.h"
#include "platform/standard_streams.h"

namespace rvo_calyr {

// The levels that lines are written at.
inline constexpr std::int32_t kErrorLevel = 0;    // failures
inline constexpr std::int32_t kWarningLevel = 1;  // something works, but not as asked
inline constexpr std::int32_t kInfoLevel = 2;     // life cycle, configuration, durations

// Hands log lines at or below a level to the installed sink, and without one to the standard streams: level 0 to
// standard error, the others to standard output, each with a line feed.
// Levels: 0 "ERROR", 1 "WARNING", 2 "INFO", 3 "DEBUG", 4 "DETAIL".
// Thread: any. Lines of several threads go out at the same time; their order is the sink's affair.
class Logger {
 public:
    // Logs up to level 2 into `streams`; null means the system's, looked up at each line, so that a logger with static
    // storage stands before any code runs.
    constexpr explicit Logger(platform::StandardStreams* streams = nullptr) noexcept : m_streams(streams) {}
    Logger(const Logger&) = delete;
    Logger& operator=(const Logger&) = delete;
    virtual ~Logger() = default;

    // Writes a finished line as it stands, of any length; `text` is terminated and not null. The sink's exceptions pass
    // through. Lock: the logger's own is held, shared, while the sink or the stream is at work.
    void Log(std::int32_t level, const char* text);

    // Formats a line of at most 1023 chars, "[rvo_calyr][<level's name>]: " in front, by the rules of printf, and
    // writes it; longer ones are cut. `level` is 0 to 4; one below that counts as 0.
    void Print(std::int32_t level, const char* format, ...);

    // Print at level 0, 1, 2, 3, 4.
    void Error(const char* format, ...);
    void Warning(const char* format, ...);
    void Info(const char* format, ...);
    void Debug(const char* format, ...);
    void Detail(const char* format, ...);

    // The highest level that is logged, clamped to -1 (nothing at all) to 4.
    void SetLevel(std::int32_t level);
    std::int32_t GetLevel() const;

    // Replaces the sink, which is borrowed; null removes it. When this returns, no thread is inside the old sink and
    // none will enter it. Never call it from within a sink: it would wait for itself.
    void SetTraceSink(IRvoCalyrTraceSink* sink);
    IRvoCalyrTraceSink* GetTraceSink() const;

 private:
    bool IsWanted(std::int32_t level) const;
    void PrintArguments(std::int32_t level, const char* format, std::va_list arguments);
    void Write(std::int32_t level, const char* text);
    void WriteToStream(std::int32_t level, const char* text);

    std::atomic<std::int32_t> m_level{2};
    std::atomic<IRvoCalyrTraceSink*> m_sink{nullptr};  // written under m_lock exclusive, used under m_lock shared
    platform::ReaderWriterLock m_lock;
    platform::StandardStreams* m_streams;
};

// The process's logger. It stands before any other object is built.
extern constinit Logger g_logger;

}  // namespace rvo_calyr
