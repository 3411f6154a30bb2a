#include "platform/string_resources.h"

#include <gmock/gmock.h>

#include <array>

namespace {

using platform::SystemStringResources;

// This program carries no string table, on any system.
TEST(StringResources, LeaveAnEmptyTextWhenThereIsNoSuchString) {
    for (const std::uint32_t id : {103U, 109U}) {
        std::array<wchar_t, 100> buffer{};
        buffer.fill(L'x');

        EXPECT_EQ(SystemStringResources().Load(nullptr, id, buffer.data(), 100), 0);

        EXPECT_EQ(buffer[0], L'\0');
    }
}

TEST(StringResources, WriteNothingWhereThereIsNoRoom) {
    wchar_t buffer = L'x';

    EXPECT_EQ(SystemStringResources().Load(nullptr, 103, &buffer, 0), 0);
    EXPECT_EQ(SystemStringResources().Load(nullptr, 103, nullptr, 100), 0);

    EXPECT_EQ(buffer, L'x');
}

}  // namespace
