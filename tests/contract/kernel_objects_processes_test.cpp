#include <gmock/gmock.h>

#include <filesystem>
#include <string>
#include <vector>

#include "contract/object_names.h"
#include "contract/object_steps.h"
#include "contract/own_child.h"
#include "platform/kernel_objects.h"

// Named objects between processes; the other side is this program once more.
namespace contract {
namespace {

using platform::MappingAccess;
using platform::WaitResult;

OwnChild Child(const std::string& steps) {
    return OwnChild(kStepsRole + steps);
}

class KernelObjectsBetweenProcesses : public testing::Test {
 protected:
    platform::KernelObjects& m_os = platform::SystemKernelObjects();
    const std::string m_ready = FreshName("r");
    const std::string m_event = FreshName("e");
    const std::string m_mapping = FreshName("m");
    std::unique_ptr<platform::NamedEvent> m_readyEvent = m_os.CreateOrOpenEvent(m_ready);

    // What killed children left goes with the next to ask.
    ~KernelObjectsBetweenProcesses() override {
        (void)m_os.CreateOrOpenEvent(m_event);
        (void)m_os.OpenMapping(m_mapping, MappingAccess::ReadOnly);
    }

    bool BecomesReady() { return m_readyEvent->Wait(kWatchdogMs) == WaitResult::Signalled; }

