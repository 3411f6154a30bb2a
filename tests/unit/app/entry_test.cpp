#include "app/entry.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "host/rvo_calyr_ml_host.h"
#include "infra/logger.h"
#include "platform/string_resources.h"
#include "support/fake_kernel_objects.h"
#include "support/recording_streams.h"
#include "support/std_threads.h"

namespace app {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::EndsWith;

class RecordingResources final : public platform::StringResources {
 public:
    struct Asked {
        void* instance;
        std::uint32_t id;
        int capacity;
    };

    int Load(void* instance, std::uint32_t id, wchar_t* buffer, int capacity) override {
        asked.push_back({instance, id, capacity});
        buffer[0] = 0;
        return 0;
    }

    std::vector<Asked> asked;
};

TEST(LoadStartStrings, AsksForBothStringsInTheirOrderAndTakesThatThereAreNone) {
    RecordingResources resources;
    StartStrings strings;
    int instance = 0;

    LoadStartStrings(&instance, resources, strings);

    ASSERT_EQ(resources.asked.size(), 2U);
    EXPECT_EQ(resources.asked[0].id, 103U);
    EXPECT_EQ(resources.asked[1].id, 109U);
    for (const RecordingResources::Asked& asked : resources.asked) {
        EXPECT_EQ(asked.instance, &instance);
        EXPECT_EQ(asked.capacity, 100);
    }
    EXPECT_EQ(strings.first[0], 0);
    EXPECT_EQ(strings.second[0], 0);
}

// A sink that keeps what it is given.
class LineRecorder final : public rvo_calyr::IRvoCalyrTraceSink {
 public:
    std::int32_t OnTrace(std::uint32_t level, const char* text) override {
        lines.push_back(std::to_string(level) + " " + text);
        return 0;
    }
    std::vector<std::string> lines;
};

class RunHost : public ::testing::Test {
 protected:
    support::FakeKernelObjects m_os;
    support::RecordingStreams m_streams;
    support::StdThreads m_threads;
    rvo_calyr::RvoCalyrMlHost m_host{rvo_calyr::HostSeams{m_os, m_streams, m_threads}};
};

TEST_F(RunHost, SaysWhatItWasGivenWhenAChannelCannotBeOpened) {
    LineRecorder recorder;
    rvo_calyr::g_logger.SetTraceSink(&recorder);
    m_os.FailNext(support::Call::CreateOrOpenEvent, support::kNotEnoughMemory);

    EXPECT_EQ(app::RunHost("  my id \n", m_host), 3);

    EXPECT_THAT(recorder.lines, ElementsAre("0 [RVO_CALYR]calyrhost init ipc fail, cmdLine=  my id \n, ipcId=my id"));
    EXPECT_THAT(m_streams.Output(), EndsWith("[RVO_CALYR] InitIpc() fail, ipcId=my id\n"));
    rvo_calyr::g_logger.SetTraceSink(nullptr);
}

TEST_F(RunHost, SaysItNowhereWhenTheHostHasTheLog) {
    m_os.FailNext(support::Call::CreateOrOpenEvent, support::kNotEnoughMemory);
    EXPECT_EQ(app::RunHost("id", m_host), 3);
    EXPECT_EQ(m_streams.Error(), "");
}

TEST_F(RunHost, RunsTheLoopAndStopsTheHostAfterIt) {
    m_host.Terminate({});

    EXPECT_EQ(app::RunHost(" id ", m_host), 0);

    EXPECT_EQ(rvo_calyr::g_logger.GetTraceSink(), nullptr);
    EXPECT_EQ(m_os.LiveObjects(), 0);
    EXPECT_EQ(m_threads.Started(), 2);
    EXPECT_EQ(m_threads.Joined(), 2);
    EXPECT_THAT(m_os.Calls(), Contains("CreateOrOpenEvent idC_evt_avl"));
}

}  // namespace
}  // namespace app
