#include "velmo_parent/process_run.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <cstring>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "process_side.h"

// What the library makes of a process that says what can't be, or what nobody asked for.
namespace velmo_parent {
namespace {

using calyr_ipc::InputSlot;
using calyr_ipc::OutputSlot;
using calyr_ipc::RvoCalyrIpcInput;
using calyr_ipc::RvoCalyrIpcOutput;
using calyr_ipc::RvoInhouseIpcOutput;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

constexpr FrameSize kSmall{256, 144};
constexpr std::uint32_t kPixels = 256 * 144;

// Keeps what it is told, each as a line of text, and lets a test wait for it.
class RecordingProcessListener final : public ProcessListener {
 public:
    void OnResult(const Result& result) override {
        Keep("result " + std::to_string(result.tag) + " status " + std::to_string(result.status) + " mask " +
             std::to_string(result.mask.size()) + (result.full != nullptr ? " full" : "") +
             (result.isReused ? " reused" : "") + (result.temporal ? " temporal" : ""));
    }
    void OnFrameLost(const LostFrame& lost) override { Keep("lost " + std::to_string(lost.tag)); }
    void OnInit(const InitAnswer& answer) override {
        Keep("init " + std::to_string(answer.status) + " family " +
             std::to_string(static_cast<std::int32_t>(answer.request.family)));
    }
    void OnLogLine(const LogLine& line) override { Keep("log " + line.text); }
    void OnSilence(const Silence& silence) override {
        const std::lock_guard lock(m_mutex);
        m_silences.push_back(silence);
        m_changed.notify_all();
    }
    void OnDamage(const std::string& what) override { Keep("damage " + what); }

    // Up to the line number `count`; fewer when it does not come.
    std::vector<std::string> Await(std::size_t count) {
        AwaitThat([&] { return m_heard.size() >= count; });
        return Heard();
    }
    bool AwaitSilence(bool initIsPending) {
        return AwaitThat([&] {
            for (const Silence& silence : m_silences) {
                if (silence.initIsPending == initIsPending) return true;
            }
            return false;
        });
    }
    void ForgetSilences() {
        const std::lock_guard lock(m_mutex);
        m_silences.clear();
    }
    std::vector<std::string> Heard() const {
        const std::lock_guard lock(m_mutex);
        return m_heard;
    }

 private:
    template <class Condition>
    bool AwaitThat(Condition condition) {
        std::unique_lock lock(m_mutex);
        return m_changed.wait_until(lock, std::chrono::system_clock::now() + std::chrono::seconds(60), condition);
    }
    void Keep(std::string what) {
        const std::lock_guard lock(m_mutex);
        m_heard.push_back(std::move(what));
        m_changed.notify_all();
    }

    mutable std::mutex m_mutex;  // guards the rest
    std::condition_variable m_changed;
    std::vector<std::string> m_heard;
    std::vector<Silence> m_silences;
};

class ProcessRunTest : public ProcessSide {
 protected:
    ~ProcessRunTest() override {
        m_children.End({0, 0});
        if (m_keeper.joinable()) m_keeper.join();
        (void)m_run.Finish({0, 0});
    }

    void Start() {
        ASSERT_TRUE(m_run.Start({.program = "program"}));
        m_run.Publish();
        OpenProcessSide();
    }
    // As its keeper does.
    void Keep(std::chrono::milliseconds silence = std::chrono::milliseconds(0)) {
        m_keeper = std::thread([this, silence] { (void)m_run.AwaitEnd(silence); });
    }
    EngineRequest Request(ModelFamily family = ModelFamily::Inhouse) const {
        EngineRequest request;
        request.family = family;
        return request;
    }
    // An engine for small frames: one line is heard.
    void StartInferring() {
        ASSERT_NO_FATAL_FAILURE(Start());
        ASSERT_EQ(m_run.Init(Request()), InitStatus::Sent);
        ASSERT_EQ(NextCommand(), 0);
        ASSERT_TRUE(SendInitAnswer(0));
        ASSERT_THAT(m_listener.Await(1), ElementsAre("init 0 family 2"));
    }

