#include "velmo_run/frame_belt.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <sstream>
#include <thread>

#include "velmo_run/interrupt.h"
#include "velmo_run/open_media.h"
#include "velmo_run/process_watcher.h"
#include "velmo_run/progress.h"
#include "velmo_run/reader_stage.h"
#include "velmo_run/run_journal.h"
#include "velmo_run/stop_sign.h"
#include "velmo_run/written_frames_log.h"

namespace run_tests {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;
using velmo_run::FrameBelt;
using velmo_run::Progress;
using velmo_run::ProgressForm;
using velmo_run::Stage;
using Look = FrameBelt::Look;

TEST(FrameBelt, TakesEachFrameThroughAllStagesInOrder) {
    FrameBelt belt(3);
    constexpr std::uint64_t kFrames = 1000;
    const auto work = [&](Stage stage, auto action) {
        std::uint64_t frame = 0;
        for (Look look = belt.Await(stage, 60s); look == Look::Ready; look = belt.Await(stage, 60s)) {
            if (!action(belt.Next(stage), frame)) break;
            belt.Complete(stage);
            ++frame;
        }
        belt.Close(stage);
    };
    const auto check = [&](velmo_run::FrameSlot& slot, std::uint64_t frame) {
        EXPECT_EQ(slot.record.index, frame);
        return true;
    };
    std::thread submit([&] { work(Stage::Submit, check); });
    std::thread answer([&] { work(Stage::Answer, check); });
    std::thread write([&] { work(Stage::Write, check); });
    work(Stage::Read, [&](velmo_run::FrameSlot& slot, std::uint64_t frame) {
        slot.record.index = frame;
        return frame < kFrames;
    });
    submit.join();
    answer.join();
    write.join();
    EXPECT_EQ(belt.Completed(Stage::Write), kFrames);
}

TEST(FrameBelt, ReadsNoMoreThanItHasSlots) {
    FrameBelt belt(2);
    belt.Complete(Stage::Read);
    EXPECT_EQ(belt.Await(Stage::Read, 0ms), Look::Ready);
    belt.Complete(Stage::Read);
    EXPECT_EQ(belt.Await(Stage::Read, 0ms), Look::NotYet);
    for (const Stage stage : {Stage::Submit, Stage::Answer, Stage::Write}) {
        EXPECT_EQ(belt.Await(Stage::Read, 0ms), Look::NotYet);
        belt.Complete(stage);
    }
    EXPECT_EQ(belt.Await(Stage::Read, 0ms), Look::Ready);
}

TEST(FrameBelt, EndsAStageBehindAClosedOneOnceItHasDoneWhatIsLeft) {
    FrameBelt belt(2);
    belt.Complete(Stage::Read);
    belt.Close(Stage::Read);
    EXPECT_EQ(belt.Await(Stage::Submit, 0ms), Look::Ready);
    belt.Complete(Stage::Submit);
    EXPECT_EQ(belt.Await(Stage::Submit, 0ms), Look::Ended);
    EXPECT_EQ(belt.Await(Stage::Answer, 0ms), Look::Ready);
    belt.Close(Stage::Answer);
    EXPECT_EQ(belt.Await(Stage::Write, 0ms), Look::Ended);
}

TEST(FrameBelt, AsksForNoMoreFramesOnceNoneCanBeWritten) {
    FrameBelt belt(2);
    belt.Close(Stage::Write);
    EXPECT_EQ(belt.Await(Stage::Read, 0ms), Look::Ended);
}

TEST(FrameBelt, TellsHowManyFramesAreOnTheirWay) {
    FrameBelt belt(4);
    EXPECT_TRUE(belt.AwaitFewerInFlight(1, 0ms));
    belt.Complete(Stage::Read);
    belt.Complete(Stage::Submit);
    EXPECT_FALSE(belt.AwaitFewerInFlight(1, 0ms));
    EXPECT_TRUE(belt.AwaitFewerInFlight(2, 0ms));
    belt.Complete(Stage::Answer);
    EXPECT_TRUE(belt.AwaitFewerInFlight(1, 0ms));
}

// Pictures of one grey pixel: the frame's number.
class CountingSource final : public velmo_media::FrameSource {
 public:
    explicit CountingSource(int failsAt) : m_failsAt(failsAt) {
        m_format.pixels = {velmo_media::ColourModel::Grey, 0, 0, velmo_media::ColourRange::Full};
        m_format.size = {1, 1};
    }

    const velmo_media::VideoFormat& Format() const override { return m_format; }
    bool Next(velmo_media::Picture& picture) override {
        if (m_next == m_failsAt) throw std::runtime_error("frame " + std::to_string(m_next) + " is damaged");
        picture.Reset(m_format.pixels, m_format.size);
        picture.Bytes()[0] = static_cast<std::uint8_t>(m_next++);
        return true;
    }

