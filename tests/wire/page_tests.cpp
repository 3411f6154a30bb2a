#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cctype>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "ipc/channels.h"
#include "support/fake_kernel_objects.h"
#include "support/recording_streams.h"
#include "wire_format_page.h"

// Holds docs/wire-format.md to the code. A record's table stands under a heading with its name, size and alignment.
using namespace calyr_ipc;

namespace {

struct Place {
    std::size_t offset;
    std::size_t size;
    friend bool operator==(const Place&, const Place&) = default;
    friend void PrintTo(const Place& place, std::ostream* out) { *out << place.offset << "+" << place.size; }
};

struct Record {
    std::size_t size = 0;
    std::size_t alignment = 0;
    std::map<std::string, Place> fields;  // those with a name
};

std::vector<std::string> Lines() {
    std::istringstream page(kWireFormatPage);
    std::vector<std::string> lines;
    for (std::string line; std::getline(page, line);) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        lines.push_back(line);
    }
    return lines;
}

std::string Trimmed(const std::string& text) {
    const auto begin = text.find_first_not_of(' ');
    return begin == std::string::npos ? "" : text.substr(begin, text.find_last_not_of(' ') - begin + 1);
}

// The cells of "| a | b |", empty for a line that is no row.
std::vector<std::string> Cells(const std::string& line) {
    std::vector<std::string> cells;
    if (line.empty() || line.front() != '|') return cells;
    std::istringstream rest(line.substr(1));
    for (std::string cell; std::getline(rest, cell, '|');)
        cells.push_back(Trimmed(cell));
    return cells;
}

bool IsNumber(const std::string& text) {
    return !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
}

std::string WithoutTicks(const std::string& text) {
    return text.size() > 2 && text.front() == '`' && text.back() == '`' ? text.substr(1, text.size() - 2) : "";
}

// All records of the page. Checks on the way that each table covers its record without a gap.
std::map<std::string, Record> RecordsOnPage() {
    std::map<std::string, Record> records;
    std::optional<std::string> name;
    std::size_t covered = 0;
    const auto finish = [&] {
        if (name) {
            EXPECT_EQ(covered, records[*name].size) << *name;
        }
        name.reset();
        covered = 0;
    };
    for (const std::string& line : Lines()) {
        if (line.starts_with("#")) {
            finish();
            if (!line.starts_with("### `")) continue;
            const auto end = line.find('`', 5);
            name = line.substr(5, end - 5);
            std::istringstream rest(line.substr(end + 2));
            std::string word;
            Record& record = records[*name];
            rest >> record.size >> word >> word >> word >> record.alignment;  // "24 bytes, aligned to 4"
            EXPECT_TRUE(rest) << line;
            continue;
        }
        const auto cells = Cells(line);
        if (!name || cells.size() < 5 || !IsNumber(cells[0])) continue;
        const Place place{std::stoul(cells[0]), std::stoul(cells[1])};
        EXPECT_EQ(place.offset, covered) << line;
        covered = place.offset + place.size;
        if (const std::string field = WithoutTicks(cells[3]); !field.empty()) records[*name].fields[field] = place;
    }
    finish();
    return records;
}

#define FIELD(T, field)                          \
    {                                            \
#field, Place {                          \
            offsetof(T, field), sizeof(T::field) \
        }                                        \
    }
#define RECORD(T, ...)               \
    {                                \
#T, Record {                 \
            sizeof(T), alignof(T), { \
                __VA_ARGS__          \
            }                        \
        }                            \
    }

std::map<std::string, Record> RecordsInCode() {
    using ipc::channel_header;
    using ipc::channel_node;
    return {
        RECORD(channel_header, FIELD(channel_header, free_head), FIELD(channel_header, free_tail),
               FIELD(channel_header, free_busy), FIELD(channel_header, used_head), FIELD(channel_header, used_tail),
               FIELD(channel_header, used_busy)),
        RECORD(channel_node, FIELD(channel_node, next), FIELD(channel_node, prev), FIELD(channel_node, slot)),
        RECORD(CommandSlot, FIELD(CommandSlot, storage), FIELD(CommandSlot, index)),
        RECORD(EventSlot, FIELD(EventSlot, storage), FIELD(EventSlot, index)),
        RECORD(InputSlot, FIELD(InputSlot, storage), FIELD(InputSlot, index)),
        RECORD(OutputSlot, FIELD(OutputSlot, storage), FIELD(OutputSlot, index)),
        RECORD(IpcCommandInit, FIELD(IpcCommandInit, deviceType), FIELD(IpcCommandInit, modelQuality),
               FIELD(IpcCommandInit, modelType), FIELD(IpcCommandInit, modelPath), FIELD(IpcCommandInit, enginePath),
               FIELD(IpcCommandInit, gpuCachePath)),
        RECORD(IpcEventOnInit, FIELD(IpcEventOnInit, one), FIELD(IpcEventOnInit, pid), FIELD(IpcEventOnInit, result)),
        RECORD(IpcEventOnHeartBeat, FIELD(IpcEventOnHeartBeat, meaningless)),
        RECORD(IpcFrameHeader, FIELD(IpcFrameHeader, width), FIELD(IpcFrameHeader, height),
               FIELD(IpcFrameHeader, stampMs)),
        RECORD(RvoCalyrIpcInput, FIELD(RvoCalyrIpcInput, temporalEnabled), FIELD(RvoCalyrIpcInput, dataSize),
               FIELD(RvoCalyrIpcInput, data), FIELD(RvoCalyrIpcInput, header)),
        RECORD(RvoInhouseIpcOutput, FIELD(RvoInhouseIpcOutput, status), FIELD(RvoInhouseIpcOutput, header),
               FIELD(RvoInhouseIpcOutput, mask), FIELD(RvoInhouseIpcOutput, maskLength)),
        RECORD(RvoCalyrIpcOutput, FIELD(RvoCalyrIpcOutput, status), FIELD(RvoCalyrIpcOutput, header),
               FIELD(RvoCalyrIpcOutput, mask), FIELD(RvoCalyrIpcOutput, gesture), FIELD(RvoCalyrIpcOutput, maskLength),
               FIELD(RvoCalyrIpcOutput, landmarks), FIELD(RvoCalyrIpcOutput, motion),
               FIELD(RvoCalyrIpcOutput, lutVertices), FIELD(RvoCalyrIpcOutput, lut)),
        RECORD(IpcLogChunk, FIELD(IpcLogChunk, flags), FIELD(IpcLogChunk, length), FIELD(IpcLogChunk, payload)),
    };
}