    SubmitStatus Submit(std::uint64_t tag, Skipping skipping = Skipping::Off) {
        return m_run.Submit({tag, kSmall, skipping}, [](FramePlanes&) { return Writing::Done; });
    }
    // The process takes the next frame. Gives the frame's flag.
    bool TakeFrame() {
        std::optional<bool> temporal;
        m_frames.Receive([&](const InputSlot& slot) { temporal = slot.As<RvoCalyrIpcInput>().temporalEnabled != 0; },
                         kPatienceMs);
        EXPECT_TRUE(temporal) << "no frame came";
        return temporal.value_or(false);
    }
    bool Answer(const std::function<void(OutputSlot&)>& writer) { return m_results.Send(writer, false, kPatienceMs); }
    static void WriteGood(OutputSlot& slot, std::uint64_t stampMs) {
        auto& record = slot.As<RvoInhouseIpcOutput>();
        record.status = 0;
        record.maskLength = kPixels;
        record.header.stampMs = stampMs;
        slot.index = OutputSlot::IndexOf<RvoInhouseIpcOutput>();
    }
    // A frame there and back, with a mask that counts as made for it.
    void Infer(std::uint64_t tag, Skipping skipping = Skipping::Off) {
        ASSERT_EQ(Submit(tag, skipping), SubmitStatus::Sent);
        (void)TakeFrame();
        m_stampMs += 1'000'000'000'000;  // ahead of every clock
        ASSERT_TRUE(Answer([&](OutputSlot& slot) { WriteGood(slot, m_stampMs); }));
    }

