// The fixed steps in one process against the peer's rules in another, on the system's own named objects.

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>

#include "numbered_message.h"
#include "platform/child_process.h"
#include "platform/kernel_objects.h"
#include "platform/module_files.h"
#include "platform/threads.h"
#include "process_fixture.h"
#include "velmo_parent/receive_end.h"
#include "velmo_parent/send_end.h"

namespace process_tests {
namespace {

constexpr std::uint32_t kBurst = VELMOML_STRESS_MESSAGES;
constexpr std::uint32_t kSingle = VELMOML_STRESS_MESSAGES / 10;
constexpr std::uint32_t kEndMs = 10 * kPatienceMs;

using NumberedSendEnd = velmo_parent::SendEnd<NumberedMessage, kNumberedSlots>;
using NumberedReceiveEnd = velmo_parent::ReceiveEnd<NumberedMessage, kNumberedSlots>;

std::unique_ptr<platform::ChildProcess> StartRole(const std::string& words) {
    static const int kHere = 0;
    std::string error;
    auto child = platform::SystemChildProcesses().Start(
        {platform::SystemModuleFiles().FileOf(&kHere).value_or(""), "role " + words, {}, "", ""}, error);
    EXPECT_TRUE(child) << error;
    return child;
}

std::int32_t ExitCode(platform::ChildProcess& child) {
    const auto exit = child.WaitForExit(kEndMs);
    if (!exit) child.Kill();
    return exit ? exit->code : -1000;
}

class TwoProcesses : public ::testing::Test {
 protected:
    void SendTo(const std::string& id, std::uint32_t count, std::uint32_t burst) {
        NumberedSendEnd sender(platform::SystemKernelObjects(), platform::SystemThreads());
        ASSERT_TRUE(sender.Open(id));
        const auto child = StartRole("receive " + id + " " + std::to_string(count));
        ASSERT_TRUE(child);
        for (std::uint32_t number = 1; number <= count;) {
            const auto result = sender.Send([&](NumberedMessage& message) { message = {number, ~number}; });
            ASSERT_NE(result, velmo_parent::SendResult::Closed);
            if (result == velmo_parent::SendResult::Sent && number++ % burst != 0) continue;
            if (child->WaitForExit(0)) break;  // says by its code what went wrong
            std::this_thread::yield();
        }
        EXPECT_EQ(ExitCode(*child), 0);
        EXPECT_FALSE(sender.Damaged());
    }

    void ReceiveFrom(const std::string& id, std::uint32_t count, const std::string& pace) {
        const auto taken = platform::SystemKernelObjects().CreateOrOpenEvent(id + "_taken");
        ASSERT_TRUE(taken);
        const bool singly = pace == "singly";
        std::atomic<std::uint32_t> received{0};
        std::atomic<std::uint32_t> wrong{0};
        NumberedReceiveEnd receiver(platform::SystemKernelObjects(), platform::SystemThreads());
        ASSERT_TRUE(receiver.Open(id, [&](const NumberedMessage& message) {
            const std::uint32_t expected = ++received;
            if (message.number != expected || message.inverse != ~expected) ++wrong;
            if (singly || expected == count) (void)taken->Set();
        }));
        const auto child = StartRole("send " + id + " " + std::to_string(count) + " " + pace);
        ASSERT_TRUE(child);
        if (singly) {
            // The last message is waited for twice: once as one of them, once as the end of all.
            while (received < count && !child->WaitForExit(10)) {
            }
            while (!child->WaitForExit(10))
                (void)taken->Set();
        }
        EXPECT_EQ(ExitCode(*child), 0);
        EXPECT_EQ(received, count);
        EXPECT_EQ(wrong, 0U);
        EXPECT_FALSE(receiver.Damaged());
    }
};

TEST_F(TwoProcesses, TakeEveryMessageOnceAndInOrderFromAPeerThatSendsAllItCan) {
    SendTo(FreshId(), kBurst, kBurst + 1);
}

TEST_F(TwoProcesses, TakeEveryMessageOnceAndInOrderFromAPeerThatSendsInSmallBursts) {
    SendTo(FreshId(), kSingle, 3);
}

TEST_F(TwoProcesses, GiveEveryMessageOnceAndInOrderToAPeer) {
    ReceiveFrom(FreshId(), kBurst, "bursts");
}

TEST_F(TwoProcesses, GiveEveryMessageOnceAndInOrderToAPeerThatIsWaitedForEachTime) {
    ReceiveFrom(FreshId(), kSingle, "singly");
}

}  // namespace
}  // namespace process_tests
