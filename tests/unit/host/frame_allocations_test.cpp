#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>

#include "helpers/hvq_input.h"
#include "host/rvo_calyr_ml_host.h"
#include "platform/threads.h"
#include "support/allocation_counter.h"
#include "support/fake_helper.h"
#include "support/watchdog.h"

namespace rvo_calyr {
namespace {

// On the system's own objects: the fake ones keep a record of their calls.
class FrameAllocations : public ::testing::TestWithParam<std::int32_t> {
 protected:
    // Hands the host a frame and returns how often that allocated. Its result is read, so that the next finds room.
    std::int64_t Submit(std::uint32_t width, std::uint32_t height) {
        RvoHvqInput input;
        input.header.width = width;
        input.header.height = height;
        const std::int64_t before = AllocationCount();
        m_host.OnInputFrame(input);
        const std::int64_t after = AllocationCount();
        m_status = -1;
        m_results.Receive(
            [this](const calyr_ipc::OutputSlot& slot) { m_status = slot.As<calyr_ipc::RvoInhouseIpcOutput>().status; },
            0);
        return after - before;
    }

    support::Watchdog m_watchdog;
    const std::string m_id = "vt-allocations-" + std::to_string(platform::CurrentProcessId());
    support::FakeHelper m_helper;
    support::FakeHelpers m_helpers;
    RvoCalyrMlHost m_host{HostSeams{.helpers = m_helpers}};
    calyr_ipc::OutputChannel m_results{ipc::kReceives};
    std::int32_t m_status = -1;
};

TEST_P(FrameAllocations, AreNoneOnceTheOutputStands) {
    m_helper.work = [](const RvoHvqInput&, RvoHvqOutput& output) {
        output.status = 0;
        return kStatusSuccess;
    };
    m_helpers.helpers[GetParam()] = &m_helper;
    ASSERT_EQ(m_host.Attach(m_id), 0);
    ASSERT_TRUE(m_results.Open(m_id + "FO"));
    EXPECT_GT(Submit(640, 360), 0);  // without a helper, and its status is 4
    EXPECT_EQ(m_status, 4);
    EXPECT_EQ(Submit(640, 360), 0);
    _CalyrPortraitOption option;
    option.modelType = GetParam();
    m_host.Init(option);

    EXPECT_GT(Submit(256, 144), 0);
    for (int frame = 0; frame < 20; ++frame) {
        EXPECT_EQ(Submit(256, 144), 0);
        EXPECT_EQ(m_status, 0);
    }
    EXPECT_EQ(Submit(144, 256), 0);
    EXPECT_GT(Submit(640, 360), 0);
    EXPECT_EQ(Submit(640, 360), 0);
}

INSTANTIATE_TEST_SUITE_P(EveryType, FrameAllocations, ::testing::Values(0, 1, 2),
                         [](const auto& tested) { return "Type" + std::to_string(tested.param); });

}  // namespace
}  // namespace rvo_calyr
