#include <gmock/gmock.h>
#include <sys/time.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <fstream>
#include <memory>
#include <string>
#include <thread>

#include "contract/object_names.h"
#include "contract/own_child.h"
#include "platform/kernel_objects.h"
#include "platform/posix/object_name.h"

namespace {

using platform::WaitResult;
using platform::posix::ObjectFileName;
using platform::posix::ObjectKind;

std::atomic<int> g_interruptions{0};

// Interrupts whatever this process waits in, every 5 ms.
class Interruptions {
 public:
    Interruptions() {
        struct sigaction action {};
        action.sa_handler = [](int) { ++g_interruptions; };  // and no SA_RESTART
        ::sigaction(SIGALRM, &action, &m_before);
        const itimerval every{{0, 5000}, {0, 5000}};
        ::setitimer(ITIMER_REAL, &every, nullptr);
    }
    Interruptions(const Interruptions&) = delete;
    Interruptions& operator=(const Interruptions&) = delete;
    ~Interruptions() {
        const itimerval never{};
        ::setitimer(ITIMER_REAL, &never, nullptr);
        ::sigaction(SIGALRM, &m_before, nullptr);
    }

 private:
    struct sigaction m_before {};
};

TEST(FileEvent, InterruptionsNeitherShortenNorStretchAWait) {
    const auto event = platform::SystemKernelObjects().CreateOrOpenEvent(contract::FreshName());
    ASSERT_NE(event, nullptr);
    g_interruptions = 0;
    const auto start = std::chrono::steady_clock::now();

    WaitResult result = WaitResult::Failed;
    {
        const Interruptions interruptions;
        result = event->Wait(100);
    }
    const auto elapsed = std::chrono::steady_clock::now() - start;

    EXPECT_EQ(result, WaitResult::TimedOut);
    EXPECT_GE(elapsed, std::chrono::milliseconds(100));
    EXPECT_LT(elapsed, std::chrono::seconds(10));  // were each to begin the time anew, it would never end
    EXPECT_GT(g_interruptions, 0);
}

// What a peer that has lost its way may put there.
void WriteWord(const std::string& name, std::uint32_t word) {
    int error = 0;
    const std::string fileName = ObjectFileName(ObjectKind::Event, name, error);
    std::fstream file("/dev/shm/" + fileName, std::ios::binary | std::ios::in | std::ios::out);
    ASSERT_TRUE(file.is_open());
    file.write(reinterpret_cast<const char*>(&word), sizeof(word));
}

TEST(FileEvent, TakesAnyWordButZeroForOneSignal) {
    for (const std::uint32_t word : {2U, 0x80000000U, 0xFFFFFFFFU}) {
        SCOPED_TRACE(word);
        const std::string name = contract::FreshName();
        const auto event = platform::SystemKernelObjects().CreateOrOpenEvent(name);
        ASSERT_NE(event, nullptr);

        ASSERT_NO_FATAL_FAILURE(WriteWord(name, word));
        EXPECT_EQ(event->Wait(20), WaitResult::Signalled);
        EXPECT_EQ(event->Wait(20), WaitResult::TimedOut);

        ASSERT_NO_FATAL_FAILURE(WriteWord(name, word));
        EXPECT_EQ(event->Wait(0), WaitResult::Signalled);
        EXPECT_EQ(event->Wait(0), WaitResult::TimedOut);

        ASSERT_NO_FATAL_FAILURE(WriteWord(name, word));
        EXPECT_TRUE(event->Set());
        EXPECT_EQ(event->Wait(0), WaitResult::Signalled);
        EXPECT_EQ(event->Wait(0), WaitResult::TimedOut);
    }
}

}  // namespace
