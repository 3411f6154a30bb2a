#include "probes/kernel_product.h"

#include <gmock/gmock.h>

#include "support/fake_machine.h"

namespace probes {
namespace {

using support::FakeMachine;
using testing::ElementsAre;

// Product version 10.2.19041.3636.
FakeMachine& WithProduct(FakeMachine& machine) {
    machine.releases.blockBytes = 1904;
    machine.releases.product = platform::ProductVersion{10u << 16 | 2, 19041u << 16 | 3636};
    return machine;
}

TEST(KernelProductMajor, IsTheHighWordOfTheProductVersion) {
    FakeMachine machine;
    WithProduct(machine);

    EXPECT_EQ(ReadKernelProductMajor(machine.Parts()), 10u);
    EXPECT_THAT(machine.log,
                ElementsAre("SystemFolder 260", "BlockBytes C:\\Windows\\System32\\kernel32.dll",
                            "ReadBlock C:\\Windows\\System32\\kernel32.dll 1904", "FindProductVersion 1904"));
    EXPECT_TRUE(machine.releases.blockWasZero);
}

TEST(KernelProductMajor, HasAllSixteenBits) {
    FakeMachine machine;
    WithProduct(machine).releases.product->mostSignificant = 0xFFFF0000;

    EXPECT_EQ(ReadKernelProductMajor(machine.Parts()), 0xFFFFu);
}

TEST(KernelProductMajor, IsZeroWithoutABlock) {
    FakeMachine machine;
    WithProduct(machine).releases.blockBytes = 0;

    EXPECT_EQ(ReadKernelProductMajor(machine.Parts()), 0u);
    EXPECT_THAT(machine.log, ElementsAre("SystemFolder 260", "BlockBytes C:\\Windows\\System32\\kernel32.dll"));
}

TEST(KernelProductMajor, IsZeroWhenTheBlockCannotBeRead) {
    FakeMachine machine;
    WithProduct(machine).releases.blockIsReadable = false;

    EXPECT_EQ(ReadKernelProductMajor(machine.Parts()), 0u);
    EXPECT_EQ(machine.log.size(), 3u);
}

TEST(KernelProductMajor, IsZeroWhenTheBlockHasNoProductVersion) {
    FakeMachine machine;
    WithProduct(machine).releases.product.reset();

    EXPECT_EQ(ReadKernelProductMajor(machine.Parts()), 0u);
}

TEST(KernelProductMajor, GoesOnWithNoFolderWhenThatFails) {
    FakeMachine machine;
    WithProduct(machine).releases.folder.clear();

    EXPECT_EQ(ReadKernelProductMajor(machine.Parts()), 10u);
    EXPECT_EQ(machine.log[1], "BlockBytes \\System32\\kernel32.dll");
}

TEST(KernelProductMajor, TakesAFolderThatFillsItsRoomAndNoMore) {
    FakeMachine machine;
    WithProduct(machine).releases.folder = std::wstring(259, L'f');
    EXPECT_EQ(ReadKernelProductMajor(machine.Parts()), 10u);
    EXPECT_EQ(machine.log[1], "BlockBytes " + std::string(259, 'f') + "\\System32\\kernel32.dll");

    machine.log.clear();
    machine.releases.folder += L'f';  // does not fit: whatever stands in the buffer, it is not read beyond its end
    EXPECT_EQ(ReadKernelProductMajor(machine.Parts()), 10u);
    EXPECT_EQ(machine.log[1], "BlockBytes " + std::string(260, 'x') + "\\System32\\kernel32.dll");
}

}  // namespace
}  // namespace probes