    RecordingProcessListener m_listener;
    ProcessRun m_run{"id", m_listener, this, m_seams};
    std::thread m_keeper;
    std::uint64_t m_stampMs = 0;
};

TEST_F(ProcessRunTest, StartsNoProgramWhenAChannelCanNotBeHad) {
    m_os.FailNext(support::Call::CreateMapping, support::kNotEnoughMemory, 3);
    EXPECT_THAT(m_run.Start({.program = "program"}).Why(), HasSubstr("error 8"));
    m_run.Publish();
    EXPECT_THAT(m_children.starts, IsEmpty());
    EXPECT_EQ(m_os.LiveObjects(), 0);
}

TEST_F(ProcessRunTest, TellsOfAResultWithAnIndexThatNamesNothing) {
    ASSERT_NO_FATAL_FAILURE(StartInferring());
    std::vector<std::string> expected = {"init 0 family 2"};
    std::uint64_t tag = 0;
    for (const std::int8_t index : {std::int8_t{-1}, std::int8_t{2}, std::int8_t{127}}) {
        ASSERT_EQ(Submit(++tag), SubmitStatus::Sent);
        (void)TakeFrame();
        ASSERT_TRUE(Answer([&](OutputSlot& slot) {
            WriteGood(slot, 1);
            slot.index = index;
        }));
        expected.push_back("damage a result with index " + std::to_string(index));
        expected.push_back("result " + std::to_string(tag) + " status 4 mask 0");
        ASSERT_EQ(m_listener.Await(expected.size()), expected);
    }
    ASSERT_NO_FATAL_FAILURE(Infer(++tag));
    expected.push_back("result 4 status 0 mask 36864");
    EXPECT_EQ(m_listener.Await(expected.size()), expected) << "the frame has its answer, and the next one its own";
}

TEST_F(ProcessRunTest, TellsOfAMaskOfAnotherLengthThanItsFrame) {
    constexpr std::uint64_t kStampMs = 1'000'000'000'000;  // ahead of every clock: made for the frame at hand
    ASSERT_NO_FATAL_FAILURE(StartInferring());
    std::vector<std::string> expected = {"init 0 family 2"};
    std::uint64_t tag = 0;
    for (const std::uint32_t length : {0U, kPixels - 1, kPixels + 1, 0xFFFFFFFFU}) {
        for (const bool isFull : {false, true}) {
            ASSERT_EQ(Submit(++tag), SubmitStatus::Sent);
            (void)TakeFrame();
            ASSERT_TRUE(Answer([&](OutputSlot& slot) {
                WriteGood(slot, kStampMs);
                if (isFull) {
                    slot.As<RvoCalyrIpcOutput>().maskLength = length;
                    slot.index = OutputSlot::IndexOf<RvoCalyrIpcOutput>();
                } else {
                    slot.As<RvoInhouseIpcOutput>().maskLength = length;
                }
            }));
            expected.push_back("damage a mask of " + std::to_string(length) + " bytes for 36864 pixels");
            expected.push_back("result " + std::to_string(tag) + " status 4 mask 0");
            ASSERT_EQ(m_listener.Await(expected.size()), expected);  // no more on their way than there is room for
        }
    }
    // The same stamp again would mean a mask that is used again, if any of those had counted.
    ASSERT_EQ(Submit(++tag), SubmitStatus::Sent);
    (void)TakeFrame();
    ASSERT_TRUE(Answer([&](OutputSlot& slot) {
        WriteGood(slot, kStampMs);
        slot.As<RvoCalyrIpcOutput>().maskLength = kPixels;
        slot.index = OutputSlot::IndexOf<RvoCalyrIpcOutput>();
    }));
    expected.push_back("result 9 status 0 mask 36864 full");
    EXPECT_EQ(m_listener.Await(expected.size()), expected);
}

TEST_F(ProcessRunTest, ReadsNoLengthOfAResultWithoutAMask) {
    ASSERT_NO_FATAL_FAILURE(StartInferring());
    ASSERT_EQ(Submit(1), SubmitStatus::Sent);
    (void)TakeFrame();
    ASSERT_TRUE(Answer([](OutputSlot& slot) {
        slot.As<RvoInhouseIpcOutput>().status = 2;
        slot.As<RvoInhouseIpcOutput>().maskLength = 77;
        slot.index = 0;
    }));
    EXPECT_THAT(m_listener.Await(2), ElementsAre("init 0 family 2", "result 1 status 2 mask 0"));
}

TEST_F(ProcessRunTest, TellsOfAResultThatBelongsToNoFrame) {
    ASSERT_NO_FATAL_FAILURE(StartInferring());
    ASSERT_TRUE(Answer([](OutputSlot& slot) { WriteGood(slot, 1); }));
    EXPECT_THAT(m_listener.Await(2), ElementsAre("init 0 family 2", "damage a result that belongs to no frame"));
    EXPECT_EQ(m_run.CountsSoFar().results, 0U);
}

TEST_F(ProcessRunTest, ADamagedResultDoesNotSpeakForTheLastDecision) {
    ASSERT_NO_FATAL_FAILURE(StartInferring());
    ASSERT_NO_FATAL_FAILURE(Infer(1, Skipping::Allowed));
    ASSERT_THAT(m_listener.Await(2), SizeIs(2));
    ASSERT_EQ(Submit(2, Skipping::Off), SubmitStatus::Sent);
    EXPECT_FALSE(TakeFrame()) << "the one before was inferred";
    ASSERT_TRUE(Answer([](OutputSlot& slot) { WriteGood(slot, 1); }));
    ASSERT_EQ(Submit(3, Skipping::Allowed), SubmitStatus::Sent);
    (void)TakeFrame();
    ASSERT_TRUE(Answer([](OutputSlot& slot) { slot.index = 9; }));
    ASSERT_THAT(m_listener.Await(5), SizeIs(5));

    ASSERT_EQ(Submit(4, Skipping::Off), SubmitStatus::Sent);
    EXPECT_TRUE(TakeFrame()) << "it may have been skipped";
}

TEST_F(ProcessRunTest, KnowsNothingOfAnEngineThatItHasNotAskedFor) {
    ASSERT_NO_FATAL_FAILURE(StartInferring());
    ASSERT_TRUE(SendInitAnswer(0));  // to somebody else's command
    EXPECT_THAT(m_listener.Await(2), ElementsAre("init 0 family 2", "init 0 family 0"));
    EXPECT_EQ(Submit(1), SubmitStatus::NotReady) << "it may take frames of any size";

    ASSERT_EQ(m_run.Init(Request()), InitStatus::Sent);
    ASSERT_EQ(NextCommand(), 0);
    ASSERT_TRUE(SendInitAnswer(0));
    ASSERT_THAT(m_listener.Await(3), SizeIs(3));
    ASSERT_NO_FATAL_FAILURE(Infer(2));
    EXPECT_EQ(m_listener.Await(4).back(), "result 2 status 0 mask 36864");
}

TEST_F(ProcessRunTest, TellsWhatTheLinkFindsDamaged) {
    ASSERT_NO_FATAL_FAILURE(Start());
    ASSERT_TRUE(SendEvent([](calyr_ipc::EventSlot& slot) { slot.index = 2; }));
    EXPECT_THAT(m_listener.Await(1), ElementsAre("damage an event with index 2"));
    ASSERT_TRUE(m_logs.Send([](calyr_ipc::IpcLogChunk& chunk) { chunk.length = 504; }, false, kPatienceMs));
    ASSERT_TRUE(Log("[1:2] next"));
    EXPECT_THAT(m_listener.Await(3),
                ElementsAre("damage an event with index 2", "damage a log chunk of 504 bytes", "log next"));
}

TEST_F(ProcessRunTest, TellsOfDamagedListsOnce) {
    ASSERT_NO_FATAL_FAILURE(StartInferring());
    const std::int32_t wrong = 99;
    std::memcpy(m_os.Memory("idFI_shm") + sizeof(ipc::channel_header), &wrong, sizeof wrong);  // next of node 0
    EXPECT_EQ(Submit(1), SubmitStatus::NotRunning) << "nothing can be sent any more";
    Keep(std::chrono::milliseconds(1));
    EXPECT_THAT(m_listener.Await(2),
                ElementsAre("init 0 family 2", "damage the lists of the channels FI are damaged; they are dead"));
    // So many looks that it would have told again.
    for (int round = 0; round < 5; ++round) {
        ASSERT_TRUE(m_listener.AwaitSilence(false));
        m_listener.ForgetSilences();
    }
    EXPECT_THAT(m_listener.Heard(), SizeIs(2));
}

TEST_F(ProcessRunTest, SaysOfASilenceWhetherAnInitCanExplainIt) {
    ASSERT_NO_FATAL_FAILURE(Start());
    ASSERT_EQ(m_run.Init(Request()), InitStatus::Sent);
    Keep(std::chrono::milliseconds(1));
    EXPECT_TRUE(m_listener.AwaitSilence(true));

    ASSERT_EQ(NextCommand(), 0);
    ASSERT_TRUE(SendInitAnswer(0));
    ASSERT_THAT(m_listener.Await(1), SizeIs(1));
    EXPECT_TRUE(m_listener.AwaitSilence(false)) << "of a process that has answered";
}

// An Init that is not sent must not make the guard of the flag forget that the last frame was inferred.
class InitThatIsNotSent : public ProcessRunTest {
 protected:
    void ExpectThatTheFlagCanGo() {
        ASSERT_EQ(Submit(2, Skipping::Off), SubmitStatus::Sent);
        EXPECT_FALSE(TakeFrame());
        EXPECT_TRUE(m_run.AwaitInit(std::chrono::milliseconds(0))) << "no answer is waited for";
    }
    void InferOne() {
        ASSERT_NO_FATAL_FAILURE(StartInferring());
        ASSERT_NO_FATAL_FAILURE(Infer(1, Skipping::Allowed));
        ASSERT_EQ(m_listener.Await(2).back(), "result 1 status 0 mask 36864 temporal");
    }
};

TEST_F(InitThatIsNotSent, ForATextThatIsTooLongChangesNothing) {
    ASSERT_NO_FATAL_FAILURE(InferOne());
    EngineRequest tooLong = Request();
    tooLong.modelPath.assign(1024, 'x');
    EXPECT_EQ(m_run.Init(tooLong), InitStatus::BadRequest);
    ASSERT_NO_FATAL_FAILURE(ExpectThatTheFlagCanGo());
}

TEST_F(InitThatIsNotSent, ForWantOfRoomChangesNothing) {
    ASSERT_NO_FATAL_FAILURE(InferOne());
    for (int beat = 0; beat < 40; ++beat)
        ASSERT_TRUE(SendHeartBeat());                                            // the answers stay where they are
    ASSERT_TRUE(SendEvent([](calyr_ipc::EventSlot& slot) { slot.index = 2; }));  // behind the last of them
    ASSERT_THAT(m_listener.Await(3), SizeIs(3));
    EXPECT_EQ(m_run.Init(Request()), InitStatus::Full);
    ASSERT_NO_FATAL_FAILURE(ExpectThatTheFlagCanGo());
}

TEST_F(InitThatIsNotSent, IsToldFromOneThatIs) {
    ASSERT_NO_FATAL_FAILURE(InferOne());
    ASSERT_EQ(m_run.Init(Request()), InitStatus::Sent);
    ASSERT_EQ(Submit(2, Skipping::Off), SubmitStatus::Sent);
    EXPECT_TRUE(TakeFrame()) << "from now on another engine may be at work";
}

}  // namespace
}  // namespace velmo_parent
