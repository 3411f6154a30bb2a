#include "probes/installed_memory.h"

#include <gtest/gtest.h>

#include "support/fake_machine.h"

namespace probes {
namespace {

constexpr std::uint64_t kMegabyte = 1048576;

std::uint32_t MemoryMb(std::uint64_t totalBytes) {
    support::FakeMachine machine;
    machine.memory.totalBytes = totalBytes;
    return ReadInstalledMemoryMb(machine.Parts());
}

TEST(InstalledMemoryMb, IsRoundedToTheNearest1024) {
    EXPECT_EQ(MemoryMb(16260 * kMegabyte), 16384u);
    EXPECT_EQ(MemoryMb(1023 * kMegabyte), 1024u);
    EXPECT_EQ(MemoryMb(500 * kMegabyte), 0u);
    EXPECT_EQ(MemoryMb(512 * kMegabyte), 1024u);
    EXPECT_EQ(MemoryMb(512 * kMegabyte - 1), 0u);  // 511 whole MB
    EXPECT_EQ(MemoryMb(1535 * kMegabyte), 1024u);
    EXPECT_EQ(MemoryMb(1536 * kMegabyte), 2048u);
}

TEST(InstalledMemoryMb, IsZeroWhenTheSystemDoesNotTell) {
    EXPECT_EQ(MemoryMb(0), 0u);
}

TEST(InstalledMemoryMb, KeepsItsLow32Bits) {
    EXPECT_EQ(MemoryMb(std::uint64_t{1} << 50), 1u << 30);
    EXPECT_EQ(MemoryMb(~std::uint64_t{0}), 0u);  // 2 to the 44th, rounded up
}

}  // namespace
}  // namespace probes