 private:
    velmo_media::VideoFormat m_format;
    int m_failsAt;
    int m_next = 0;
};

class Reading : public testing::Test {
 protected:
    void Read(int failsAt, std::optional<std::uint64_t> most) {
        CountingSource source(failsAt);
        velmo_media::ModelFit fit(source.Format().pixels, {1, 1}, {4, 2});
        velmo_run::ReadFrames(source, fit, {4, 2}, most, m_belt, m_failed, m_stop);
    }

    FrameBelt m_belt{10};
    velmo_run::StopSign m_failed;
    velmo_run::StopSign m_stop;
};

TEST_F(Reading, MakesThePlanesAndNumbersTheFrames) {
    Read(100, 3);
    EXPECT_EQ(m_belt.Completed(Stage::Read), 3u);
    EXPECT_EQ(m_belt.Await(Stage::Submit, 0ms), Look::Ready);
    m_belt.Complete(Stage::Submit);
    const auto& second = m_belt.Next(Stage::Submit);
    EXPECT_EQ(second.record.index, 1u);
    EXPECT_THAT(second.planes[2], testing::ElementsAre(0, 1, 1, 0, 0, 1, 1, 0));
    EXPECT_FALSE(m_failed.IsRaised());
}

TEST_F(Reading, KeepsTheFramesBeforeOneThatIsDamaged) {
    Read(2, std::nullopt);
    EXPECT_EQ(m_belt.Completed(Stage::Read), 2u);
    EXPECT_EQ(m_failed.Why(), "frame 2 is damaged");
    m_belt.Complete(Stage::Submit);
    EXPECT_EQ(m_belt.Await(Stage::Submit, 0ms), Look::Ready);
    m_belt.Complete(Stage::Submit);
    EXPECT_EQ(m_belt.Await(Stage::Submit, 0ms), Look::Ended);
}

TEST_F(Reading, StopsWhenNothingIsGoingToBeWritten) {
    m_belt.Close(Stage::Write);
    Read(100, std::nullopt);
    EXPECT_EQ(m_belt.Completed(Stage::Read), 0u);
}

TEST_F(Reading, StopsAtTheSign) {
    m_stop.Raise("enough");
    Read(100, std::nullopt);
    EXPECT_EQ(m_belt.Completed(Stage::Read), 0u);
    EXPECT_TRUE(m_belt.AwaitClosed(Stage::Read, 0ms));
}

TEST(FrameBelt, TellsWhenAStageHasCompletedAnotherFrame) {
    FrameBelt belt(2);
    EXPECT_FALSE(belt.AwaitMore(Stage::Answer, 0, 0ms));
    belt.Complete(Stage::Answer);
    EXPECT_TRUE(belt.AwaitMore(Stage::Answer, 0, 0ms));
    EXPECT_FALSE(belt.AwaitMore(Stage::Answer, 1, 0ms));
    std::thread other([&] { belt.Complete(Stage::Answer); });
    EXPECT_TRUE(belt.AwaitMore(Stage::Answer, 1, 60s));
    other.join();
}

velmo_run::FrameSlot SlotOf(std::uint64_t frame) {
    velmo_run::FrameSlot slot;
    slot.record.index = frame;
    return slot;
}

TEST(WrittenFramesLog, KeepsNoFrameBehindItsClose) {
    velmo_run::WrittenFramesLog log(false);
    const auto begin = std::chrono::steady_clock::now() - 1h;
    EXPECT_EQ(log.LastAt(begin), begin);
    log.OnWritten(SlotOf(0), nullptr, nullptr);
    log.Close();
    const auto last = log.LastAt(begin);
    EXPECT_GT(last, begin);
    log.OnWritten(SlotOf(1), nullptr, nullptr);
    EXPECT_EQ(log.Records().size(), 1U);
    EXPECT_EQ(log.Written(), 1U);
    EXPECT_EQ(log.LastAt(begin), last);
}

TEST(WrittenFramesLog, WantsPicturesOnlyWhereASheetIsKept) {
    EXPECT_TRUE(velmo_run::WrittenFramesLog(true).WantsPictures(0));
    EXPECT_FALSE(velmo_run::WrittenFramesLog(false).WantsPictures(0));
}

class Watching : public testing::Test {
 protected:
    velmo_run::FrameBelt m_belt{2};
    velmo_run::RunJournal m_journal;
    velmo_run::StopSign m_stop;
    velmo_run::ProcessWatcher m_watcher{4, m_belt, m_journal, m_stop};
};

TEST_F(Watching, GivesUpASilentProcessOnceItHasAnsweredItsFirstInit) {
    m_watcher.OnSilence({1h, true});
    EXPECT_FALSE(m_stop.IsRaised()) << "a first engine may take long";
    m_watcher.OnInit({});
    m_watcher.OnSilence({29'999ms, false});
    EXPECT_FALSE(m_stop.IsRaised());
    m_watcher.OnSilence({30s, true});
    EXPECT_EQ(m_stop.Why(), "the process has said nothing for 30 seconds");
}

TEST_F(Watching, KeepsTheFirstTimeThatInferenceFailsAndNotWhatTheCallerWished) {
    using Cause = velmo_parent::StaleMasks::Cause;
    m_watcher.OnMasksStale({Cause::FrozenByCaller, 18, 1s});
    EXPECT_EQ(m_journal.InferenceFailure(), std::nullopt);
    m_watcher.OnMasksStale({Cause::InferenceFails, 18, 1s});
    m_belt.Complete(Stage::Answer);
    m_watcher.OnMasksStale({Cause::InferenceFails, 18, 1s});
    EXPECT_EQ(m_journal.InferenceFailure(), 0U);
}

// The handler that is set now.
auto InterruptHandler() {
    const auto handler = std::signal(SIGINT, SIG_IGN);
    (void)std::signal(SIGINT, handler);
    return handler;
}

TEST(InterruptShield, LeavesTheSecondInterruptAsTheOneThatEndsTheProgram) {
    const velmo_run::InterruptWatch watch;
    {
        const velmo_run::InterruptShield shield;
        EXPECT_EQ(InterruptHandler(), SIG_IGN);
    }
    EXPECT_NE(InterruptHandler(), SIG_IGN);
    EXPECT_NE(InterruptHandler(), SIG_DFL);
    (void)std::raise(SIGINT);
    EXPECT_TRUE(velmo_run::InterruptWatch::Interrupted());
    { const velmo_run::InterruptShield shield; }
    EXPECT_EQ(InterruptHandler(), SIG_DFL);
}

TEST(IsSamePlace, KnowsAPlaceByEveryNameAlsoBeforeItIsThere) {
    using velmo_run::IsSamePlace;
    EXPECT_TRUE(IsSamePlace("nowhere/out", "nowhere/./out"));
    EXPECT_TRUE(IsSamePlace("nowhere/out", "nowhere/out/"));
    EXPECT_TRUE(IsSamePlace("./nowhere.y4m", "nowhere.y4m"));
    EXPECT_TRUE(IsSamePlace("nowhere/../out", "out"));
    EXPECT_FALSE(IsSamePlace("nowhere/out", "out"));
    EXPECT_FALSE(IsSamePlace("-", "-")) << "in and out are two";
}

TEST(StopSign, KeepsTheFirstReason) {
    velmo_run::StopSign sign;
    EXPECT_FALSE(sign.IsRaised());
    sign.Raise("the first");
    sign.Raise("the second");
    EXPECT_TRUE(sign.IsRaised());
    EXPECT_EQ(sign.Why(), "the first");
}

TEST(Progress, IsALineNowAndThenWhereNoTerminalIs) {
    std::ostringstream out;
    const Progress::Time begin{};
    Progress progress(out, ProgressForm::Lines, 200, begin);
    progress.Update({10, 0}, begin + 1999ms);
    EXPECT_EQ(out.str(), "");
    progress.Update({50, 20}, begin + 2s);
    EXPECT_EQ(out.str(), "velmo: 50 of 200 frames, 25.0 per second, 40 % with an older mask\n");
    progress.Update({60, 20}, begin + 3s);
    progress.End();
    EXPECT_THAT(out.str(), testing::Not(HasSubstr("60 of")));
}

TEST(Progress, IsABarOnATerminal) {
    std::ostringstream out;
    const Progress::Time begin{};
    Progress progress(out, ProgressForm::Bar, 200, begin);
    progress.Update({100, 25}, begin + 1s);
    EXPECT_EQ(out.str(), "\r[########........] 100 of 200 frames, 100.0 per second, 25 % with an older mask");
    EXPECT_THAT(out.str(), testing::Not(HasSubstr("\n")));
    progress.End();
    EXPECT_THAT(out.str(), testing::EndsWith("\n"));
}

TEST(Progress, HasNoBarWhereNobodyKnowsHowMuchThereIs) {
    std::ostringstream out;
    const Progress::Time begin{};
    Progress progress(out, ProgressForm::Bar, std::nullopt, begin);
    progress.Update({0, 0}, begin + 100ms);
    EXPECT_THAT(out.str(), testing::StartsWith("\r0 frames, 0.0 per second "));
    progress.Update({400, 0}, begin + 199ms);
    EXPECT_THAT(out.str(), testing::Not(HasSubstr("400")));
}

}  // namespace
}  // namespace run_tests
