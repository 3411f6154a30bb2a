// Frames on their way through the real process, to which nobody has given a library: every answer has status 4.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "ipc/channels.h"
#include "platform/threads.h"
#include "process_fixture.h"
#include "velmo_parent/receive_end.h"
#include "velmo_parent/send_end.h"

namespace process_tests {
namespace {

using ::testing::AllOf;
using ::testing::Each;
using ::testing::Field;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using velmo_parent::SendResult;
using Clock = std::chrono::steady_clock;

constexpr std::int8_t kMaskRecord = 0;
constexpr std::int8_t kFullRecord = 1;

// A frame of so many pixels, as far as it fits its record.
void WriteFrame(calyr_ipc::InputSlot& slot, std::uint32_t width, std::uint32_t height) {
    auto& record = slot.As<calyr_ipc::RvoCalyrIpcInput>();
    const std::uint64_t bytes = std::uint64_t{3} * width * height;
    record.temporalEnabled = 1;
    record.dataSize = bytes <= sizeof(record.data) ? static_cast<std::uint32_t>(bytes) : sizeof(record.data);
    std::memset(record.data, 0x5A, record.dataSize);
    std::memset(&record.header, 0x5A, sizeof(record.header));
    record.header.width = width;
    record.header.height = height;
    slot.index = 0;
}

auto IsEmptyAnswerOfStatusFour(std::int8_t record) {
    return AllOf(Field(&Recorder::FrameResult::index, record), Field(&Recorder::FrameResult::status, 4),
                 Field(&Recorder::FrameResult::isElseEmpty, true));
}

class Frames : public ::testing::Test {
 protected:
    ~Frames() override { m_link.Kill(); }

    void Open() {
        const velmo_parent::Outcome opened = m_link.Open();
        ASSERT_TRUE(opened) << opened.Why();
    }
    void Start() {
        const velmo_parent::Outcome started = m_link.StartProcess({ProcessProgram()});
        ASSERT_TRUE(started) << started.Why();
    }

    // Sends a frame as soon as there is room for it and for its result.
    void Submit(std::uint32_t width, std::uint32_t height) {
        ASSERT_TRUE(m_pace.AwaitRoom());
        for (;;) {
            const SendResult result =
                m_link.SubmitFrame([&](calyr_ipc::InputSlot& slot) { WriteFrame(slot, width, height); });
            ASSERT_NE(result, SendResult::Closed);
            if (result == SendResult::Sent) return;
            std::this_thread::yield();
        }
    }

    // The result of the next frame.
    Recorder::FrameResult ResultOf(std::uint32_t width, std::uint32_t height) {
        const std::size_t before = m_recorder.Results().size();
        Submit(width, height);
        EXPECT_TRUE(m_recorder.AwaitResults(before + 1));
        const auto results = m_recorder.Results();
        EXPECT_EQ(results.size(), before + 1);
        return results.empty() ? Recorder::FrameResult{-1, -1, false} : results.back();
    }

    void InitOfType(std::int32_t modelType) {
        const std::size_t before = m_recorder.Inits().size();
        ASSERT_EQ(m_link.Init({.modelType = modelType}), SendResult::Sent);
        ASSERT_TRUE(m_recorder.AwaitInits(before + 1));
    }

    void ExpectAGoodEnd() {
        (void)m_link.Terminate();
        const auto exit = m_link.WaitForExit(kPatienceMs);
        ASSERT_TRUE(exit);
        EXPECT_EQ(exit->code, 0);
        EXPECT_THAT(m_recorder.Damages(), IsEmpty());
        EXPECT_EQ(m_link.DamagedChannels(), "");
    }