TEST(WireFormatPage, TellsEveryRecordAsTheCodeHasIt) {
    const auto page = RecordsOnPage();
    const auto code = RecordsInCode();

    ASSERT_EQ(page.size(), code.size());
    for (const auto& [name, record] : code) {
        ASSERT_TRUE(page.contains(name)) << name;
        EXPECT_EQ(page.at(name).size, record.size) << name;
        EXPECT_EQ(page.at(name).alignment, record.alignment) << name;
        EXPECT_EQ(page.at(name).fields, record.fields) << name;
    }
}

template <class Channel>
std::string Row(const char* name, const char* suffix, const char* direction, const char* slot) {
    const ipc::ChannelLayout& layout = Channel::kLayout;
    std::ostringstream row;
    row << "| " << name << " | \"" << suffix << "\" | " << direction << " | `" << slot << "` | " << layout.slotCount
        << " | " << layout.slots_offset << " | " << layout.stride << " | " << layout.mappingSize << " |";
    return row.str();
}

TEST(WireFormatPage, TellsEveryChannelAsTheCodeHasIt) {
    std::vector<std::string> rows;
    for (const std::string& line : Lines()) {
        if (Cells(line).size() == 8 && IsNumber(Cells(line)[4])) rows.push_back(line);
    }

    EXPECT_THAT(
        rows, testing::ElementsAre(Row<CommandChannel>("command", kCommandSuffix, "parent to process", "CommandSlot"),
                                   Row<InputChannel>("frame input", kInputSuffix, "parent to process", "InputSlot"),
                                   Row<EventChannel>("event", kEventSuffix, "process to parent", "EventSlot"),
                                   Row<OutputChannel>("frame output", kOutputSuffix, "process to parent", "OutputSlot"),
                                   Row<LogChannel>("log", kLogSuffix, "process to parent", "IpcLogChunk")));
}

struct HexLine {
    std::size_t offset = 0;
    std::vector<unsigned> bytes;
};

std::vector<HexLine> HexBlock(const std::string& kind) {
    std::vector<HexLine> block;
    bool inside = false;
    for (const std::string& line : Lines()) {
        if (line == "```" + kind) {
            inside = true;
        } else if (line == "```") {
            inside = false;
        } else if (inside) {
            std::istringstream words(line);
            HexLine hex;
            words >> std::hex >> hex.offset;
            for (unsigned byte = 0; words >> byte;)
                hex.bytes.push_back(byte);
            block.push_back(hex);
        }
    }
    return block;
}

void ExpectBytes(const std::byte* memory, const std::vector<HexLine>& block, std::size_t lines) {
    ASSERT_EQ(block.size(), lines);
    for (const HexLine& hex : block) {
        ASSERT_FALSE(hex.bytes.empty());
        for (std::size_t i = 0; i < hex.bytes.size(); ++i) {
            EXPECT_EQ(std::to_integer<unsigned>(memory[hex.offset + i]), hex.bytes[i]) << "at " << hex.offset + i;
        }
    }
}

TEST(WireFormatPage, ShowsInItsExampleWhatTheCodeWrites) {
    support::FakeKernelObjects os;
    support::RecordingStreams streams;
    EventChannel sender(ipc::kSends, os, streams);
    EventChannel receiver(ipc::kReceives, os, streams);
    ASSERT_TRUE(sender.Open("idE"));
    ASSERT_TRUE(receiver.Open("idE"));

    ASSERT_TRUE(sender.Send(
        [](EventSlot& slot) {
            slot.As<IpcEventOnInit>() = {{1, 0}, 4660, 0};
            slot.index = EventSlot::IndexOf<IpcEventOnInit>();
        },
        false, 0));
    ExpectBytes(os.Memory("idE_shm"), HexBlock("hex"), 8);

    receiver.Receive(nullptr, 0);
    ExpectBytes(os.Memory("idE_shm"), HexBlock("hex-received"), 2);
}

}  // namespace
