#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "ipc/records/log_records.h"

namespace rvo_calyr {

// One piece of a log line on its way into a slot. Texts are borrowed from the line.
struct LogChunk {
    std::uint8_t flags = 0;   // bit 0: first of its line, bit 1: last of its line
    std::uint32_t level = 0;  // travels in a first chunk only
    std::string_view prefix;  // "[process:thread] ", in a first chunk only
    std::string_view text;

    // Writes the chunk into a slot. What lies behind the chunk's length stays as it was.
    void WriteTo(calyr_ipc::IpcLogChunk& slot) const {
        const bool first = (flags & calyr_ipc::kFirstChunk) != 0;
        std::uint8_t* to = slot.payload;
        if (first) {
            std::memcpy(to, &level, sizeof(level));
            to += sizeof(level);
            std::memcpy(to, prefix.data(), prefix.size());
            to += prefix.size();
        }
        std::memcpy(to, text.data(), text.size());
        slot.flags = flags;
        slot.length = static_cast<std::uint32_t>((first ? sizeof(level) : 0) + prefix.size() + text.size());
    }
};

// Cuts a line into the chunks that the peer puts together again, and hands them to `send(const LogChunk&)` in order.
// A chunk counts at most 503 bytes, so the last byte of its 504 stays unused: 4 of the level and 499 of prefix and text
// in a first one, 503 of text in every other. A line of exactly 500 bytes therefore goes in two.
//   prefix  shorter than 499 bytes
template <class Send>
void ForEachLogChunk(std::uint32_t level, std::string_view prefix, std::string_view text, Send&& send) {
    constexpr std::size_t kFirstChunkBytes = 499;
    constexpr std::size_t kNextChunkBytes = 503;
    const bool whole = prefix.size() + text.size() <= kFirstChunkBytes;
    const std::size_t taken = whole ? text.size() : kFirstChunkBytes - prefix.size();
    const auto firstFlags = static_cast<std::uint8_t>(calyr_ipc::kFirstChunk | (whole ? calyr_ipc::kLastChunk : 0));
    send(LogChunk{firstFlags, level, prefix, text.substr(0, taken)});
    text.remove_prefix(taken);
    while (!text.empty()) {
        const std::size_t count = std::min(text.size(), kNextChunkBytes);
        const auto flags = static_cast<std::uint8_t>(count == text.size() ? calyr_ipc::kLastChunk : 0);
        send(LogChunk{flags, level, {}, text.substr(0, count)});
        text.remove_prefix(count);
    }
}

}  // namespace rvo_calyr
