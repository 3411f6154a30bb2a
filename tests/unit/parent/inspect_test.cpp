#include "velmo_tool/inspect.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <sstream>
#include <string>
#include <vector>

#include "ipc/channels.h"
#include "support/fake_kernel_objects.h"
#include "support/recording_streams.h"

namespace velmo_tool {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class InspectCommand : public testing::Test {
 protected:
    int Run(const std::string& id = "id") { return Inspect(id, m_os, m_out, m_errors); }

    support::FakeKernelObjects m_os;
    support::RecordingStreams m_streams;
    std::ostringstream m_out;
    std::ostringstream m_errors;
};

TEST_F(InspectCommand, SaysThatNothingIsThere) {
    EXPECT_EQ(Run("nobody"), 1);
    EXPECT_THAT(m_errors.str(), HasSubstr("no channel of the id \"nobody\" is there"));
    EXPECT_EQ(m_os.LiveObjects(), 0);
}

TEST_F(InspectCommand, ShowsListsCountsAndTheOldestMessage) {
    calyr_ipc::CommandChannel commands(ipc::kSends, m_os, m_streams);
    ASSERT_TRUE(commands.Open("idC"));
    for (const std::int8_t index : {std::int8_t{2}, std::int8_t{3}}) {
        ASSERT_TRUE(commands.Send([&](calyr_ipc::CommandSlot& slot) { slot.index = index; }, false, 0));
    }

    EXPECT_EQ(Run(), 0);

    EXPECT_THAT(m_out.str(),
                AllOf(HasSubstr("idC, commands to the process: 99608 bytes, 32 slots of 3100 bytes"),
                      HasSubstr("free: 30 (head 2, tail 31), nodes 2 3 4"),
                      HasSubstr("used: 2 (head 0, tail 1), nodes 0 1\n"), HasSubstr("in hand: 0, nodes none"),
                      HasSubstr("oldest: Terminate"), HasSubstr("idFO, results from the process: not there")));
    EXPECT_THAT(m_errors.str(), IsEmpty());
}

TEST_F(InspectCommand, ChangesNothingAndOpensNoEvent) {
    calyr_ipc::EventChannel events(ipc::kSends, m_os, m_streams);
    ASSERT_TRUE(events.Open("idE"));
    ASSERT_TRUE(events.Send([](calyr_ipc::EventSlot& slot) { slot.index = 1; }, false, 0));
    const std::byte* const memory = m_os.Memory("idE_shm");
    const std::vector<std::byte> before(memory, memory + calyr_ipc::EventChannel::kLayout.mappingSize);
    m_os.ForgetCalls();

    EXPECT_EQ(Run(), 0);

    EXPECT_TRUE(std::equal(before.begin(), before.end(), memory));
    for (const std::string& call : m_os.Calls()) {
        EXPECT_THAT(call, AllOf(Not(HasSubstr("Event ")), Not(HasSubstr("OpenMapping ")), Not(HasSubstr("Create")),
                                Not(HasSubstr("Set ")), Not(HasSubstr("Wait "))));
    }
}

TEST_F(InspectCommand, ShowsAMappingThatNobodyHasInitialised) {
    const auto mapping = m_os.CreateMapping("idL_shm", calyr_ipc::LogChannel::kLayout.mappingSize);
    EXPECT_EQ(Run(), 0);
    EXPECT_THAT(m_out.str(), HasSubstr("not initialised"));
}

TEST_F(InspectCommand, ReportsAMappingThatIsTooSmall) {
    const auto mapping = m_os.CreateMapping("idFI_shm", 4096);
    EXPECT_EQ(Run(), 2);
    EXPECT_THAT(m_out.str(), HasSubstr("has fewer than 3456328 bytes"));
}

TEST_F(InspectCommand, ReportsDamageCalmly) {
    calyr_ipc::EventChannel events(ipc::kSends, m_os, m_streams);
    ASSERT_TRUE(events.Open("idE"));
    const std::int32_t backToTheStart = 0;
    // The link of node 31, the last one.
    std::memcpy(m_os.Memory("idE_shm") + 396, &backToTheStart, sizeof backToTheStart);

    EXPECT_EQ(Run(), 2);

    EXPECT_THAT(m_out.str(), HasSubstr("free list runs in a ring: damaged"));
}

TEST_F(InspectCommand, ReportsNodesInBothListsAndWrongNumbers) {
    calyr_ipc::EventChannel events(ipc::kSends, m_os, m_streams);
    ASSERT_TRUE(events.Open("idE"));
    const std::int32_t five = 5;
    std::memcpy(m_os.Memory("idE_shm") + 12, &five, sizeof five);   // used head
    std::memcpy(m_os.Memory("idE_shm") + 116, &five, sizeof five);  // slot of node 7

    EXPECT_EQ(Run(), 2);

    EXPECT_THAT(m_out.str(), AllOf(HasSubstr("in both lists, damaged: nodes 5 6"), HasSubstr("damaged: nodes 7\n")));
}

}  // namespace
}  // namespace velmo_tool