    // A child that has signalled the event, written 7 and 8 at the mapping's ends, and never ends by itself.
    OwnChild Holder() {
        OwnChild child =
            Child("event " + m_event + ";set " + m_event + ";create " + m_mapping + " 8192;write " + m_mapping +
                  " 0 7;write " + m_mapping + " 8191 8;event " + m_ready + ";set " + m_ready + ";hang");
        EXPECT_TRUE(BecomesReady());
        return child;
    }
};

TEST_F(KernelObjectsBetweenProcesses, TheSecondFindsWhatTheFirstMade) {
    const auto mapping = m_os.CreateMapping(m_mapping, 8192);
    ASSERT_NE(mapping, nullptr);
    std::byte* const view = mapping->Map(8192);
    ASSERT_NE(view, nullptr);
    view[100] = std::byte{42};

    OwnChild child =
        Child("open " + m_mapping + " 8192;expect " + m_mapping + " 100 42;write " + m_mapping + " 101 43");

    EXPECT_EQ(child.EndCode(), 0);
    EXPECT_EQ(view[101], std::byte{43});
}

TEST_F(KernelObjectsBetweenProcesses, TheFirstMayBeTheChild) {
    OwnChild child = Holder();

    const auto mapping = m_os.OpenMapping(m_mapping, MappingAccess::ReadWrite);
    ASSERT_NE(mapping, nullptr);
    const std::byte* const view = mapping->Map(8192);
    ASSERT_NE(view, nullptr);
    EXPECT_EQ(view[0], std::byte{7});
    EXPECT_EQ(view[8191], std::byte{8});
    const auto event = m_os.CreateOrOpenEvent(m_event);
    ASSERT_NE(event, nullptr);
    EXPECT_EQ(event->Wait(0), WaitResult::Signalled);
    EXPECT_EQ(event->Wait(0), WaitResult::TimedOut);
}

TEST_F(KernelObjectsBetweenProcesses, ASignalWakesAWaiterInTheOtherProcess) {
    const auto event = m_os.CreateOrOpenEvent(m_event);
    ASSERT_NE(event, nullptr);
    const std::string answer = FreshName("a");
    const auto answered = m_os.CreateOrOpenEvent(answer);
    ASSERT_NE(answered, nullptr);
    OwnChild child = Child("event " + m_event + ";event " + answer + ";event " + m_ready + ";set " + m_ready +
                           ";wait " + m_event + ";set " + answer);
    ASSERT_TRUE(BecomesReady());

    EXPECT_TRUE(event->Set());

    EXPECT_EQ(answered->Wait(kWatchdogMs), WaitResult::Signalled);
    EXPECT_EQ(child.EndCode(), 0);
    EXPECT_EQ(event->Wait(0), WaitResult::TimedOut);
}

TEST_F(KernelObjectsBetweenProcesses, OneSignalLetsOneOfTwoProcessesThrough) {
    const auto event = m_os.CreateOrOpenEvent(m_event);
    ASSERT_NE(event, nullptr);
    const std::string answer = FreshName("a");
    const auto answered = m_os.CreateOrOpenEvent(answer);
    ASSERT_NE(answered, nullptr);
    const std::string steps = "event " + m_event + ";event " + answer + ";event " + m_ready + ";set " + m_ready +
                              ";wait " + m_event + ";set " + answer;
    OwnChild one = Child(steps);
    ASSERT_TRUE(BecomesReady());
    OwnChild two = Child(steps);
    ASSERT_TRUE(BecomesReady());

    EXPECT_TRUE(event->Set());
    EXPECT_EQ(answered->Wait(kWatchdogMs), WaitResult::Signalled);
    EXPECT_TRUE(event->Set());
    EXPECT_EQ(answered->Wait(kWatchdogMs), WaitResult::Signalled);

    EXPECT_EQ(one.EndCode(), 0);
    EXPECT_EQ(two.EndCode(), 0);
    EXPECT_EQ(event->Wait(0), WaitResult::TimedOut);  // a signal too many would have been left
}

TEST_F(KernelObjectsBetweenProcesses, ObjectsGoWithTheLastUserWhenItEndsByItself) {
    OwnChild child =
        Child("event " + m_event + ";set " + m_event + ";create " + m_mapping + " 4096;write " + m_mapping + " 0 7");

    EXPECT_EQ(child.EndCode(), 0);

    EXPECT_EQ(m_os.OpenMapping(m_mapping, MappingAccess::ReadWrite), nullptr);
    EXPECT_EQ(m_os.CreateOrOpenEvent(m_event)->Wait(0), WaitResult::TimedOut);
}

TEST_F(KernelObjectsBetweenProcesses, ObjectsOutliveTheirMaker) {
    OwnChild child = Holder();
    const auto mapping = m_os.OpenMapping(m_mapping, MappingAccess::ReadWrite);
    const auto event = m_os.CreateOrOpenEvent(m_event);
    ASSERT_NE(mapping, nullptr);
    ASSERT_NE(event, nullptr);

    child.Kill();

    OwnChild next =
        Child("open " + m_mapping + " 8192;expect " + m_mapping + " 0 7;event " + m_event + ";wait " + m_event);
    EXPECT_EQ(next.EndCode(), 0);
}

TEST_F(KernelObjectsBetweenProcesses, AMappingOfAKilledPairCannotBeOpened) {
    OwnChild one = Holder();
    OwnChild two = Holder();

    one.Kill();
    two.Kill();

    EXPECT_EQ(m_os.OpenMapping(m_mapping, MappingAccess::ReadWrite), nullptr);
    EXPECT_EQ(m_os.LastError(), 2U);
}

TEST_F(KernelObjectsBetweenProcesses, AKilledPairLeavesNothingToTheNext) {
    OwnChild one = Holder();
    OwnChild two = Holder();

    one.Kill();
    two.Kill();

    const auto mapping = m_os.CreateMapping(m_mapping, 4096);
    ASSERT_NE(mapping, nullptr);
    const std::byte* const view = mapping->Map(4096);
    ASSERT_NE(view, nullptr);
    EXPECT_EQ(view[0], std::byte{0});
    EXPECT_EQ(mapping->Map(4097), nullptr) << "the dead pair's size was kept";
    EXPECT_EQ(m_os.CreateOrOpenEvent(m_event)->Wait(0), WaitResult::TimedOut);
}

TEST_F(KernelObjectsBetweenProcesses, AReadOnlyUserCannotWrite) {
    const auto mapping = m_os.CreateMapping(m_mapping, 4096);
    ASSERT_NE(mapping, nullptr);

    // The crash is reported to a file and not among the tests' lines: sanitizers and Wine have much to say about it.
    const std::string report = FreshName(".txt");
    OwnChild child(platform::ChildStart{
        OwnProgram(), kStepsRole + ("read " + m_mapping + " 4096;write " + m_mapping + " 0 1"), {}, report, report});

    const auto exit = child.End();
    ASSERT_TRUE(exit.has_value());
    // By an access violation, not by a step that failed. Sanitizers catch the signal and end with their own code.
    EXPECT_TRUE(exit->signal != 0 || (exit->code != 0 && exit->code < kFailedSteps))
        << "signal " << exit->signal << ", code " << exit->code;
    EXPECT_EQ(*mapping->Map(4096), std::byte{0});
    std::filesystem::remove(report);
}

TEST_F(KernelObjectsBetweenProcesses, UsersWhoComeAndGoNeverFindMemoryEmptiedUnderThem) {
    std::vector<OwnChild> children;
    children.reserve(4);
    for (int index = 0; index < 4; ++index)
        children.push_back(Child("churn " + m_mapping + " 500"));

    for (OwnChild& child : children)
        EXPECT_EQ(child.EndCode(), 0);

    EXPECT_EQ(m_os.OpenMapping(m_mapping, MappingAccess::ReadWrite), nullptr);
}

// Wherever on its way a user is killed, the others go on, and nothing of it is left once they have gone too.
TEST_F(KernelObjectsBetweenProcesses, ComingAndGoingSurvivesThoseWhoAreKilledOnTheWay) {
    constexpr int kVictims = 8;  // each may leave its count behind, which the survivors' check allows for
    OwnChild survivor = Child("churn " + m_mapping + " 3000");
    for (int index = 0; index < kVictims; ++index) {
        OwnChild victim = Child("event " + m_ready + ";set " + m_ready + ";churn " + m_mapping + " 1000000000");
        ASSERT_TRUE(BecomesReady());
        EXPECT_TRUE(victim.Runs());
        victim.Kill();
    }
    EXPECT_EQ(survivor.EndCode(), 0);

    const auto mapping = m_os.CreateMapping(m_mapping, 4096);
    ASSERT_NE(mapping, nullptr);
    EXPECT_EQ(*mapping->Map(4096), std::byte{0});
}

}  // namespace
}  // namespace contract
