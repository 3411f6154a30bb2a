#include "velmo_parent/pairing.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <deque>
#include <random>
#include <string>
#include <vector>

namespace velmo_parent {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::int64_t kNsPerMs = 1'000'000;
constexpr std::int64_t kDropMs = 500;  // as the process waits for a slot

PendingFrame Tagged(std::uint64_t tag, std::int64_t submittedMs = 0) {
    PendingFrame frame;
    frame.tag = tag;
    frame.submittedNs = submittedMs * kNsPerMs;
    return frame;
}

std::vector<std::uint64_t> LostOf(Pairing& pairing) {
    std::vector<std::uint64_t> tags;
    while (const auto frame = pairing.TakeLost())
        tags.push_back(frame->tag);
    return tags;
}

TEST(Pairing, GivesResultsToFramesInTheirOrder) {
    Pairing pairing;
    for (std::uint64_t tag = 1; tag <= 5; ++tag) {
        EXPECT_TRUE(pairing.HasRoom());
        pairing.Submit(Tagged(tag));
    }
    EXPECT_FALSE(pairing.HasRoom());
    EXPECT_EQ(pairing.Answer()->tag, 1U);
    EXPECT_TRUE(pairing.HasRoom());
    pairing.Submit(Tagged(6));
    for (std::uint64_t tag = 2; tag <= 6; ++tag)
        EXPECT_EQ(pairing.Answer()->tag, tag);
    EXPECT_FALSE(pairing.Answer()) << "a result too many";
}

// Five frames, of which the first three had slots for their results; the last of those is the newest.
class PairingAfterAPause : public testing::Test {
 protected:
    PairingAfterAPause() {
        for (std::uint64_t tag = 1; tag <= 5; ++tag)
            m_pairing.Submit(Tagged(tag, 1000));
    }
    void Give(std::int32_t unfinished, std::int64_t pauseMs, std::int64_t progressMs = 2000) {
        m_pairing.SlotsGiven(3, pauseMs, {5, unfinished}, progressMs * kNsPerMs, 2000 * kNsPerMs);
    }
    void ExpectNothingLost() {
        for (std::uint64_t tag = 1; tag <= 5; ++tag) {
            EXPECT_THAT(LostOf(m_pairing), IsEmpty());
            EXPECT_EQ(m_pairing.Answer()->tag, tag);
        }
    }
    Pairing m_pairing;
};

TEST_F(PairingAfterAPause, LosesNothingWhenThatWasShort) {
    Give(0, Pairing::kSafePauseMs - 1);
    ExpectNothingLost();
}

TEST_F(PairingAfterAPause, LosesTheLastFramesWhenTheProcessHasNothingLeftToDo) {
    Give(0, Pairing::kSafePauseMs);
    EXPECT_THAT(LostOf(m_pairing), IsEmpty()) << "those before have their turn first";
    for (std::uint64_t tag = 1; tag <= 3; ++tag)
        EXPECT_EQ(m_pairing.Answer()->tag, tag);
    EXPECT_THAT(LostOf(m_pairing), ElementsAre(4, 5));
    EXPECT_TRUE(m_pairing.HasRoom());
    m_pairing.Submit(Tagged(6));
    EXPECT_EQ(m_pairing.Answer()->tag, 6U);
}

TEST_F(PairingAfterAPause, LosesNothingWhileTheFrameWithTheLastSlotIsInHand) {
    Give(3, 5000);  // two finished: the third has the slot
    ExpectNothingLost();
}

TEST_F(PairingAfterAPause, GivesUpAllOnTheirWayWhenTheProcessIsAtWork) {
    Give(2, 5000);  // three finished: the fourth may be dropped at this very moment
    EXPECT_FALSE(m_pairing.HasRoom());
    EXPECT_TRUE(m_pairing.IsDiscarding());
    for (std::uint64_t tag = 1; tag <= 3; ++tag)
        EXPECT_EQ(m_pairing.Answer()->tag, tag);
    EXPECT_THAT(LostOf(m_pairing), ElementsAre(4, 5));
    EXPECT_FALSE(m_pairing.Answer()) << "whose it is nobody knows";
    m_pairing.BeforeLook(1);
    m_pairing.AfterLook();
    EXPECT_FALSE(m_pairing.HasRoom());
    m_pairing.BeforeLook(0);
    m_pairing.AfterLook();
    EXPECT_TRUE(m_pairing.HasRoom());
    m_pairing.Submit(Tagged(6));
    EXPECT_EQ(m_pairing.Answer()->tag, 6U);
}

TEST_F(PairingAfterAPause, GivesUpAllWhenWhatItKnowsIsOld) {
    Give(0, 5000, 2000 - Pairing::kSafePauseMs);
    EXPECT_TRUE(m_pairing.IsDiscarding());
}

TEST(PairingOfYoungFrames, LosesNothingWhateverThePause) {
    Pairing pairing;
    pairing.Submit(Tagged(1, 0));
    pairing.Submit(Tagged(2, 2000 - Pairing::kSafePauseMs + 1));
    pairing.SlotsGiven(1, 5000, {2, 1}, 2000 * kNsPerMs, 2000 * kNsPerMs);
    EXPECT_FALSE(pairing.IsDiscarding());
    EXPECT_EQ(pairing.Answer()->tag, 1U);
    EXPECT_EQ(pairing.Answer()->tag, 2U);
}

TEST(PairingOfADeadProcess, GivesAllThatIsLeft) {
    Pairing pairing;
    pairing.Submit(Tagged(1));
    pairing.Submit(Tagged(2));
    EXPECT_EQ(pairing.TakeAny()->tag, 1U);
    EXPECT_EQ(pairing.TakeAny()->tag, 2U);
    EXPECT_FALSE(pairing.TakeAny());
}

// A process and a reader in steps of a millisecond, by chance: the process drops a result that finds no slot for half a
// second; the reader looks when it likes. The two see of each other what they see through the channels.
class Simulation {
 public:
    explicit Simulation(std::uint32_t seed) : m_random(seed) {}

