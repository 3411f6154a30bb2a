// From the start of a process to its end, and to the next one.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <string>
#include <thread>

#include "parent_fixture.h"
#include "platform/module_files.h"
#include "support/event_flag.h"

namespace parent_process_tests {
namespace {

using ::testing::Each;
using ::testing::Field;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using velmo_parent::InitStatus;
using velmo_parent::LossReason;
using velmo_parent::ModelFamily;
using velmo_parent::ModelQuality;
using velmo_parent::ProcessState;

class ParentLife : public ParentProcess {};

std::string OwnProgram() {
    static const int kHere = 0;
    return platform::SystemModuleFiles().FileOf(&kHere).value_or("");
}

TEST_F(ParentLife, BeginsWithAStartAndEndsWithAStop) {
    ASSERT_NO_FATAL_FAILURE(Start(LayersOf(kSmall)));
    EXPECT_EQ(m_process->State(), ProcessState::Running);
    EXPECT_NE(m_process->ProcessId(), 0U);
    EXPECT_THAT(m_process->Id(), HasSubstr(m_options.idPrefix + "-"));
    EXPECT_FALSE(m_process->Start()) << "it runs already";
    const std::uint32_t processId = m_process->ProcessId();

    ExpectAGoodEnd();

    EXPECT_EQ(m_process->State(), ProcessState::NotRunning);
    EXPECT_EQ(m_process->ProcessId(), 0U);
    ASSERT_THAT(m_listener.Ends(), SizeIs(1));
    EXPECT_EQ(m_listener.Ends()[0].processId, processId);
    EXPECT_FALSE(m_process->Stop()) << "there is nothing to stop";
    EXPECT_EQ(TrySubmit(1), SubmitStatus::NotRunning);
    EXPECT_EQ(m_process->Init(Request()), InitStatus::NotRunning);
}

TEST_F(ParentLife, CanBeStoppedAtOnce) {
    for (int round = 0; round < 5; ++round) {
        ASSERT_NO_FATAL_FAILURE(Start(LayersOf(kSmall)));
        ExpectAGoodEnd();
    }
}

TEST_F(ParentLife, OutlastsSixHeartBeats) {
    ASSERT_NO_FATAL_FAILURE(StartInferring(""));
    // Longer than the process would live by itself: what is waited for is that nothing happens.
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(9500);
    std::uint64_t tag = 1;
    while (std::chrono::steady_clock::now() < end)
        ASSERT_NO_FATAL_FAILURE(Stream(tag++, 1));
    EXPECT_THAT(m_listener.Ends(), IsEmpty());
    ExpectAGoodEnd();
}

TEST_F(ParentLife, DoesNotBeginWithoutAProgram) {
    m_options.program = process_tests::ProgramFolder() + "no such program";
    m_process.emplace(m_options, m_listener);
    for (int round = 0; round < 2; ++round) {
        const velmo_parent::Outcome started = m_process->Start();
        ASSERT_FALSE(started);
        EXPECT_THAT(started.Why(), HasSubstr("no such program"));
        EXPECT_EQ(m_process->State(), ProcessState::NotRunning);
    }
    EXPECT_THAT(m_listener.Ends(), IsEmpty());
}

TEST_F(ParentLife, DoesNotBeginWithAnIdThatCanNotBe) {
    m_options.idPrefix = " blank";
    m_process.emplace(m_options, m_listener);
    EXPECT_THAT(m_process->Start().Why(), HasSubstr("white space"));
}

TEST_F(ParentLife, TellsOfAProgramThatEndsAtOnce) {
    m_options.program = OwnProgram();
    m_options.idPrefix = "role exit 3 " + m_options.idPrefix;
    m_process.emplace(m_options, m_listener);
    const velmo_parent::Outcome started = m_process->Start();
    ASSERT_TRUE(started) << started.Why();
    ASSERT_TRUE(m_listener.AwaitEnds(1));
    EXPECT_EQ(m_listener.Ends()[0].code, 3);
    EXPECT_FALSE(m_listener.Ends()[0].wasAsked);
}

TEST_F(ParentLife, TellsOfAProcessThatDiesInAFrameAndRestartsIt) {
    ASSERT_NO_FATAL_FAILURE(StartInferring("exit hvqInfer 3 7"));
    const std::string firstId = m_process->Id();
    ASSERT_NO_FATAL_FAILURE(Stream(1, 2));
    // More may be on their way with it.
    std::uint64_t submitted = 2;
    for (std::uint64_t tag = 3; tag <= 5; ++tag) {
        if (TrySubmit(tag) != SubmitStatus::Sent) break;
        ++submitted;
    }
    ASSERT_TRUE(m_listener.AwaitEnds(1));
    const velmo_parent::ProcessEnd end = m_listener.Ends()[0];
    EXPECT_EQ(end.code, 7);
    EXPECT_FALSE(end.wasAsked);
    EXPECT_EQ(end.framesLost, submitted - 2);
    ASSERT_FALSE(end.lastLines.empty());
    EXPECT_THAT(end.lastLines.back().text, HasSubstr("Infer() TF")) << "the first frame's line was its last";
    const auto frames = m_listener.Frames();
    ASSERT_EQ(frames.size(), submitted);
    for (std::size_t at = 2; at < frames.size(); ++at) {
        EXPECT_EQ(frames[at].tag, at + 1);
        EXPECT_TRUE(frames[at].isLost);
        EXPECT_EQ(frames[at].reason, LossReason::ProcessEnded);
    }

    m_listener.ForgetFrames();
    m_library.Put("hvq.script", LayersOf(kSmall));
    const velmo_parent::Outcome restarted = m_process->Start();
    ASSERT_TRUE(restarted) << restarted.Why();
    EXPECT_NE(m_process->Id(), firstId);
    EXPECT_EQ(TrySubmit(1), SubmitStatus::NotReady) << "the new one has no engine yet";
    ASSERT_EQ(Init(Request()), 0);
    ASSERT_NO_FATAL_FAILURE(Stream(1, 20));
    ExpectResults(1, 20);
    ExpectAGoodEnd();
}

TEST_F(ParentLife, CanBeGivenBackInTheVeryCallThatTellsOfItsEnd) {
    std::atomic<int> starts{1};
    m_listener.onEnded = [&](const velmo_parent::ProcessEnd& end) {
        if (end.wasAsked) return;
        ++starts;
        const velmo_parent::Outcome started = m_process->Start();
        EXPECT_TRUE(started) << started.Why();
    };
    ASSERT_NO_FATAL_FAILURE(StartInferring("exit hvqInfer 1 9"));
    for (std::size_t round = 1; round <= 3; ++round) {
        (void)TrySubmit(1);
        ASSERT_TRUE(m_listener.AwaitEnds(round));
        ASSERT_TRUE(m_listener.AwaitLine("RvoCalyrMlHost::Start(), success", static_cast<int>(round) + 1));
        ASSERT_EQ(Init(Request()), 0);
    }
    EXPECT_EQ(starts, 4);
    (void)m_process->Stop(kPatience);
    m_process.reset();
    EXPECT_EQ(m_listener.Ends().back().code, 0);
}

TEST_F(ParentLife, TellsOfSilenceAndLosesTheFramesOfAProcessThatIsKilled) {
    m_options.silence = std::chrono::milliseconds(2500);
    ASSERT_NO_FATAL_FAILURE(StartInferring("gate hvqInfer 2 never"));
    ASSERT_NO_FATAL_FAILURE(Stream(1, 1));
    const std::size_t before = m_listener.Silences().size();  // a slow start may have been silent, too
    for (std::uint64_t tag = 2; tag <= 4; ++tag)
        ASSERT_NO_FATAL_FAILURE(Submit(tag));
    ASSERT_TRUE(m_listener.AwaitSilences(before + 2));
    EXPECT_GE(m_listener.Silences()[before].duration.count(), 2500);
    EXPECT_GE(m_listener.Silences()[before + 1].duration.count(), 5000);
    EXPECT_FALSE(m_listener.Silences()[before].initIsPending);

    m_process->Kill();

    ASSERT_TRUE(m_listener.AwaitEnds(1));
    EXPECT_TRUE(m_listener.Ends()[0].wasAsked);
    EXPECT_EQ(m_listener.Ends()[0].framesLost, 3U);
    EXPECT_THAT(m_listener.Frames(), SizeIs(4));
    EXPECT_EQ(m_process->CountsSoFar().lost, 3U);
    EXPECT_EQ(m_process->CountsSoFar().inFlight, 0U);
}

TEST_F(ParentLife, SaysOfASilenceThatAnInitCanExplainIt) {
    m_options.silence = std::chrono::milliseconds(1500);
    ASSERT_NO_FATAL_FAILURE(Start(LayersOf(kSmall) + "gate hvqCreateNetByBuiltin 1 held"));
    ASSERT_EQ(m_process->Init(Request()), InitStatus::Sent);
    // A slow start may have been silent, too, and that may be told late.
    std::size_t count = 0;
    do {
        ASSERT_TRUE(m_listener.AwaitSilences(++count));
    } while (!m_listener.Silences()[count - 1].initIsPending);
    EXPECT_GE(m_listener.Silences()[count - 1].duration.count(), 1500);
    m_library.Put("held.open", "");
    ASSERT_TRUE(m_process->AwaitInit(kPatience));
    ExpectAGoodEnd();
}

TEST_F(ParentLife, StopReturnsWhenAnEndThatIsBeingToldHasBeenTold) {
    support::EventFlag told;
    support::EventFlag release;
    std::atomic<bool> isOver{false};
    m_listener.onEnded = [&](const velmo_parent::ProcessEnd&) {
        told.Set();
        EXPECT_TRUE(release.Wait());
        isOver = true;
    };
    ASSERT_NO_FATAL_FAILURE(StartInferring("exit hvqInfer 1 9"));
    (void)TrySubmit(1);
    ASSERT_TRUE(told.Wait());
    std::thread releaser([&] {
        std::this_thread::sleep_for(
            std::chrono::milliseconds(50));  // time for a Stop that does not wait to show itself
        release.Set();
    });
    (void)m_process->Stop(kPatience);
    EXPECT_TRUE(isOver);
    releaser.join();
}

TEST_F(ParentLife, StopKillsAProcessThatHangs) {
    ASSERT_NO_FATAL_FAILURE(StartInferring("record calls.txt\ngate hvqInfer 1 never"));
    ASSERT_NO_FATAL_FAILURE(Submit(1));
    ASSERT_TRUE(process_tests::AwaitFileText(CallsPath(), " hvqInfer "));
    const auto end = m_process->Stop(std::chrono::milliseconds(300));
    ASSERT_TRUE(end);
    EXPECT_TRUE(end->code != 0 || end->signal != 0);
    EXPECT_EQ(end->framesLost, 1U);
}

TEST_F(ParentLife, EndsByItsOwnWatchdogWhenNobodyAnswers) {
    // A callback that does not return holds up the answers as well.
    support::EventFlag release;
    m_listener.onInit = [&] { EXPECT_TRUE(release.Wait()); };
    ASSERT_NO_FATAL_FAILURE(Start(LayersOf(kSmall)));
    ASSERT_EQ(m_process->Init(Request()), InitStatus::Sent);
    ASSERT_TRUE(m_listener.AwaitNotices<velmo_parent::HeartBeatsTimedOut>(1));
    release.Set();
    ASSERT_TRUE(m_listener.AwaitEnds(1));
    EXPECT_EQ(m_listener.Ends()[0].code, -1);
    EXPECT_FALSE(m_listener.Ends()[0].wasAsked);
}

TEST_F(ParentLife, KeepsApartTwoProcessesWhoseIdsBeginAlike) {
    ASSERT_NO_FATAL_FAILURE(StartInferring(""));
    Listener other;
    velmo_parent::ProcessOptions options = m_options;
    options.idPrefix = m_process->Id() + "FI";
    velmo_parent::InferenceProcess second(options, other);
    ASSERT_TRUE(second.Start());
    EXPECT_EQ(second.Id().find(m_process->Id()), 0U);
    ASSERT_EQ(second.Init(Request()), InitStatus::Sent);
    ASSERT_TRUE(second.AwaitInit(kPatience));
    for (std::uint64_t tag = 1; tag <= 100; ++tag) {
        ASSERT_NO_FATAL_FAILURE(Submit(tag));
        while (second.Submit({1000 + tag, kSmall, Skipping::Off},
                             [&](FramePlanes& planes) { WriteTagged(1000 + tag, planes); }) == SubmitStatus::Full)
            std::this_thread::yield();
    }
    ASSERT_TRUE(m_listener.AwaitFrames(100));
    ASSERT_TRUE(other.AwaitFrames(100));
    ExpectResults(1, 100);
    for (std::size_t at = 0; at < 100; ++at)
        EXPECT_EQ(other.Frames()[at].maskTag, 1001 + at);
    ExpectAGoodEnd();
    EXPECT_THAT(other.Ends(), IsEmpty());
    EXPECT_EQ(second.Stop(kPatience)->code, 0);
}

TEST_F(ParentLife, WaitsForFramesOnRequest) {
    ASSERT_NO_FATAL_FAILURE(StartInferring("gate hvqInfer 1 held"));
    EXPECT_TRUE(m_process->AwaitFrames(std::chrono::milliseconds(0))) << "none was sent";
    for (std::uint64_t tag = 1; tag <= 3; ++tag)
        ASSERT_EQ(TrySubmit(tag), SubmitStatus::Sent);
    EXPECT_FALSE(m_process->AwaitFrames(std::chrono::milliseconds(50)));
    m_library.Put("held.open", "");
    EXPECT_TRUE(m_process->AwaitFrames(kPatience));
    ExpectResults(1, 3);
    ExpectAGoodEnd();
}

TEST_F(ParentLife, WaitsForFramesNoLongerThanTheProcessLives) {
    ASSERT_NO_FATAL_FAILURE(StartInferring("gate hvqInfer 1 never"));
    ASSERT_EQ(TrySubmit(1), SubmitStatus::Sent);
    m_process->Kill();
    EXPECT_TRUE(m_process->AwaitFrames(kPatience));
    EXPECT_THAT(m_listener.Frames(), Each(Field(&FrameNews::isLost, true)));
}

TEST_F(ParentLife, RefusesWhatACallbackWouldWaitForItselfWith) {
    std::atomic<int> refused{0};
    m_listener.onResult = [&](const velmo_parent::Result&) {
        if (!m_process->Start() && !m_process->Stop() && !m_process->AwaitInit(kPatience) &&
            !m_process->AwaitFrames(kPatience)) {
            ++refused;
        }
    };
    ASSERT_NO_FATAL_FAILURE(StartInferring(""));
    ASSERT_NO_FATAL_FAILURE(Stream(1, 2));
    EXPECT_EQ(m_process->State(), ProcessState::Running);
    ExpectAGoodEnd();
    EXPECT_EQ(refused, 2);
}

class ParentInit : public ParentProcess {};

TEST_F(ParentInit, IsAnsweredToWhoWaitsAndToTheListener) {
    ASSERT_NO_FATAL_FAILURE(Start(LayersOf(kSmall)));
    EXPECT_FALSE(m_process->AwaitInit(std::chrono::milliseconds(10))) << "none was sent";
    EXPECT_EQ(Init(Request()), 0);
    ExpectAGoodEnd();
    ASSERT_THAT(m_listener.Inits(), SizeIs(1));
    EXPECT_EQ(m_listener.Inits()[0].status, 0);
    EXPECT_EQ(m_listener.Inits()[0].request.family, ModelFamily::Inhouse);
}

TEST_F(ParentInit, IsCheckedBeforeItIsSent) {
    ASSERT_NO_FATAL_FAILURE(Start(LayersOf(kSmall)));
    auto tooLong = Request();
    tooLong.modelPath.assign(1024, 'x');
    EXPECT_EQ(m_process->Init(tooLong), InitStatus::BadRequest);
    auto withNul = Request();
    withNul.enginePath += '\0';
    EXPECT_EQ(m_process->Init(withNul), InitStatus::BadRequest);
    for (const std::int32_t number : {-1, 4}) {
        auto noDevice = Request();
        noDevice.device = static_cast<velmo_parent::Device>(number);
        EXPECT_EQ(m_process->Init(noDevice), InitStatus::BadRequest);
        auto noQuality = Request();
        noQuality.quality = static_cast<ModelQuality>(number);
        EXPECT_EQ(m_process->Init(noQuality), InitStatus::BadRequest);
        auto noFamily = Request();
        noFamily.family = static_cast<ModelFamily>(number);
        EXPECT_EQ(m_process->Init(noFamily), InitStatus::BadRequest);
    }
    EXPECT_EQ(Init(Request()), 0);
    ExpectAGoodEnd();
    EXPECT_THAT(m_listener.Inits(), SizeIs(1)) << "none of the others was sent";
}

TEST_F(ParentInit, ThatFailsLeavesFramesRefusedUntilOneSucceeds) {
    ASSERT_NO_FATAL_FAILURE(Start(LayersOf(kSmall)));
    auto missing = Request();
    missing.enginePath += "/nowhere";
    EXPECT_EQ(Init(missing), 3);
    EXPECT_EQ(TrySubmit(1), SubmitStatus::NotReady);
    EXPECT_EQ(Init(Request()), 0);
    ASSERT_NO_FATAL_FAILURE(Stream(1, 3));
    ExpectResults(1, 3);
    ExpectAGoodEnd();
}

TEST_F(ParentInit, OfAnotherQualityNeedsARestart) {
    ASSERT_NO_FATAL_FAILURE(StartInferring(""));
    EXPECT_EQ(m_process->Init(Request(kLarge)), InitStatus::NeedsRestart);
    EXPECT_EQ(Init(Request(kSmall, ModelFamily::Calyr)), 0) << "another family has a size of its own";
    ASSERT_NO_FATAL_FAILURE(Stream(1, 2));
    ExpectAGoodEnd();
}

TEST_F(ParentInit, OfAnotherQualityWaitsForTheOneThatIsNotAnswered) {
    ASSERT_NO_FATAL_FAILURE(Start(LayersOf(kSmall) + "gate hvqCreateNetByBuiltin 1 held"));
    ASSERT_EQ(m_process->Init(Request()), InitStatus::Sent);
    EXPECT_EQ(m_process->Init(Request(kLarge)), InitStatus::Full);
    EXPECT_EQ(m_process->Init(Request()), InitStatus::Sent);
    m_library.Put("held.open", "");
    const auto answer = m_process->AwaitInit(kPatience);
    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->status, 0);
    EXPECT_EQ(m_process->Init(Request(kLarge)), InitStatus::NeedsRestart);
    ExpectAGoodEnd();
    EXPECT_THAT(m_listener.Inits(), SizeIs(2));
}

TEST_F(ParentInit, WaitsNoLongerThanTheProcessLives) {
    ASSERT_NO_FATAL_FAILURE(Start(LayersOf(kSmall) + "exit hvqCreateNetByBuiltin 1 5"));
    ASSERT_EQ(m_process->Init(Request()), InitStatus::Sent);
    EXPECT_FALSE(m_process->AwaitInit(kPatience));
    ASSERT_TRUE(m_listener.AwaitEnds(1));
    EXPECT_EQ(m_listener.Ends()[0].code, 5);
}

}  // namespace
}  // namespace parent_process_tests
