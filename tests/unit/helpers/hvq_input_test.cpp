#include "helpers/hvq_input.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <vector>

namespace rvo_calyr {
namespace {

class HvqInput : public ::testing::Test {
 protected:
    HvqInput() { std::memset(m_slot.get(), 0xA5, sizeof(calyr_ipc::InputSlot)); }

    const std::uint8_t* Bytes() const { return reinterpret_cast<const std::uint8_t*>(m_slot.get()); }

    bool IsZero(std::size_t from, std::size_t to) const {
        return std::all_of(Bytes() + from, Bytes() + to, [](std::uint8_t byte) { return byte == 0; });
    }

    // Padding keeps what the slot held.
    bool IsUntouched(std::size_t from, std::size_t to) const {
        return std::all_of(Bytes() + from, Bytes() + to, [](std::uint8_t byte) { return byte == 0xA5; });
    }

    void ExpectAnEmptyRecord() const {
        EXPECT_EQ(Bytes()[0], 0);
        EXPECT_TRUE(IsUntouched(1, 4));
        EXPECT_TRUE(IsZero(4, 691'241));
        EXPECT_TRUE(IsUntouched(691'241, 691'248));
    }

    std::unique_ptr<calyr_ipc::InputSlot> m_slot = std::make_unique<calyr_ipc::InputSlot>();
};

TEST_F(HvqInput, FillsTheRecordOfItsSlot) {
    const std::vector<std::uint8_t> pixels(691'200, 0x5A);
    RvoHvqInput input;
    input.temporalEnabled = 1;
    input.dataSize = 691'200;
    input.data = pixels.data();
    input.header.width = 640;
    input.header.height = 360;

    input.CopyToIpcRecord(*m_slot);

    EXPECT_EQ(Bytes()[0], 1);
    EXPECT_TRUE(IsUntouched(1, 4));
    const std::uint8_t size[] = {0x00, 0x8C, 0x0A, 0x00};
    EXPECT_EQ(std::memcmp(Bytes() + 4, size, 4), 0);
    EXPECT_EQ(std::memcmp(Bytes() + 8, pixels.data(), pixels.size()), 0);
    const std::uint8_t header[] = {0, 0, 0, 0, 0x80, 0x02, 0, 0, 0x68, 0x01, 0, 0};
    EXPECT_EQ(std::memcmp(Bytes() + 691'208, header, sizeof(header)), 0);
    EXPECT_EQ(Bytes()[691'240], 0);
    EXPECT_TRUE(IsUntouched(691'241, 691'248));
}

TEST_F(HvqInput, LeavesTheBytesBehindItsDataZero) {
    const std::vector<std::uint8_t> pixels(3, 0x5A);
    RvoHvqInput input;
    input.dataSize = 3;
    input.data = pixels.data();

    input.CopyToIpcRecord(*m_slot);

    EXPECT_EQ(Bytes()[10], 0x5A);
    EXPECT_TRUE(IsZero(11, 691'208));
}

TEST_F(HvqInput, LeavesAnEmptyRecordForMoreThanItHolds) {
    const std::vector<std::uint8_t> pixels(691'201, 0x5A);
    RvoHvqInput input;
    input.temporalEnabled = 1;
    input.dataSize = 691'201;
    input.data = pixels.data();
    input.header.width = 640;

    input.CopyToIpcRecord(*m_slot);

    ExpectAnEmptyRecord();
}

TEST_F(HvqInput, LeavesAnEmptyRecordWithoutData) {
    RvoHvqInput input;
    input.temporalEnabled = 1;
    input.dataSize = 12;

    input.CopyToIpcRecord(*m_slot);

    ExpectAnEmptyRecord();
}

}  // namespace
}  // namespace rvo_calyr
