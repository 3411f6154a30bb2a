// Whether a mask is new, and the flag that could freeze it, with the real process.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <thread>

#include "parent_fixture.h"
#include "support/event_flag.h"

namespace parent_process_tests {
namespace {

using ::testing::IsEmpty;
using ::testing::SizeIs;
using velmo_parent::StaleMasks;

class Freshness : public ParentProcess {
 protected:
    // One at a time and more than a millisecond apart, so that no two masks have one stamp.
    void StreamApart(std::uint64_t first, int count, Skipping skipping) {
        for (int frame = 0; frame < count; ++frame) {
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
            ASSERT_NO_FATAL_FAILURE(Stream(first + static_cast<std::uint64_t>(frame), 1, kSmall, skipping));
        }
    }
};

// An empty mask has no edge to compare: all frames that may be skipped are.
constexpr char kEmptyMask[] = "fill segmentation constant 0\n";

TEST_F(Freshness, TellsNewMasksFromThoseUsedAgain) {
    ASSERT_NO_FATAL_FAILURE(StartInferring(kEmptyMask));
    ASSERT_NO_FATAL_FAILURE(StreamApart(1, 60, Skipping::Allowed));
    const auto frames = m_listener.Frames();
    ASSERT_EQ(frames.size(), 60U);
    for (std::size_t at = 0; at < frames.size(); ++at) {
        EXPECT_EQ(frames[at].isReused, at % 18 != 0) << at;
        EXPECT_TRUE(frames[at].temporal);
        // Each lies two milliseconds at least behind the one before it.
        EXPECT_GE(frames[at].ageMs, 2 * static_cast<std::int64_t>(at % 18) - 1);
    }
    EXPECT_THAT(m_listener.Stales(), IsEmpty()) << "skipping explains it";
    EXPECT_EQ(m_process->CountsSoFar().reused, 56U);
    ExpectAGoodEnd();
}

TEST_F(Freshness, TellsOfAnInferenceThatFailsAgainAndAgainAndOfItsRecovery) {
    std::string script;
    for (int call = 3; call <= 40; ++call)
        script += "fail hvqInfer " + std::to_string(call) + " broken\n";
    ASSERT_NO_FATAL_FAILURE(StartInferring(script));
    ASSERT_NO_FATAL_FAILURE(StreamApart(1, 2 + 17, Skipping::Off));
    EXPECT_THAT(m_listener.Stales(), IsEmpty()) << "skipping could explain 17";
    ASSERT_NO_FATAL_FAILURE(StreamApart(20, 1, Skipping::Off));
    ASSERT_NO_FATAL_FAILURE(StreamApart(21, 10, Skipping::Off));
    ASSERT_THAT(m_listener.Stales(), SizeIs(1)) << "told once";
    EXPECT_EQ(m_listener.Stales()[0].cause, StaleMasks::Cause::InferenceFails);
    EXPECT_EQ(m_listener.Stales()[0].frames, 18);
    EXPECT_GE(m_listener.Stales()[0].age.count(), 34);
    EXPECT_EQ(m_listener.Recoveries(), 0);

    ASSERT_NO_FATAL_FAILURE(StreamApart(31, 15, Skipping::Off));
    EXPECT_EQ(m_listener.Recoveries(), 1);
    EXPECT_THAT(m_listener.Stales(), SizeIs(1));
    ExpectAGoodEnd();
}

TEST_F(Freshness, KeepsTheFlagUntilClearingItFreezesNothing) {
    ASSERT_NO_FATAL_FAILURE(StartInferring(kEmptyMask));
    ASSERT_NO_FATAL_FAILURE(StreamApart(1, 5, Skipping::Allowed));  // the last four are skipped
    ASSERT_NO_FATAL_FAILURE(StreamApart(6, 40, Skipping::Off));
    const auto frames = m_listener.Frames();
    ASSERT_EQ(frames.size(), 45U);
    // The 18th skip is forced to be an inference: the 19th frame. From the next on the flag can go.
    for (std::size_t at = 5; at < 19; ++at)
        EXPECT_TRUE(frames[at].temporal) << at;
    EXPECT_FALSE(frames[18].isReused);
    for (std::size_t at = 19; at < frames.size(); ++at) {
        EXPECT_FALSE(frames[at].temporal) << at;
        EXPECT_FALSE(frames[at].isReused) << at;
    }
    ExpectAGoodEnd();
}

TEST_F(Freshness, ClearsTheFlagAtOnceWhereNothingWasSkipped) {
    ASSERT_NO_FATAL_FAILURE(StartInferring(""));
    ASSERT_NO_FATAL_FAILURE(StreamApart(1, 1, Skipping::Allowed));
    ASSERT_NO_FATAL_FAILURE(StreamApart(2, 3, Skipping::Off));
    for (std::size_t at = 1; at < 4; ++at)
        EXPECT_FALSE(m_listener.Frames()[at].temporal);
    ExpectAGoodEnd();
}

TEST_F(Freshness, ClearsTheFlagBehindAnInitThatWasNotSent) {
    ASSERT_NO_FATAL_FAILURE(StartInferring(""));
    ASSERT_NO_FATAL_FAILURE(StreamApart(1, 1, Skipping::Allowed));
    auto tooLong = Request();
    tooLong.modelPath.assign(1024, 'x');
    ASSERT_EQ(m_process->Init(tooLong), velmo_parent::InitStatus::BadRequest);
    ASSERT_NO_FATAL_FAILURE(StreamApart(2, 1, Skipping::Off));
    EXPECT_FALSE(m_listener.Frames()[1].temporal);
    ExpectAGoodEnd();
}

TEST_F(Freshness, FreezesTheMaskWhenTheCallerInsistsAndSaysSo) {
    ASSERT_NO_FATAL_FAILURE(StartInferring(kEmptyMask));
    ASSERT_NO_FATAL_FAILURE(StreamApart(1, 2, Skipping::Allowed));  // the second is skipped
    ASSERT_NO_FATAL_FAILURE(StreamApart(3, 30, Skipping::OffEvenIfFrozen));
    const auto frames = m_listener.Frames();
    for (std::size_t at = 2; at < frames.size(); ++at) {
        EXPECT_FALSE(frames[at].temporal) << at;
        EXPECT_TRUE(frames[at].isReused) << at;
    }
    ASSERT_THAT(m_listener.Stales(), SizeIs(1));
    EXPECT_EQ(m_listener.Stales()[0].cause, StaleMasks::Cause::FrozenByCaller);
    ExpectAGoodEnd();
}

TEST_F(Freshness, WaitsWithTheFlagForWhatIsOnItsWay) {
    ASSERT_NO_FATAL_FAILURE(StartInferring("gate hvqInfer 1 held"));
    ASSERT_NO_FATAL_FAILURE(Submit(1, kSmall, Skipping::Allowed));
    bool written = false;
    EXPECT_EQ(m_process->Submit({2, kSmall, Skipping::Off}, [&](FramePlanes&) { written = true; }),
              SubmitStatus::Settling);
    EXPECT_FALSE(written);
    EXPECT_EQ(TrySubmit(2, kSmall, Skipping::Allowed), SubmitStatus::Sent);
    EXPECT_EQ(TrySubmit(3, kSmall, Skipping::OffEvenIfFrozen), SubmitStatus::Sent);
    m_library.Put("held.open", "");
    ASSERT_TRUE(m_listener.AwaitFrames(3));
    ASSERT_NO_FATAL_FAILURE(Submit(4, kSmall, Skipping::Off));
    ASSERT_TRUE(m_listener.AwaitFrames(4));
    ExpectAGoodEnd();
}

}  // namespace
}  // namespace parent_process_tests
