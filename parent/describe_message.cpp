#include "velmo_parent/describe_message.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "ipc/read_once.h"

namespace velmo_parent {
namespace {

constexpr std::size_t kLongestShownText = 160;  // bytes; enough for a path or the start of a log line

std::string Quoted(std::string_view text) {
    constexpr std::string_view kDigits = "0123456789abcdef";
    std::string quoted = "\"";
    for (const char shown : text.substr(0, kLongestShownText)) {
        const auto byte = static_cast<unsigned char>(shown);
        if (byte >= 0x20 && byte != 0x7F && byte < 0x80) {
            quoted += shown;
        } else {
            quoted += "\\x";
            quoted += kDigits[byte >> 4U];
            quoted += kDigits[byte & 0xFU];
        }
    }
    quoted += '"';
    if (text.size() > kLongestShownText) quoted += " and " + std::to_string(text.size() - kLongestShownText) + " more";
    return quoted;
}

// A text field, copied first: the other process may write it.
template <std::size_t Bytes>
std::string Field(const char* name, const char (&field)[Bytes]) {
    std::array<char, Bytes> copy;
    std::memcpy(copy.data(), field, Bytes);
    const auto end = std::find(copy.begin(), copy.end(), '\0');
    const auto length = static_cast<std::size_t>(end - copy.begin());
    return std::string(", ") + name + " " + Quoted({copy.data(), length}) + (length == Bytes ? " (no terminator)" : "");
}

template <class Number>
std::string Field(const char* name, const Number& shared) {
    return std::string(", ") + name + " " + std::to_string(ipc::ReadOnce(shared));
}

std::string HeaderFields(const calyr_ipc::IpcFrameHeader& header) {
    return ", " + std::to_string(ipc::ReadOnce(header.width)) + " x " + std::to_string(ipc::ReadOnce(header.height)) +
           Field("stampMs", header.stampMs);
}

// "", or why a length can't be.
std::string Above(std::uint32_t length, std::uint32_t capacity) {
    return length > capacity ? " (more than " + std::to_string(capacity) + ": damaged)" : "";
}

std::string NoSuchIndex(std::int32_t index) {
    if (index == calyr_ipc::kNoAlternative) return "no record (index -1)";
    return "index " + std::to_string(index) + ", which names no record";
}

template <class Record>
std::string ResultFields(const Record& record) {
    const std::uint32_t length = ipc::ReadOnce(record.maskLength);
    return Field("status", record.status) + HeaderFields(record.header) + ", maskLength " + std::to_string(length) +
           Above(length, calyr_ipc::kMaskCapacity);
}

}  // namespace

std::string Describe(const calyr_ipc::CommandSlot& slot) {
    const std::int8_t index = ipc::ReadOnce(slot.index);
    switch (index) {
        case 0: {
            const auto& record = slot.As<calyr_ipc::IpcCommandInit>();
            return "Init" + Field("deviceType", record.deviceType) + Field("modelQuality", record.modelQuality) +
                   Field("modelType", record.modelType) + Field("modelPath", record.modelPath) +
                   Field("enginePath", record.enginePath) + Field("gpuCachePath", record.gpuCachePath);
        }
        case 1:
            return "Fini";
        case 2:
            return "Terminate";
        case 3:
            return "AckHeartBeat";
        default:
            return NoSuchIndex(index);
    }
}

std::string Describe(const calyr_ipc::InputSlot& slot) {
    const std::int8_t index = ipc::ReadOnce(slot.index);
    if (index != 0) return NoSuchIndex(index);
    const auto& record = slot.As<calyr_ipc::RvoCalyrIpcInput>();
    const std::uint32_t size = ipc::ReadOnce(record.dataSize);
    return "frame" + HeaderFields(record.header) + ", dataSize " + std::to_string(size) +
           Above(size, calyr_ipc::kFrameCapacity) + Field("temporalEnabled", record.temporalEnabled);
}

std::string Describe(const calyr_ipc::EventSlot& slot) {
    const std::int8_t index = ipc::ReadOnce(slot.index);
    switch (index) {
        case 0: {
            const auto& record = slot.As<calyr_ipc::IpcEventOnInit>();
            return "OnInit" + Field("pid", record.pid) + Field("result", record.result);
        }
        case 1:
            return "OnHeartBeat";
        default:
            return NoSuchIndex(index);
    }
}

std::string Describe(const calyr_ipc::OutputSlot& slot) {
    const std::int8_t index = ipc::ReadOnce(slot.index);
    switch (index) {
        case 0:
            return "mask result" + ResultFields(slot.As<calyr_ipc::RvoInhouseIpcOutput>());
        case 1:
            return "full result" + ResultFields(slot.As<calyr_ipc::RvoCalyrIpcOutput>());
        default:
            return NoSuchIndex(index);
    }
}

std::string Describe(const calyr_ipc::IpcLogChunk& chunk) {
    constexpr std::uint32_t kMostBytes = sizeof chunk.payload - 1;
    const std::uint32_t flags = ipc::ReadOnce(chunk.flags);
    const std::uint32_t length = ipc::ReadOnce(chunk.length);
    std::string words;
    switch (flags) {
        case 0:
            words = "middle of a line";
            break;
        case 1:
            words = "start of a line";
            break;
        case 2:
            words = "end of a line";
            break;
        case 3:
            words = "whole line";
            break;
        default:
            words = "chunk with flags " + std::to_string(flags) + ": damaged";
            break;
    }
    words += ", length " + std::to_string(length) + Above(length, kMostBytes);

    std::array<char, kMostBytes> copy;
    std::memcpy(copy.data(), chunk.payload, kMostBytes);
    std::string_view text(copy.data(), std::min(length, kMostBytes));
    std::uint32_t level = 0;
    if ((flags & calyr_ipc::kFirstChunk) != 0 && text.size() >= sizeof level) {
        std::memcpy(&level, text.data(), sizeof level);
        text.remove_prefix(sizeof level);
        words += ", level " + std::to_string(level);
    }
    return words + ", " + Quoted(text);
}

}  // namespace velmo_parent