    Recorder m_recorder;
    velmo_parent::Link m_link{FreshId(), m_recorder};
    FramePace m_pace{m_link, m_recorder};
};

TEST_F(Frames, BeforeAnyInitAreAnsweredWithAFullRecordOfStatusFour) {
    ASSERT_NO_FATAL_FAILURE(Open());
    ASSERT_NO_FATAL_FAILURE(Start());
    EXPECT_THAT(ResultOf(640, 360), IsEmptyAnswerOfStatusFour(kFullRecord));
    ExpectAGoodEnd();
}

TEST_F(Frames, AfterAnInitOfTypeTwoAreAnsweredWithAMaskRecord) {
    ASSERT_NO_FATAL_FAILURE(Open());
    ASSERT_NO_FATAL_FAILURE(Start());
    ASSERT_NO_FATAL_FAILURE(InitOfType(2));
    EXPECT_THAT(ResultOf(640, 360), IsEmptyAnswerOfStatusFour(kMaskRecord));
    ExpectAGoodEnd();
}

TEST_F(Frames, ChangeTheirRecordWithTheModelTypeNotBeforeTheirPixelCountChanges) {
    ASSERT_NO_FATAL_FAILURE(Open());
    ASSERT_NO_FATAL_FAILURE(Start());
    EXPECT_THAT(ResultOf(640, 360), IsEmptyAnswerOfStatusFour(kFullRecord));
    ASSERT_NO_FATAL_FAILURE(InitOfType(1));
    EXPECT_THAT(ResultOf(640, 360), IsEmptyAnswerOfStatusFour(kFullRecord));
    EXPECT_THAT(ResultOf(360, 640), IsEmptyAnswerOfStatusFour(kFullRecord));
    EXPECT_THAT(ResultOf(256, 144), IsEmptyAnswerOfStatusFour(kMaskRecord));
    ASSERT_NO_FATAL_FAILURE(InitOfType(0));
    EXPECT_THAT(ResultOf(144, 256), IsEmptyAnswerOfStatusFour(kMaskRecord));
    EXPECT_THAT(ResultOf(640, 360), IsEmptyAnswerOfStatusFour(kFullRecord));
    ExpectAGoodEnd();
}

TEST_F(Frames, OfAnySizeAreAnsweredAndTheProcessLives) {
    ASSERT_NO_FATAL_FAILURE(Open());
    ASSERT_NO_FATAL_FAILURE(Start());
    for (const auto& [width, height] : std::vector<std::pair<std::uint32_t, std::uint32_t>>{
             {0, 0}, {1, 1}, {641, 360}, {65536, 65536}, {65536, 65537}, {0xFFFFFFFF, 0xFFFFFFFF}, {640, 360}}) {
        SCOPED_TRACE(std::to_string(width) + " x " + std::to_string(height));
        EXPECT_THAT(ResultOf(width, height), IsEmptyAnswerOfStatusFour(kFullRecord));
    }
    ExpectAGoodEnd();
}

TEST_F(Frames, ThatFilledAllFiveSlotsBeforeTheProcessCameAreAllAnswered) {
    ASSERT_NO_FATAL_FAILURE(Open());
    // An end that gives away the last slot too. It is done before the other side comes.
    calyr_ipc::InputChannel frames(ipc::kSends);
    ASSERT_TRUE(frames.Open(m_link.Id() + calyr_ipc::kInputSuffix));
    for (int frame = 0; frame < 5; ++frame) {
        ASSERT_TRUE(frames.Send([](calyr_ipc::InputSlot& slot) { WriteFrame(slot, 640, 360); }, false, 0));
    }
    ASSERT_FALSE(frames.Send([](calyr_ipc::InputSlot&) {}, false, 0));

    ASSERT_NO_FATAL_FAILURE(Start());

    ASSERT_TRUE(m_recorder.AwaitResults(5));
    m_link.Drain();  // as m_pace would, which has not seen these
    EXPECT_THAT(ResultOf(640, 360), IsEmptyAnswerOfStatusFour(kFullRecord));  // the slots have come back
    ExpectAGoodEnd();
    EXPECT_THAT(m_recorder.Results(), AllOf(SizeIs(6), Each(IsEmptyAnswerOfStatusFour(kFullRecord))));
}

TEST_F(Frames, AreAllAnsweredOnceWhileTheSlotsGoRound) {
    constexpr std::size_t kFrames = 300;
    ASSERT_NO_FATAL_FAILURE(Open());
    ASSERT_NO_FATAL_FAILURE(Start());
    for (std::size_t frame = 0; frame < kFrames; ++frame)
        ASSERT_NO_FATAL_FAILURE(Submit(16, 9));
    EXPECT_TRUE(m_recorder.AwaitResults(kFrames));
    ExpectAGoodEnd();
    EXPECT_THAT(m_recorder.Results(), AllOf(SizeIs(kFrames), Each(IsEmptyAnswerOfStatusFour(kFullRecord))));
}

TEST(FramesThatNobodyReads, AreTakenAllTheSameAtHalfASecondEach) {
    const std::string id = FreshId();
    auto& objects = platform::SystemKernelObjects();
    auto& threads = platform::SystemThreads();
    velmo_parent::SendEnd<calyr_ipc::CommandSlot, 32> commands(objects, threads);
    velmo_parent::SendEnd<calyr_ipc::InputSlot, 5> frames(objects, threads);
    velmo_parent::ReceiveEnd<calyr_ipc::EventSlot, 32> events(objects, threads);
    ASSERT_TRUE(commands.Open(id + calyr_ipc::kCommandSuffix));
    ASSERT_TRUE(frames.Open(id + calyr_ipc::kInputSuffix));
    ASSERT_TRUE(events.Open(id + calyr_ipc::kEventSuffix, [&commands](const calyr_ipc::EventSlot&) {
        (void)commands.Send([](calyr_ipc::CommandSlot& slot) { slot.index = 3; });  // the heartbeat's answer
    }));
    const Clock::time_point start = Clock::now();
    std::string error;
    const auto child = platform::SystemChildProcesses().Start({ProcessProgram(), id, {}, "", ""}, error);
    ASSERT_TRUE(child) << error;
    const auto submit = [&frames] {
        return frames.Send([](calyr_ipc::InputSlot& slot) { WriteFrame(slot, 640, 360); });
    };

    const Clock::time_point end = start + std::chrono::milliseconds(kPatienceMs);
    int sent = 0;
    while (sent < 11 && Clock::now() < end) {
        if (submit() == SendResult::Sent) {
            ++sent;
        } else {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    }

    // At most four frames can be on their way, so that seven are through: five found a slot, and two waited.
    const auto taken = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count();
    EXPECT_EQ(sent, 11);
    EXPECT_GE(taken, 1000);
    EXPECT_LE(taken, 30'000);

    // A reader that comes now finds the first five, and then what is sent from here on.
    Recorder recorder;
    velmo_parent::ReceiveEnd<calyr_ipc::OutputSlot, 5> results(objects, threads);
    ASSERT_TRUE(results.Open(id + calyr_ipc::kOutputSuffix,
                             [&recorder](const calyr_ipc::OutputSlot& slot) { recorder.OnFrameResult(slot); }));
    while (recorder.Results().size() < 12 && Clock::now() < end) {
        (void)submit();
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    EXPECT_THAT(recorder.Results(), AllOf(SizeIs(::testing::Ge(12)), Each(IsEmptyAnswerOfStatusFour(kFullRecord))));

    (void)commands.Send([](calyr_ipc::CommandSlot& slot) { slot.index = 2; });
    const auto exit = child->WaitForExit(kPatienceMs);
    if (!exit) child->Kill();
    ASSERT_TRUE(exit);
    EXPECT_EQ(exit->code, 0);
}

}  // namespace
}  // namespace process_tests
