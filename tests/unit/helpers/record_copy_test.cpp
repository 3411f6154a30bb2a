// Holds the copies into a slot, which write each byte once, to their definition: wipe, then copy.

#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <random>
#include <span>
#include <thread>
#include <vector>

#include "helpers/calyr_output.h"
#include "helpers/hvq_input.h"
#include "helpers/hvq_output.h"
#include "helpers/record_writing.h"
#include "support/plain_record_copy.h"
#include "support/watchdog.h"

namespace rvo_calyr {
namespace {

constexpr std::int32_t kStatuses[] = {0, 2, 3, 4, 7, -1};

// Frames by their number of pixels: none, few, one more and one less than the largest, and far beyond.
struct Geometry {
    std::uint32_t width;
    std::uint32_t height;
    std::uint32_t maskLength;
};
constexpr Geometry kGeometries[] = {
    {0, 360, 0},
    {1, 1, 1},
    {37, 3, 111},
    {256, 144, 36864},
    {230399, 1, 230399},
    {640, 360, 230400},
    {230401, 1, 230401},
    {65535, 65537, 0xFFFFFFFF},
    {65536, 65537, 0xFFFFFFFF},  // 65,536 in 32 bits
};

class Garbage {
 public:
    void Fill(std::span<std::byte> bytes) {
        std::size_t at = 0;
        for (; at + sizeof(std::uint64_t) <= bytes.size(); at += sizeof(std::uint64_t)) {
            const std::uint64_t word = m_engine();
            std::memcpy(&bytes[at], &word, sizeof(word));
        }
        for (; at < bytes.size(); ++at)
            bytes[at] = static_cast<std::byte>(m_engine());
    }
    template <class Object>
    void FillObject(Object& object) {
        Fill(std::as_writable_bytes(std::span(&object, 1)));
    }
    template <class Number>
    Number Next() {
        return static_cast<Number>(m_engine());
    }

 private:
    std::mt19937_64 m_engine{20240229};
};

template <class Slot>
class Slots {
 public:
    explicit Slots(Garbage& garbage) {
        garbage.FillObject(*written);
        std::memcpy(expected.get(), written.get(), sizeof(Slot));
    }
    // The first byte in which the two differ; the slot's size when none does.
    std::size_t FirstDifference() const {
        const auto* const left = reinterpret_cast<const std::byte*>(written.get());
        const auto* const right = reinterpret_cast<const std::byte*>(expected.get());
        return static_cast<std::size_t>(std::mismatch(left, left + sizeof(Slot), right).first - left);
    }

