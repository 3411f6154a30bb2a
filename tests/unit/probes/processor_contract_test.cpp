// What a system's affinity and its list of cores do alike with the fake of them.

#include <gmock/gmock.h>

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "probes/logical_processors.h"
#include "processors_beyond_masks.h"
#include "support/fake_machine.h"

namespace probes {
namespace {

using support::FakeMachine;

class ProcessorContract : public testing::TestWithParam<const char*> {
 protected:
    ProcessorContract() {
        m_fake.SetCores(4);
        m_fake.processors.count = 4;
        m_fake.processors.masks = platform::ProcessorMasks{0b1111, 0b1111};
    }

    platform::Machine Subject() {
        return GetParam() == std::string("System") ? platform::ThisMachine() : m_fake.Parts();
    }

    // A large machine has processors that no bit stands for.
    bool HasNoMask() const { return GetParam() == std::string("System") && HasProcessorsBeyondMasks(); }

    static void ExpectNoMask(platform::ProcessorAffinity& affinity) {
        platform::ProcessorMasks masks{77, 78};
        EXPECT_FALSE(affinity.ReadMasks(masks));
        EXPECT_EQ(masks.process, 77u);
        EXPECT_EQ(masks.system, 78u);
    }

    FakeMachine m_fake;
};

TEST_P(ProcessorContract, ConfinesThisProcessAndLetsItGo) {
    platform::ProcessorAffinity& affinity = Subject().affinity;
    platform::ProcessorMasks before;
    if (HasNoMask()) return ExpectNoMask(affinity);
    ASSERT_TRUE(affinity.ReadMasks(before));
    EXPECT_EQ(before.process & ~before.system, 0u);
    ASSERT_NE(before.process, 0u);
    const std::uint64_t lowest = before.process & (~before.process + 1);

    EXPECT_TRUE(affinity.Confine(lowest));
    affinity.GiveUpTurn();
    platform::ProcessorMasks confined;
    EXPECT_TRUE(affinity.ReadMasks(confined));
    EXPECT_TRUE(affinity.Confine(before.process));
    platform::ProcessorMasks after;
    EXPECT_TRUE(affinity.ReadMasks(after));

    EXPECT_EQ(confined.process, lowest);
    EXPECT_EQ(confined.system, before.system);
    EXPECT_EQ(after.process, before.process);
}

TEST_P(ProcessorContract, RefusesAnEmptyMaskAndKeepsTheOldOne) {
    platform::ProcessorAffinity& affinity = Subject().affinity;
    platform::ProcessorMasks before;
    if (HasNoMask()) return ExpectNoMask(affinity);
    ASSERT_TRUE(affinity.ReadMasks(before));

    EXPECT_FALSE(affinity.Confine(0));

    platform::ProcessorMasks after;
    ASSERT_TRUE(affinity.ReadMasks(after));
    EXPECT_EQ(after.process, before.process);
}

TEST_P(ProcessorContract, CountsTheProcessorsOfTheSystemsMask) {
    platform::ProcessorMasks masks;
    if (HasNoMask()) return ExpectNoMask(Subject().affinity);
    ASSERT_TRUE(Subject().affinity.ReadMasks(masks));
    EXPECT_EQ(Subject().affinity.ProcessorCount(), CountMaskBits(masks.system));
}

TEST_P(ProcessorContract, ListsItsCoresIntoABufferThatIsLargeEnough) {
    ASSERT_TRUE(Subject().coreList.Exists());
    std::uint32_t needed = 0;
    ASSERT_EQ(Subject().coreList.Read({}, needed), platform::kInsufficientBuffer);
    EXPECT_GE(needed, sizeof(platform::ProcessorRelation));

    std::vector<std::byte> buffer(needed - 1);
    std::uint32_t lengthBytes = 0;
    EXPECT_EQ(Subject().coreList.Read(buffer, lengthBytes), platform::kInsufficientBuffer);
    EXPECT_EQ(lengthBytes, needed);

    buffer.resize(needed);
    EXPECT_EQ(Subject().coreList.Read(buffer, lengthBytes), 0u);
    EXPECT_EQ(lengthBytes, needed);
}

INSTANTIATE_TEST_SUITE_P(Either, ProcessorContract, testing::Values("System", "Fake"),
                         [](const auto& one) { return std::string(one.param); });

}  // namespace
}  // namespace probes
