// Frames through the library and the real process on a scripted library: room, guards, and what becomes of frames that
// get no result.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "parent_fixture.h"
#include "support/allocation_counter.h"
#include "support/event_flag.h"

namespace parent_process_tests {
namespace {

using ::testing::Each;
using ::testing::SizeIs;
using velmo_parent::LossReason;
using velmo_parent::ModelFamily;
using velmo_parent::Writing;

class ParentFrames : public ParentProcess {};

TEST_F(ParentFrames, ComeBackWithTheirTagsAndMasks) {
    ASSERT_NO_FATAL_FAILURE(StartInferring(""));
    ASSERT_NO_FATAL_FAILURE(Stream(1000, 200));
    ExpectResults(1000, 200);
    for (const FrameNews& frame : m_listener.Frames()) {
        EXPECT_EQ(frame.maskBytes, 256U * 144);
        EXPECT_FALSE(frame.isFull);
        EXPECT_GT(frame.latencyNs, 0);
        EXPECT_GE(frame.ageMs, 0);
    }
    const velmo_parent::Counts counts = m_process->CountsSoFar();
    EXPECT_EQ(counts.submitted, 200U);
    EXPECT_EQ(counts.results, 200U);
    EXPECT_EQ(counts.lost, 0U);
    EXPECT_EQ(counts.inFlight, 0U);
    ExpectAGoodEnd();
}

TEST_F(ParentFrames, AreFiveOnTheirWayAtMostAndWhoComesThenIsTold) {
    ASSERT_NO_FATAL_FAILURE(StartInferring("record calls.txt\ngate hvqInfer 1 held"));
    int written = 0;
    const auto submit = [&](std::uint64_t tag) {
        return m_process->Submit({tag, kSmall, Skipping::Off}, [&](FramePlanes& planes) {
            ++written;
            WriteTagged(tag, planes);
        });
    };
    std::uint64_t tag = 1;
    while (submit(tag) == SubmitStatus::Sent)
        ++tag;
    EXPECT_EQ(tag, 5U) << "four slots can be with the process";
    EXPECT_EQ(written, 4);
    EXPECT_EQ(submit(5), SubmitStatus::Full);
    EXPECT_EQ(written, 4) << "a writer without a slot has not run";
    EXPECT_EQ(m_process->CountsSoFar().full, 2U);
    EXPECT_EQ(m_process->CountsSoFar().inFlight, 4U);

    m_library.Put("held.open", "");
    ASSERT_TRUE(m_listener.AwaitFrames(4));
    ASSERT_NO_FATAL_FAILURE(Submit(5));
    ASSERT_TRUE(m_listener.AwaitFrames(5));
    ExpectResults(1, 5);
    ExpectAGoodEnd();
}

TEST_F(ParentFrames, CanBeSubmittedWhereAResultIsTaken) {
    constexpr std::uint64_t kLast = 50;
    m_listener.onResult = [this](const velmo_parent::Result& result) {
        if (result.tag < kLast) {
            EXPECT_EQ(TrySubmit(result.tag + 1), SubmitStatus::Sent);
        }
    };
    ASSERT_NO_FATAL_FAILURE(StartInferring(""));
    ASSERT_EQ(TrySubmit(1), SubmitStatus::Sent);
    ASSERT_TRUE(m_listener.AwaitFrames(kLast));
    ExpectResults(1, kLast);
    ExpectAGoodEnd();
}

TEST_F(ParentFrames, CostNothingWhenTheirWritersDeclineOrThrow) {
    ASSERT_NO_FATAL_FAILURE(StartInferring(""));
    for (std::uint64_t tag = 1; tag <= 20; ++tag) {
        EXPECT_EQ(m_process->Submit({tag, kSmall, Skipping::Off}, [](FramePlanes&) { return Writing::Declined; }),
                  SubmitStatus::Declined);
        EXPECT_THROW((void)m_process->Submit({tag, kSmall, Skipping::Off},
                                             [](FramePlanes&) { throw std::runtime_error("no picture"); }),
                     std::runtime_error);
        ASSERT_NO_FATAL_FAILURE(Stream(tag, 1));
    }
    ExpectResults(1, 20);
    EXPECT_EQ(m_process->CountsSoFar().declined, 20U);
    EXPECT_EQ(m_process->CountsSoFar().submitted, 20U);
    ExpectAGoodEnd();
}

TEST_F(ParentFrames, AreCheckedBeforeASlotIsTouched) {
    ASSERT_NO_FATAL_FAILURE(Start(LayersOf(kSmall)));
    int written = 0;
    const auto submit = [&](FrameSize size) {
        return m_process->Submit({1, size, Skipping::Off}, [&](FramePlanes&) {
            ++written;
            return Writing::Done;
        });
    };
    EXPECT_EQ(submit(kSmall), SubmitStatus::NotReady) << "nobody has asked for an engine";
    EXPECT_EQ(submit({0, 144}), SubmitStatus::WrongSize);
    ASSERT_EQ(Init(Request()), 0);
    for (const FrameSize size : {FrameSize{0, 0}, FrameSize{256, 0}, FrameSize{255, 144}, FrameSize{256, 145}, kLarge,
                                 FrameSize{641, 360}, FrameSize{65536, 65536}, FrameSize{0xFFFFFFFF, 0xFFFFFFFF}}) {
        EXPECT_EQ(submit(size), SubmitStatus::WrongSize) << size.width << " x " << size.height;
    }
    EXPECT_EQ(written, 0);
    ASSERT_NO_FATAL_FAILURE(Submit(1, {144, 256}));  // on its side it is as many pixels
    ASSERT_TRUE(m_listener.AwaitFrames(1));
    ExpectResults(1, 1);
    ExpectAGoodEnd();
}

TEST_F(ParentFrames, AreWrittenIntoPlanesOfTheirSize) {
    ASSERT_NO_FATAL_FAILURE(StartInferring("", kLarge));
    EXPECT_EQ(m_process->Submit({1, kLarge, Skipping::Off},
                                [](FramePlanes& planes) {
                                    EXPECT_THAT(planes, Each(SizeIs(640 * 360)));
                                    EXPECT_EQ(planes[1].data(), planes[0].data() + planes[0].size());
                                    EXPECT_EQ(planes[2].data(), planes[1].data() + planes[1].size());
                                    WriteTagged(1, planes);
                                }),
              SubmitStatus::Sent);
    ASSERT_TRUE(m_listener.AwaitFrames(1));
    ExpectResults(1, 1);
    EXPECT_EQ(m_listener.Frames()[0].maskBytes, 640U * 360);
    ExpectAGoodEnd();
}

void WriteTheFirst(FramePlanes& planes) {
    WriteTagged(1, planes);
}

TEST_F(ParentFrames, CanBeWrittenByFunctionsAndConstantObjects) {
    ASSERT_NO_FATAL_FAILURE(StartInferring(""));
    EXPECT_EQ(m_process->Submit({1, kSmall, Skipping::Off}, WriteTheFirst), SubmitStatus::Sent);
    const auto writer = [](FramePlanes& planes) { WriteTagged(2, planes); };
    EXPECT_EQ(m_process->Submit({2, kSmall, Skipping::Off}, writer), SubmitStatus::Sent);
    ASSERT_TRUE(m_listener.AwaitFrames(2));
    ExpectResults(1, 2);
    ExpectAGoodEnd();
}

TEST_F(ParentFrames, AreNotTakenOutOfAWriter) {
    ASSERT_NO_FATAL_FAILURE(StartInferring(""));
    SubmitStatus inner = SubmitStatus::Sent;
    EXPECT_EQ(m_process->Submit({1, kSmall, Skipping::Off},
                                [&](FramePlanes& planes) {
                                    inner = TrySubmit(2);
                                    WriteTagged(1, planes);
                                }),
              SubmitStatus::Sent);
    EXPECT_EQ(inner, SubmitStatus::NotReady);
    ASSERT_TRUE(m_listener.AwaitFrames(1));
    ExpectAGoodEnd();
}

TEST_F(ParentFrames, OfTheFullFamilyBringEverythingAndCanBeCopied) {
    velmo_parent::ResultCopy copy;
    m_listener.onResult = [&](const velmo_parent::Result& result) { copy.Assign(result); };
    ASSERT_NO_FATAL_FAILURE(StartInferring("fill motion values 7", kSmall, ModelFamily::Calyr));
    ASSERT_NO_FATAL_FAILURE(Stream(1, 3));
    ExpectResults(1, 3);
    ExpectAGoodEnd();
    const velmo_parent::Result result = copy.Get();
    EXPECT_EQ(result.tag, 3U);
    EXPECT_EQ(TagIn(result.mask), 3U);
    ASSERT_NE(result.full, nullptr);
    EXPECT_THAT(result.full->gesture, ::testing::ElementsAre(1, 2, 3, 4, 5, 6, 7, 8, 9));
    EXPECT_EQ(result.full->motion, 0x40E00000U) << "7 as the bits of a float";

    velmo_parent::ResultCopy moved(std::move(copy));
    EXPECT_EQ(TagIn(moved.Get().mask), 3U);
    EXPECT_EQ(moved.Get().full->gesture[8], 9.0F);
}

TEST_F(ParentFrames, AllocateNothingOnceTheyRun) {
    ASSERT_NO_FATAL_FAILURE(StartInferring("quiet"));
    ASSERT_NO_FATAL_FAILURE(Stream(1, 400));
    ExpectResults(1, 400);
    const auto frames = m_listener.Frames();
    // The listener's own list grows at powers of two: between them the thread of the results allocates nothing.
    EXPECT_EQ(frames[380].allocations, frames[270].allocations);
    const std::int64_t before = AllocationCount();
    for (std::uint64_t tag = 401; tag <= 450;) {
        if (TrySubmit(tag) == SubmitStatus::Sent) ++tag;
    }
    EXPECT_EQ(AllocationCount(), before) << "nor does the one that submits";
    ASSERT_TRUE(m_listener.AwaitFrames(450));
    ExpectAGoodEnd();
}

TEST_F(ParentFrames, AreAllPairedWithTheirTags) {
    constexpr std::uint64_t kFrames = VELMOML_PAIRED_FRAMES;
    ASSERT_NO_FATAL_FAILURE(StartInferring("quiet"));
    for (std::uint64_t tag = 1; tag <= kFrames; ++tag)
        ASSERT_NO_FATAL_FAILURE(Submit(tag));
    ASSERT_TRUE(m_listener.AwaitFrames(kFrames));
    ExpectResultsOfAStream(1, kFrames);
    ExpectAGoodEnd();
}

class UndrainedResults : public ParentFrames, public ::testing::WithParamInterface<int> {};

TEST_P(UndrainedResults, AreToldLostAndPairingGoesOn) {
    // The lists of the results stand differently after each frame, and with them how many results find room.
    const auto warmUp = static_cast<std::uint64_t>(GetParam());
    support::EventFlag release;
    std::atomic<std::uint64_t> holdAt{0};
    support::EventFlag held;
    m_listener.onResult = [&](const velmo_parent::Result& result) {
        if (result.tag != holdAt) return;
        held.Set();
        EXPECT_TRUE(release.Wait());
    };
    ASSERT_NO_FATAL_FAILURE(StartInferring(""));
    ASSERT_NO_FATAL_FAILURE(Stream(1, GetParam()));
    holdAt = warmUp + 1;
    std::uint64_t tag = warmUp + 1;
    ASSERT_NO_FATAL_FAILURE(Submit(tag++));
    ASSERT_TRUE(held.Wait());
    for (int frame = 0; frame < 5; ++frame)
        ASSERT_NO_FATAL_FAILURE(Submit(tag++));
    EXPECT_EQ(TrySubmit(999), SubmitStatus::Full);
    ASSERT_TRUE(AwaitIdleProcess());  // it has given up on what found no room
    release.Set();
    ASSERT_TRUE(m_listener.AwaitFrames(tag - 1));
    ASSERT_NO_FATAL_FAILURE(Stream(tag, 30));

    const auto frames = m_listener.Frames();
    ASSERT_EQ(frames.size(), tag + 29);
    std::size_t lost = 0;
    for (std::size_t at = 0; at < frames.size(); ++at) {
        EXPECT_EQ(frames[at].tag, at + 1) << "in order, whatever becomes of them";
        if (frames[at].isLost) {
            ++lost;
            EXPECT_EQ(frames[at].reason, LossReason::Dropped);
            EXPECT_GT(at, warmUp);
            EXPECT_LT(at, tag - 1);
        } else {
            EXPECT_EQ(frames[at].maskTag, at + 1);
        }
    }
    EXPECT_GE(lost, 1U);
    EXPECT_EQ(m_process->CountsSoFar().lost, lost);
    ExpectAGoodEnd();
}

INSTANTIATE_TEST_SUITE_P(After, UndrainedResults, ::testing::Range(0, 5),
                         [](const auto& tested) { return std::to_string(tested.param) + "Frames"; });

TEST_F(ParentFrames, AreNotLostToAReaderThatTakesAQuarterOfASecondForEach) {
    // The first result of all as well: nothing stands in front of it whose slot could go back. Two such callbacks would
    // be too long.
    m_listener.onResult = [](const velmo_parent::Result&) {
        std::this_thread::sleep_for(std::chrono::milliseconds(250));
    };
    ASSERT_NO_FATAL_FAILURE(StartInferring(""));
    constexpr std::uint64_t kFrames = 12;
    for (std::uint64_t tag = 1; tag <= kFrames; ++tag)
        ASSERT_NO_FATAL_FAILURE(Submit(tag));
    ASSERT_TRUE(m_listener.AwaitFrames(kFrames));
    ExpectResultsOfAStream(1, kFrames);
    ExpectAGoodEnd();
}

TEST_F(ParentFrames, NeverGetAnothersMaskFromAReaderThatStutters) {
    // It stops for as long as a drop takes, now shorter and now longer, while the process is at work.
    std::atomic<int> rounds{0};
    m_listener.onResult = [&](const velmo_parent::Result& result) {
        if (result.tag % 7 != 0) return;
        constexpr int kStopsMs[] = {450, 510, 700, 1010, 1100};
        std::this_thread::sleep_for(std::chrono::milliseconds(kStopsMs[++rounds % 5]));
    };
    ASSERT_NO_FATAL_FAILURE(StartInferring("delay hvqInfer %3 40"));
    constexpr std::uint64_t kFrames = 60;
    for (std::uint64_t tag = 1; tag <= kFrames; ++tag)
        ASSERT_NO_FATAL_FAILURE(Submit(tag));
    ASSERT_TRUE(m_listener.AwaitFrames(kFrames));
    ExpectOwnMasksOrLosses(1, kFrames);
    ExpectAGoodEnd();
}

TEST_F(ParentFrames, GoOnBehindALogThatNobodyReadForAWhile) {
    m_options.environment = {{"CALYR_PROFILE_LOG_ROUNDS", "1"}};
    m_options.silence = std::chrono::milliseconds(1500);
    support::EventFlag release;
    std::atomic<bool> hold{false};
    m_listener.onLogLine = [&](const velmo_parent::LogLine&) {
        if (hold) {
            EXPECT_TRUE(release.Wait());
        }
    };
    ASSERT_NO_FATAL_FAILURE(StartInferring(""));
    hold = true;
    const std::size_t silences = m_listener.Silences().size();  // of a slow start
    constexpr std::uint64_t kFrames = 100;
    std::thread sender([&] {
        for (std::uint64_t tag = 1; tag <= kFrames; ++tag)
            ASSERT_NO_FATAL_FAILURE(Submit(tag));
    });
    EXPECT_TRUE(m_listener.AwaitSilences(silences + 1));  // it stands still in a line of its log
    EXPECT_LT(m_listener.FrameCount(), kFrames);
    hold = false;
    release.Set();
    sender.join();
    ASSERT_TRUE(m_listener.AwaitFrames(kFrames));
    ExpectResults(1, kFrames);
    ASSERT_TRUE(m_listener.AwaitNotices<velmo_parent::RoundsSummary>(kFrames));
    ExpectAGoodEnd();
}

TEST_F(ParentFrames, AreEachAnsweredOrLostWhenNeitherResultsNorLogWereRead) {
    m_options.environment = {{"CALYR_PROFILE_LOG_ROUNDS", "1"}};
    m_options.silence = std::chrono::milliseconds(1500);
    support::EventFlag release;
    std::atomic<bool> hold{false};
    const auto wait = [&] {
        if (hold) {
            EXPECT_TRUE(release.Wait());
        }
    };
    m_listener.onLogLine = [&](const velmo_parent::LogLine&) { wait(); };
    m_listener.onResult = [&](const velmo_parent::Result& result) {
        if (result.tag == 30) wait();
    };
    ASSERT_NO_FATAL_FAILURE(StartInferring(""));
    hold = true;
    const std::size_t silences = m_listener.Silences().size();  // of a slow start
    constexpr std::uint64_t kFrames = 60;
    std::thread sender([&] {
        for (std::uint64_t tag = 1; tag <= kFrames; ++tag)
            ASSERT_NO_FATAL_FAILURE(Submit(tag));
    });
    EXPECT_TRUE(m_listener.AwaitSilences(silences + 1));
    hold = false;
    release.Set();
    sender.join();
    ASSERT_TRUE(m_listener.AwaitFrames(kFrames));
    ExpectOwnMasksOrLosses(1, kFrames);
    ExpectAGoodEnd();
}

}  // namespace
}  // namespace parent_process_tests