    std::unique_ptr<Slot> written = std::make_unique<Slot>();
    std::unique_ptr<Slot> expected = std::make_unique<Slot>();
};

calyr_ipc::IpcFrameHeader HeaderOf(const Geometry& geometry, Garbage& garbage) {
    calyr_ipc::IpcFrameHeader header{};
    garbage.FillObject(header);
    header.width = geometry.width;
    header.height = geometry.height;
    return header;
}

void FillResults(RvoHvqOutput& output, Garbage& garbage) {
    garbage.Fill(std::as_writable_bytes(output.MaskBytes()));
}

void FillResults(RvoCalyrOutput& output, Garbage& garbage) {
    garbage.Fill(std::as_writable_bytes(output.MaskBytes()));
    garbage.FillObject(*output.gesture);
    garbage.FillObject(*output.landmarks);
    garbage.FillObject(*output.lutVertices);
    garbage.FillObject(*output.lut);
    output.motion = garbage.Next<std::uint32_t>();
}

template <class Output>
class OutputCopy : public ::testing::Test {};
using Outputs = ::testing::Types<RvoHvqOutput, RvoCalyrOutput>;

class OutputNames {
 public:
    template <class Output>
    static std::string GetName(int /*position*/) {
        return std::is_same_v<Output, RvoHvqOutput> ? "Plain" : "Full";
    }
};
TYPED_TEST_SUITE(OutputCopy, Outputs, OutputNames);

TYPED_TEST(OutputCopy, WritesWhatItsStepsWriteForEveryStatusAndSize) {
    Garbage garbage;
    for (const Geometry& geometry : kGeometries) {
        for (const std::int32_t status : kStatuses) {
            SCOPED_TRACE("pixels " + std::to_string(geometry.maskLength) + ", status " + std::to_string(status));
            TypeParam output(HeaderOf(geometry, garbage));
            ASSERT_EQ(output.maskLength, geometry.maskLength);
            FillResults(output, garbage);
            output.status = status;
            Slots<calyr_ipc::OutputSlot> slots(garbage);

            output.CopyToIpcRecord(*slots.written);
            support::CopyPlainly(output, *slots.expected);

            EXPECT_EQ(slots.FirstDifference(), sizeof(calyr_ipc::OutputSlot));
        }
    }
}

// Copies over and over, which is looked at from beside over and over, until the slot was seen to hold nothing: most of
// the time is spent inside the copy.
template <class Source, class Slot>
void AwaitNothingIn(const Source& source, Slot& slot) {
    std::atomic<bool> seen{false};
    std::thread observer([&] {
        while (std::atomic_ref<std::int8_t>(slot.index).load() != calyr_ipc::kNoAlternative)
            std::this_thread::yield();
        seen = true;
    });
    while (!seen)
        source.CopyToIpcRecord(slot);
    observer.join();
}

TYPED_TEST(OutputCopy, SaysMeanwhileThatTheSlotHoldsNothing) {
    const support::Watchdog watchdog;
    Garbage garbage;
    TypeParam output(HeaderOf({640, 360, 230400}, garbage));
    output.status = 0;
    const auto slot = std::make_unique<calyr_ipc::OutputSlot>();

    AwaitNothingIn(output, *slot);

    EXPECT_EQ(slot->index, (std::is_same_v<TypeParam, RvoHvqOutput> ? 0 : 1));
}

// What all the copies write through.
TEST(RecordWriting, HasNothingInTheSlotFromBeforeTheFirstToBehindTheLastByte) {
    using Slot = calyr_ipc::VariantSlot<std::uint32_t, std::uint64_t>;
    Slot slot{};
    slot.index = 0;
    int written = 0;

    WriteRecord<std::uint64_t>(slot, [&](std::uint64_t& record) {
        EXPECT_EQ(slot.index, calyr_ipc::kNoAlternative);
        EXPECT_EQ(&record, &slot.As<std::uint64_t>());
        ++written;
    });

    EXPECT_EQ(written, 1);
    EXPECT_EQ(slot.index, 1);
}

TEST(InputCopy, SaysMeanwhileThatTheSlotHoldsNothing) {
    const support::Watchdog watchdog;
    const std::vector<std::uint8_t> pixels(691'200);
    RvoHvqInput input;
    input.dataSize = 691'200;
    input.data = pixels.data();
    const auto slot = std::make_unique<calyr_ipc::InputSlot>();

    AwaitNothingIn(input, *slot);

    EXPECT_EQ(slot->index, 0);
}

// The slot's index is a pixel of the frame itself here, so the copy tells what the index was when it was copied.
TEST(InputCopy, CopiesThePixelsAfterTheSlotWasEmptiedAndBeforeItIsFilled) {
    const auto slot = std::make_unique<calyr_ipc::InputSlot>();
    slot->index = 0;
    RvoHvqInput input;
    input.dataSize = 1;
    input.data = reinterpret_cast<const std::uint8_t*>(&slot->index);

    input.CopyToIpcRecord(*slot);

    EXPECT_EQ(slot->As<calyr_ipc::RvoCalyrIpcInput>().data[0], 0xFF);
    EXPECT_EQ(slot->index, 0);
}

TEST(InputCopy, WritesWhatItsStepsWriteForEverySize) {
    Garbage garbage;
    std::vector<std::uint8_t> pixels(691'201);
    garbage.Fill(std::as_writable_bytes(std::span(pixels)));
    for (const std::uint32_t size : {0U, 1U, 333U, 110'592U, 691'199U, 691'200U, 691'201U, 0xFFFFFFFFU}) {
        for (const bool hasData : {true, false}) {
            SCOPED_TRACE(std::to_string(size) + (hasData ? "" : " without data"));
            RvoHvqInput input;
            input.temporalEnabled = garbage.Next<std::uint8_t>();
            input.dataSize = size;
            input.data = hasData ? pixels.data() : nullptr;
            garbage.FillObject(input.header);
            Slots<calyr_ipc::InputSlot> slots(garbage);

            input.CopyToIpcRecord(*slots.written);
            support::CopyPlainly(input, *slots.expected);

            EXPECT_EQ(slots.FirstDifference(), sizeof(calyr_ipc::InputSlot));
        }
    }
}

}  // namespace
}  // namespace rvo_calyr
