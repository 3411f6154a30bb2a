#include "swapping_stream.h"

#include <gmock/gmock.h>

#include <iostream>
#include <thread>

namespace parent_process_tests {

void SwappingStream::Run(std::chrono::seconds duration) {
    using Clock = std::chrono::steady_clock;
    using velmo_parent::Device;
    constexpr std::uint64_t kPerSecond = 30;
    constexpr std::uint64_t kFramesPerEngine = 2 * kPerSecond;
    // Bring-ups that take a while, so that frames run beside them.
    ASSERT_NO_FATAL_FAILURE(StartInferring("delay hvqCreateNetByBuiltin 2+ 300\nquiet"));
    const auto frames = static_cast<std::uint64_t>(duration.count()) * kPerSecond;
    const Clock::time_point start = Clock::now();
    std::size_t requests = 0;
    for (std::uint64_t tag = 1; tag <= frames; ++tag) {
        std::this_thread::sleep_until(start + tag * std::chrono::microseconds(1'000'000 / kPerSecond));
        ASSERT_NO_FATAL_FAILURE(Submit(tag));
        if (tag % kFramesPerEngine != 0) continue;
        // A request behind one that has not come to its swap would take that one back.
        if (m_listener.Notices<velmo_parent::EngineSwapped>().size() < requests) continue;
        ++requests;
        const Device device = requests % 2 == 1 ? Device::Gpu : Device::Cpu;
        ASSERT_EQ(m_process->Init(Request(kSmall, velmo_parent::ModelFamily::Inhouse, device)),
                  velmo_parent::InitStatus::Sent);
    }
    ASSERT_TRUE(m_listener.AwaitFrames(frames));
    const velmo_parent::Counts counts = m_process->CountsSoFar();
    std::cout << counts.submitted << " frames sent, " << counts.results << " results, " << counts.lost << " lost, "
              << counts.full << " times full; " << requests << " engines asked for, "
              << m_listener.Notices<velmo_parent::EngineSwapped>().size() << " swaps; longest pause between results "
              << m_listener.LongestPause().count() << " ms\n";
    ExpectResultsOfAStream(1, frames);
    // Only the last request may not have come to its swap.
    EXPECT_GE(m_listener.Notices<velmo_parent::EngineSwapped>().size() + 1, requests);
    EXPECT_GE(requests, 2U);
    for (const velmo_parent::InitAnswer& answer : m_listener.Inits())
        EXPECT_EQ(answer.status, 0);
    EXPECT_THAT(m_listener.Stales(), ::testing::IsEmpty());
    ExpectAGoodEnd();
}

}  // namespace parent_process_tests
