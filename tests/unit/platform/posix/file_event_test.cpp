#include <gmock/gmock.h>
#include <sys/time.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <memory>

#include "contract/object_names.h"
#include "platform/kernel_objects.h"

namespace {

using platform::WaitResult;

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

}  // namespace
