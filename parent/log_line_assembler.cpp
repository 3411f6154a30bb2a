#include "velmo_parent/log_line_assembler.h"

#include <array>
#include <charconv>
#include <cstddef>
#include <cstring>
#include <string_view>
#include <utility>

#include "ipc/read_once.h"

namespace velmo_parent {
namespace {

constexpr std::uint32_t kMostBytes = 503;  // of a chunk's payload
constexpr std::size_t kLevelBytes = sizeof(std::uint32_t);
// A line that never ends would fill this process; the process's own lines have 1024 chars at most, engine texts more.
constexpr std::size_t kLongestLine = std::size_t{1} << 20;

// Takes a decimal number and the char behind it off the front of `text`. False, with `text` in no useful state, when
// they aren't there.
bool TakeNumber(std::string_view& text, std::uint32_t& number, char behind) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    const auto digits = static_cast<std::size_t>(end - text.data());
    if (error != std::errc() || digits == text.size() || *end != behind) return false;
    text.remove_prefix(digits + 1);
    return true;
}

// Moves "[pid:tid] " from the front of the line's text to its ids.
void SplitPrefix(LogLine& line) {
    std::string_view rest = line.text;
    std::uint32_t processId = 0;
    std::uint32_t threadId = 0;
    if (!rest.starts_with('[')) return;
    rest.remove_prefix(1);
    if (!TakeNumber(rest, processId, ':') || !TakeNumber(rest, threadId, ']') || !rest.starts_with(' ')) return;
    rest.remove_prefix(1);
    line.processId = processId;
    line.threadId = threadId;
    line.text.erase(0, line.text.size() - rest.size());
}

}  // namespace

bool LogLineAssembler::Take(const calyr_ipc::IpcLogChunk& chunk) {
    m_damage.clear();
    const std::uint8_t flags = ipc::ReadOnce(chunk.flags);
    const std::uint32_t length = ipc::ReadOnce(chunk.length);
    const bool first = (flags & calyr_ipc::kFirstChunk) != 0;
    const bool last = (flags & calyr_ipc::kLastChunk) != 0;
    if ((flags & ~(calyr_ipc::kFirstChunk | calyr_ipc::kLastChunk)) != 0) {
        return Refuse("a log chunk with flags " + std::to_string(flags));
    }
    if (length > kMostBytes) return Refuse("a log chunk of " + std::to_string(length) + " bytes");
    if (first && length < kLevelBytes) {
        return Refuse("a first log chunk of " + std::to_string(length) + " bytes, too few for the level");
    }
    if (!first && !m_insideLine) return Refuse("a log chunk that goes on with a line that has not begun");
    if (first && m_insideLine) (void)Refuse("a log line whose end never came");

    std::array<char, kMostBytes> bytes;
    std::memcpy(bytes.data(), chunk.payload, length);
    std::string_view text(bytes.data(), length);
    if (first) {
        m_line = LogLine{};
        std::memcpy(&m_line.level, bytes.data(), kLevelBytes);
        text.remove_prefix(kLevelBytes);
        m_insideLine = true;
    }
    if (m_line.text.size() + text.size() > kLongestLine) return Refuse("a log line that does not end");
    m_line.text += text;
    if (!last) return false;
    m_insideLine = false;
    SplitPrefix(m_line);
    return true;
}

bool LogLineAssembler::Refuse(std::string damage) {
    m_insideLine = false;
    m_damage = std::move(damage);
    return false;
}

}  // namespace velmo_parent
