#include "probes/native_word.h"

#include <gmock/gmock.h>

#include "support/fake_machine.h"

namespace probes {
namespace {

using support::FakeMachine;
using testing::ElementsAre;

TEST(NativeWord, Has64BitsOnThreeArchitectures) {
    for (std::uint16_t architecture = 0; architecture < 20; ++architecture) {
        FakeMachine machine;
        machine.releases.architecture = architecture;
        const bool is64Bit = architecture == 6 || architecture == 9 || architecture == 12;
        EXPECT_EQ(IsNative64Bit(machine.Parts()), is64Bit) << architecture;
    }
}

TEST(NativeWord, IsNotOf64BitsOnAnUnknownArchitecture) {
    FakeMachine machine;
    machine.releases.architecture = std::uint16_t{0xFFFF};
    EXPECT_FALSE(IsNative64Bit(machine.Parts()));
}

TEST(NativeWord, IsNotOf64BitsWhereTheCallIsMissing) {
    FakeMachine machine;
    EXPECT_FALSE(IsNative64Bit(machine.Parts()));
    EXPECT_THAT(machine.log, ElementsAre("HasNativeArchitecture"));
}

TEST(ProcessorArchitecture, HasAFixedName) {
    EXPECT_STREQ(ProcessorArchitectureName(), "x86_64");
}

}  // namespace
}  // namespace probes
