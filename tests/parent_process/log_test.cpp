// What the real process tells in its log, as values.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "parent_fixture.h"

namespace parent_process_tests {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using namespace velmo_parent;  // the notices are all of this test's words

class ParentLog : public ParentProcess {
 protected:
    // Frames until the process has said this so many times; it exchanges engines between frames alone.
    template <class Kind>
    void StreamUntilNoticed(std::uint64_t& tag, std::size_t count) {
        const auto end = std::chrono::steady_clock::now() + kPatience;
        while (m_listener.Notices<Kind>().size() < count) {
            ASSERT_NO_FATAL_FAILURE(Stream(tag++, 1));
            ASSERT_LT(std::chrono::steady_clock::now(), end);
        }
    }
};

TEST_F(ParentLog, TellsTheDeviceThatTheFirstEngineReallyRunsOn) {
    ASSERT_NO_FATAL_FAILURE(Start(LayersOf(kSmall) + "devices OpenVINO AUTO CPU\ncurrent-device \"CPU, by choice\""));
    EXPECT_EQ(m_process->DeviceInUse(), "");
    EXPECT_EQ(Init(Request(kSmall, ModelFamily::Inhouse, Device::Auto)), 0);
    ASSERT_TRUE(m_listener.AwaitNotices<BringUpReady>(1));
    const BringUpReady ready = m_listener.Notices<BringUpReady>()[0];
    EXPECT_EQ(ready.place, BringUpPlace::WithinInit);
    EXPECT_EQ(ready.engine, "OpenVINO");
    EXPECT_EQ(ready.networkId, "inhouse_hvq_plugin_OpenVINO_AUTO");
    EXPECT_EQ(ready.device, "CPU, by choice");
    EXPECT_GE(ready.durationMs, 0);
    ASSERT_THAT(m_listener.Notices<BringUpBegan>(), SizeIs(1));
    EXPECT_EQ(m_listener.Notices<BringUpBegan>()[0].device, "AUTO");
    EXPECT_EQ(m_process->DeviceInUse(), "CPU, by choice");
    ExpectAGoodEnd();
}

TEST_F(ParentLog, TellsOfAFallback) {
    ASSERT_NO_FATAL_FAILURE(Start(LayersOf(kSmall) + "devices OpenVINO CPU"));
    EXPECT_EQ(Init(Request(kSmall, ModelFamily::Calyr, Device::Gpu)), 0);
    ASSERT_TRUE(m_listener.AwaitNotices<BringUpReady>(1));
    ASSERT_THAT(m_listener.Notices<DeviceFellBack>(), SizeIs(1));
    EXPECT_EQ(m_listener.Notices<DeviceFellBack>()[0].missing, "GPU");
    EXPECT_EQ(m_listener.Notices<DeviceFellBack>()[0].taken, "CPU");
    EXPECT_EQ(m_process->DeviceInUse(), "CPU");
    ExpectAGoodEnd();
}

TEST_F(ParentLog, TellsWhyThereIsNoEngine) {
    ASSERT_NO_FATAL_FAILURE(Start(LayersOf(kSmall) + "devices OpenVINO CPU"));
    EXPECT_EQ(Init(Request(kSmall, ModelFamily::Inhouse, Device::Npu)), 3);
    ASSERT_TRUE(m_listener.AwaitNotices<BringUpFailed>(1));
    EXPECT_EQ(m_listener.Notices<BringUpFailed>()[0].reason, "not support device NPU");
    EXPECT_EQ(m_listener.Notices<BringUpFailed>()[0].place, BringUpPlace::WithinInit);
    EXPECT_EQ(m_process->DeviceInUse(), "");
    ExpectAGoodEnd();
}

TEST_F(ParentLog, FollowsAnEngineFromItsBringUpInTheBackgroundToItsSwap) {
    ASSERT_NO_FATAL_FAILURE(StartInferring("gate hvqCreateNetByBuiltin 2 job\nrecord calls.txt"));
    EXPECT_EQ(Init(Request(kSmall, ModelFamily::Inhouse, Device::Gpu)), 0);
    ASSERT_TRUE(m_listener.AwaitNotices<BringUpBegan>(2));
    EXPECT_EQ(m_listener.Notices<BringUpBegan>()[1].place, BringUpPlace::Background);
    EXPECT_EQ(m_listener.Notices<BringUpBegan>()[1].device, "GPU");
    std::uint64_t tag = 1;
    ASSERT_NO_FATAL_FAILURE(Stream(tag, 10));
    tag += 10;
    EXPECT_THAT(m_listener.Notices<BringUpReady>(), SizeIs(1));
    EXPECT_EQ(m_process->DeviceInUse(), "CPU");

    m_library.Put("job.open", "");
    ASSERT_TRUE(m_listener.AwaitNotices<BringUpReady>(2));
    EXPECT_EQ(m_listener.Notices<BringUpReady>()[1].place, BringUpPlace::Background);
    EXPECT_EQ(m_process->DeviceInUse(), "CPU") << "it waits for a frame";
    ASSERT_NO_FATAL_FAILURE(StreamUntilNoticed<EngineSwapped>(tag, 1));
    const EngineSwapped swapped = m_listener.Notices<EngineSwapped>()[0];
    EXPECT_EQ(swapped.from, (EngineChoice{1, 0, 2}));
    EXPECT_EQ(swapped.to, (EngineChoice{2, 0, 2}));
    EXPECT_EQ(m_process->DeviceInUse(), "GPU");
    ExpectResults(1, tag - 1);
    ExpectAGoodEnd();
}

TEST_F(ParentLog, TellsOfABringUpInTheBackgroundThatFails) {
    ASSERT_NO_FATAL_FAILURE(StartInferring("fail hvqCreateNetByBuiltin 2 \"no memory on it\"\nrecord calls.txt"));
    EXPECT_EQ(Init(Request(kSmall, ModelFamily::Inhouse, Device::Gpu)), 0) << "the old engine's word";
    ASSERT_TRUE(m_listener.AwaitNotices<BringUpFailed>(1));
    EXPECT_EQ(m_listener.Notices<BringUpFailed>()[0].place, BringUpPlace::Background);
    EXPECT_THAT(m_listener.Notices<BringUpFailed>()[0].reason, HasSubstr("no memory on it"));
    ASSERT_NO_FATAL_FAILURE(Stream(1, 20));
    ExpectResults(1, 20);
    EXPECT_THAT(m_listener.Notices<EngineSwapped>(), IsEmpty());
    EXPECT_EQ(m_process->DeviceInUse(), "CPU");
    ExpectAGoodEnd();
}

TEST_F(ParentLog, GivesSummariesAsNumbers) {
    m_options.environment = {{"CALYR_PROFILE_LOG_ROUNDS", "20"}};
    ASSERT_NO_FATAL_FAILURE(StartInferring("fill segmentation constant 0"));
    ASSERT_NO_FATAL_FAILURE(Stream(1, 41, kSmall, Skipping::Allowed));
    ASSERT_TRUE(m_listener.AwaitNotices<RoundsSummary>(2));
    ASSERT_TRUE(m_listener.AwaitNotices<ContentChangeSummary>(2));
    const RoundsSummary rounds = m_listener.Notices<RoundsSummary>()[0];
    EXPECT_EQ(rounds.rounds, 20);
    EXPECT_EQ(rounds.skipped, 18) << "an empty mask has no edge: 17 are skipped behind the first, one behind the 19th";
    EXPECT_EQ(rounds.inferredPercent, 10);
    EXPECT_EQ(rounds.infer.count, 2);
    EXPECT_EQ(rounds.preprocess.count, 20);
    EXPECT_EQ(rounds.postprocess.count, 20);
    // Nothing is decided for the first frame of all.
    EXPECT_EQ(m_listener.Notices<ContentChangeSummary>()[0].permille.count, 20);
    EXPECT_EQ(m_listener.Notices<ContentChangeSummary>()[0].permille.max, 0);
    ExpectAGoodEnd();
}

TEST_F(ParentLog, TellsOfFramesThatFail) {
    ASSERT_NO_FATAL_FAILURE(StartInferring("fail hvqInfer 2 \"out of memory\""));
    ASSERT_NO_FATAL_FAILURE(Stream(1, 3));
    ASSERT_TRUE(m_listener.AwaitNotices<FrameFailed>(1));
    EXPECT_THAT(m_listener.Notices<FrameFailed>()[0].reason, HasSubstr("out of memory"));
    ExpectAGoodEnd();
}

}  // namespace
}  // namespace parent_process_tests
