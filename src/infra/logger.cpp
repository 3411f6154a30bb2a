#include "infra/logger.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <shared_mutex>
#include <string>
#include <string_view>

namespace rvo_calyr {
namespace {

constexpr std::int32_t kOff = -1;
constexpr std::int32_t kDetailLevel = 4;
constexpr std::array<const char*, 5> kLevelNames = {"ERROR", "WARNING", "INFO", "DEBUG", "DETAIL"};

using LineBuffer = std::array<char, 1024>;

// The length of `format` without a conversion that its end cuts in two: what is left of one has no meaning.
std::size_t WholeConversions(std::string_view format) {
    constexpr std::string_view kBeforeTheLetter = "-+ #0123456789.*hljztLIw";
    std::size_t at = format.find('%');
    while (at != std::string_view::npos) {
        const std::size_t letterAt = format.find_first_not_of(kBeforeTheLetter, at + 1);
        if (letterAt == std::string_view::npos) return at;
        at = format.find('%', letterAt + 1);
    }
    return format.size();
}

}  // namespace

constinit Logger g_logger;

void Logger::Log(std::int32_t level, const char* text) {
    if (IsWanted(level)) {
        Write(level, text);
    }
}

void Logger::Print(std::int32_t level, const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    PrintArguments(level, format, arguments);
    va_end(arguments);
}

void Logger::Error(const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    PrintArguments(0, format, arguments);
    va_end(arguments);
}

void Logger::Warning(const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    PrintArguments(1, format, arguments);
    va_end(arguments);
}

void Logger::Info(const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    PrintArguments(2, format, arguments);
    va_end(arguments);
}

void Logger::Debug(const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    PrintArguments(3, format, arguments);
    va_end(arguments);
}

void Logger::Detail(const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    PrintArguments(4, format, arguments);
    va_end(arguments);
}

void Logger::SetLevel(std::int32_t level) {
    m_level = std::clamp(level, kOff, kDetailLevel);
}

std::int32_t Logger::GetLevel() const {
    return m_level;
}

void Logger::SetTraceSink(IRvoCalyrTraceSink* sink) {
    const std::unique_lock lock(m_lock);
    m_sink = sink;
}

IRvoCalyrTraceSink* Logger::GetTraceSink() const {
    return m_sink;
}

bool Logger::IsWanted(std::int32_t level) const {
    const std::int32_t threshold = m_level;
    return threshold >= 0 && level <= threshold;
}

void Logger::PrintArguments(std::int32_t level, const char* format, std::va_list arguments) {
    if (!IsWanted(level)) {
        return;
    }
    // IsWanted has kept out what lies above the threshold, so only the lower end is open.
    const std::int32_t legalLevel = std::max(level, kErrorLevel);

    LineBuffer fullFormat{};
    const int prefixChars = std::snprintf(fullFormat.data(), fullFormat.size(),
                                          "[rvo_calyr][%s]: ", kLevelNames[static_cast<std::size_t>(legalLevel)]);
    const auto used = static_cast<std::size_t>(std::max(prefixChars, 0));
    const std::size_t room = fullFormat.size() - 1 - used;
    const std::string_view whole(format);
    const std::size_t length = whole.size() <= room ? whole.size() : WholeConversions(whole.substr(0, room));
    std::memcpy(fullFormat.data() + used, format, length);

    LineBuffer line{};
    (void)std::vsnprintf(line.data(), line.size(), fullFormat.data(), arguments);  // longer lines are cut, by design
    Write(legalLevel, line.data());
}

void Logger::Write(std::int32_t level, const char* text) {
    const std::shared_lock lock(m_lock);  // by scope: a sink may throw
    if (IRvoCalyrTraceSink* const sink = m_sink) {
        (void)sink->OnTrace(static_cast<std::uint32_t>(level), text);
        return;
    }
    WriteToStream(level, text);
}

void Logger::WriteToStream(std::int32_t level, const char* text) {
    const auto stream = level == kErrorLevel ? platform::StandardStream::Error : platform::StandardStream::Output;
    platform::StandardStreams& streams = m_streams != nullptr ? *m_streams : platform::SystemStandardStreams();

    // Line and line feed go out as one text, or another thread's line could come between them. What the system itself
    // logs fits the array; only a longer line of somebody else's is put together on the heap.
    const std::size_t length = std::strlen(text);
    LineBuffer line;
    if (length < line.size()) {
        std::memcpy(line.data(), text, length);
        line[length] = '\n';
        streams.Write(stream, std::string_view(line.data(), length + 1));
    } else {
        streams.Write(stream, std::string(text, length) + '\n');
    }
}

}  // namespace rvo_calyr