    void Run() {
        for (m_nowMs = 0; m_nowMs < 60'000; ++m_nowMs) {
            StepProcess();
            if (m_nowMs >= m_nextSubmitMs) Submit();
            if (m_nowMs >= m_nextLookMs) Look();
            // The process may come in between.
            StepProcess();
        }
        m_nextLookMs = 0;
        for (; m_nowMs < 80'000; ++m_nowMs) {
            StepProcess();
            if (m_nowMs % 50 == 0) Look();
        }
    }

    std::uint64_t submitted = 0;
    std::vector<std::string> wrong;
    std::uint64_t paired = 0;
    std::uint64_t lost = 0;
    std::uint64_t dropped = 0;

 private:
    int Chance(int below) { return static_cast<int>(m_random() % static_cast<std::uint32_t>(below)); }

    void Submit() {
        m_nextSubmitMs = m_nowMs + Chance(60);
        if (!m_pairing.HasRoom() || m_unfinished.size() == 4) return;
        ++submitted;
        m_pairing.Submit(Tagged(submitted, m_nowMs));
        m_unfinished.push_back(submitted);
    }

    // Infers, then waits for a slot, then hands the frame's own slot back a moment later.
    void StepProcess() {
        if (m_unfinished.empty()) return;
        switch (m_state) {
            case State::Idle:
                m_state = State::Inferring;
                m_untilMs = m_nowMs + Chance(30);
                break;
            case State::Inferring:
                if (m_nowMs < m_untilMs) break;
                m_state = State::Waiting;
                m_untilMs = m_nowMs + kDropMs;
                [[fallthrough]];
            case State::Waiting:
                if (m_freeSlots > 0) {
                    --m_freeSlots;
                    m_state = State::Writing;
                } else if (m_nowMs >= m_untilMs) {
                    ++dropped;
                    m_state = State::Finishing;
                }
                break;
            case State::Writing:
                if (Chance(3) == 0) break;
                m_used.push_back(m_unfinished.front());
                m_state = State::Finishing;
                break;
            case State::Finishing:
                if (Chance(4) == 0) break;  // it may be held up right here
                m_unfinished.pop_front();
                m_state = State::Idle;
                break;
        }
    }

    void Look() {
        // Mostly at once, sometimes very late.
        m_nextLookMs = m_nowMs + (Chance(40) == 0 ? Chance(1600) : Chance(20));
        m_pairing.BeforeLook(static_cast<std::int32_t>(m_unfinished.size()));
        TakeLost();
        while (!m_used.empty()) {
            const std::uint64_t frame = m_used.front();
            m_used.pop_front();
            ++m_aside;
            GiveBack();
            if (const auto answered = m_pairing.Answer()) {
                ++paired;
                if (answered->tag != frame) {
                    wrong.push_back("frame " + std::to_string(answered->tag) + " got the result of " +
                                    std::to_string(frame));
                }
            }
            TakeLost();
        }
        GiveBack();
        m_pairing.AfterLook();
        TakeLost();
    }

    void GiveBack() {
        if (m_freeSlots > 0) {
            m_lastRoomMs = m_nowMs;
            return;
        }
        // The newest one is held back.
        if (m_aside <= 1) return;
        const SendProgress progress{submitted, static_cast<std::int32_t>(m_unfinished.size())};
        m_freeSlots = m_aside - 1;
        m_pairing.SlotsGiven(m_given, m_nowMs - m_lastRoomMs, progress, m_nowMs * kNsPerMs, m_nowMs * kNsPerMs);
        m_given += static_cast<std::uint64_t>(m_freeSlots);
        m_aside = 1;
        m_lastRoomMs = m_nowMs;
    }

    void TakeLost() {
        while (m_pairing.TakeLost())
            ++lost;
    }

    enum class State { Idle, Inferring, Waiting, Writing, Finishing };

    std::mt19937 m_random;
    Pairing m_pairing;
    std::int64_t m_nowMs = 0;
    std::int64_t m_nextSubmitMs = 0;
    std::int64_t m_nextLookMs = 0;
    std::deque<std::uint64_t> m_unfinished;  // frames whose slots the process has not given back
    std::deque<std::uint64_t> m_used;        // results that wait
    int m_freeSlots = 5;
    int m_aside = 0;  // slots that were read
    std::uint64_t m_given = 5;
    std::int64_t m_lastRoomMs = 0;
    std::int64_t m_untilMs = 0;
    State m_state = State::Idle;
};

TEST(PairingByChance, GivesNoFrameAnothersResultAndForgetsNone) {
    std::uint64_t dropped = 0;
    std::uint64_t lost = 0;
    for (std::uint32_t seed = 1; seed <= 200; ++seed) {
        Simulation simulation(seed);
        simulation.Run();
        ASSERT_THAT(simulation.wrong, IsEmpty()) << "seed " << seed;
        EXPECT_EQ(simulation.paired + simulation.lost, simulation.submitted) << "seed " << seed;
        EXPECT_GE(simulation.lost, simulation.dropped) << "seed " << seed;
        dropped += simulation.dropped;
        lost += simulation.lost;
    }
    EXPECT_GT(dropped, 0U) << "nothing was tried";
    // What is given up for want of knowledge is little: four frames at each stop at most.
    EXPECT_LT(lost, 5 * dropped);
}

}  // namespace
}  // namespace velmo_parent
