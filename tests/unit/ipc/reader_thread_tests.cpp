#include "ipc/reader_thread.h"

#include <atomic>
#include <chrono>
#include <future>
#include <system_error>

#include "channel_fixture.h"
#include "support/std_threads.h"

namespace {

constexpr char kFilled[] = "id_evt_fld";

class ReaderThread : public ChannelTest {
 protected:
    std::shared_ptr<Channel> MakeShared() {
        auto channel = std::make_shared<Channel>(ipc::kReceives, m_os, m_streams);
        EXPECT_TRUE(channel->Open("id"));
        return channel;
    }

    support::StdThreads m_threads;
};

TEST_F(ReaderThread, ShowsEveryMessageToTheVisitor) {
    const auto sender = MakeOpen(ipc::kSends);
    ipc::reader_thread reader(m_threads);
    std::promise<void> third;
    std::atomic<int> sum{0};

    reader.Start(
        MakeShared(),
        [&](const Slot& slot) {
            sum += slot.value;
            if (slot.value == 3) third.set_value();
        },
        5000);
    for (std::int32_t i = 1; i <= 3; ++i) {
        ASSERT_TRUE(m_os.AwaitWaiters(kFilled));  // one at a time: the plain list steps may lose one otherwise
        ASSERT_TRUE(SendValue(*sender, i, false, 5000));
        while (i < 3 && sum < i * (i + 1) / 2)
            std::this_thread::yield();
    }
    third.get_future().wait();
    reader.Stop();

    EXPECT_EQ(sum, 6);
    EXPECT_EQ(m_threads.Joined(), 1);
}

TEST_F(ReaderThread, GoesOnAfterATimeOut) {
    ipc::reader_thread reader(m_threads);
    std::atomic<int> waits{0};
    m_os.OnWait(kFilled, [&] { ++waits; });

    reader.Start(MakeShared(), nullptr, 1);

    while (waits < 3)
        std::this_thread::yield();
    reader.Stop();
    SUCCEED();
}

TEST_F(ReaderThread, HandsItsTimeOutToReceive) {
    ipc::reader_thread reader(m_threads);
    reader.Start(MakeShared(), nullptr, 54321);
    ASSERT_TRUE(m_os.AwaitWaiters(kFilled));
    reader.Stop();

    EXPECT_THAT(m_os.Calls(), testing::Contains("Wait id_evt_fld 54321"));
}

TEST_F(ReaderThread, StopWakesALongWaitAtOnceAndLetsTheChannelGo) {
    ipc::reader_thread reader(m_threads);
    reader.Start(
        MakeShared(), [](const Slot&) {}, platform::kNoTimeLimit);
    ASSERT_TRUE(m_os.AwaitWaiters(kFilled));
    m_os.ForgetCalls();

    reader.Stop();

    EXPECT_THAT(m_os.Calls(), testing::ElementsAre("Set id_evt_fld", "Set id_evt_avl", "CloseEvent id_evt_fld",
                                                   "CloseEvent id_evt_avl", "Unmap id_shm", "CloseMapping id_shm"));
    EXPECT_EQ(m_os.LiveObjects(), 0);
}

TEST_F(ReaderThread, StopOnlyWakesAChannelThatOthersHoldToo) {
    const auto channel = MakeShared();
    ipc::reader_thread reader(m_threads);
    reader.Start(
        channel, [](const Slot&) {}, platform::kNoTimeLimit);

    reader.Stop();

    EXPECT_EQ(channel.use_count(), 1);
    EXPECT_EQ(m_os.LiveObjects(), 3);
}

TEST_F(ReaderThread, StopWaitsForTheVisitorThatRuns) {
    const auto sender = MakeOpen(ipc::kSends);
    ASSERT_TRUE(SendValue(*sender, 1));
    std::promise<void> entered;
    std::atomic<bool> finished{false};
    ipc::reader_thread reader(m_threads);
    reader.Start(
        MakeShared(),
        [&](const Slot&) {
            entered.set_value();
            while (!m_os.IsSet("id_evt_avl"))
                std::this_thread::yield();  // until Stop has begun
            finished = true;
        },
        5000);
    entered.get_future().wait();

    reader.Stop();

    EXPECT_TRUE(finished);
}

TEST_F(ReaderThread, StopIsHarmlessWhenIdleAndWhenRepeated) {
    ipc::reader_thread reader(m_threads);
    reader.Stop();
    reader.Start(MakeShared(), nullptr, 5000);
    reader.Stop();
    reader.Stop();

    EXPECT_EQ(m_threads.Joined(), 1);
}

TEST_F(ReaderThread, StartEndsTheEarlierRunFirst) {
    const auto sender = MakeOpen(ipc::kSends);
    const auto first = MakeShared();
    ipc::reader_thread reader(m_threads);
    reader.Start(first, nullptr, platform::kNoTimeLimit);
    std::promise<std::int32_t> seen;

    reader.Start(
        MakeShared(), [&](const Slot& slot) { seen.set_value(slot.value); }, 5000);

    EXPECT_EQ(first.use_count(), 1);
    EXPECT_EQ(m_threads.Joined(), 1);
    ASSERT_TRUE(SendValue(*sender, 42));
    EXPECT_EQ(seen.get_future().get(), 42);
    reader.Stop();
}

TEST_F(ReaderThread, StartsNoThreadWithoutAChannel) {
    ipc::reader_thread reader(m_threads);

    reader.Start(std::shared_ptr<Channel>(), nullptr, 5000);

    EXPECT_EQ(m_threads.Started(), 0);
}

TEST_F(ReaderThread, WithoutAChannelStillEndsTheEarlierRun) {
    ipc::reader_thread reader(m_threads);
    reader.Start(MakeShared(), nullptr, platform::kNoTimeLimit);

    reader.Start(std::shared_ptr<Channel>(), nullptr, 5000);

    EXPECT_EQ(m_threads.Joined(), 1);
    EXPECT_EQ(m_os.LiveObjects(), 0);
}

TEST_F(ReaderThread, ThrowsWhenThereIsNoThreadAndHoldsTheChannelUntilStop) {
    const auto channel = MakeShared();
    ipc::reader_thread reader(m_threads);
    m_threads.FailNextStart();

    try {
        reader.Start(channel, nullptr, 5000);
        FAIL() << "nothing was thrown";
    } catch (const std::system_error& error) {
        EXPECT_STREQ(error.what(), "resource unavailable try again");
        EXPECT_EQ(error.code(), std::errc::resource_unavailable_try_again);
    }

    EXPECT_EQ(channel.use_count(), 2);
    reader.Stop();
    EXPECT_EQ(channel.use_count(), 1);
}

TEST_F(ReaderThread, CopiesTheVisitor) {
    const auto sender = MakeOpen(ipc::kSends);
    std::promise<std::int32_t> seen;
    ipc::reader_thread reader(m_threads);
    {
        std::function<void(const Slot&)> visitor = [&](const Slot& slot) { seen.set_value(slot.value); };
        reader.Start(MakeShared(), visitor, 5000);
        visitor = nullptr;
    }

    ASSERT_TRUE(SendValue(*sender, 42));

    EXPECT_EQ(seen.get_future().get(), 42);
    reader.Stop();
}

#ifdef GTEST_OS_LINUX  // elsewhere the test library cannot watch a process end

class ReaderThreadDeathTest : public ReaderThread {
 protected:
    void SetUp() override { testing::FLAGS_gtest_death_test_style = "threadsafe"; }

    // Stop on the reader thread itself drops its error and leaves the thread attached.
    void StopFromTheInside(ipc::reader_thread& reader) {
        const auto sender = MakeOpen(ipc::kSends);
        ASSERT_TRUE(SendValue(*sender, 1));
        std::promise<void> stopped;
        reader.Start(
            MakeShared(),
            [&](const Slot&) {
                reader.Stop();
                stopped.set_value();
            },
            5000);
        stopped.get_future().wait();
    }
};

TEST_F(ReaderThreadDeathTest, ThreadThatCouldNotBeJoinedEndsTheProcessInTheDestructor) {
    EXPECT_EXIT(
        {
            std::set_terminate([] { std::_Exit(42); });
            ipc::reader_thread reader(m_threads);
            reader.Start(MakeShared(), nullptr, 5000);
            m_threads.FailNextJoin();
        },
        testing::ExitedWithCode(42), "");
}

TEST_F(ReaderThreadDeathTest, FailedJoinIsDroppedAndTheChannelLetGo) {
    EXPECT_EXIT(
        {
            const auto channel = MakeShared();
            auto* const reader = new ipc::reader_thread(m_threads);
            reader->Start(channel, nullptr, 5000);
            m_threads.FailNextJoin();
            reader->Stop();
            // The thread ends by itself, and needs the channel until then; here it is still held.
            std::_Exit(channel.use_count() == 1 && m_threads.Joined() == 0 ? 43 : 44);
        },
        testing::ExitedWithCode(43), "");
}

// It would find the second message: a woken channel still gives what is queued.
TEST_F(ReaderThreadDeathTest, ThreadThatCouldNotBeJoinedEndsAlsoWhenAStartWithoutAChannelFollows) {
    EXPECT_EXIT(
        {
            const auto sender = MakeOpen(ipc::kSends);
            const auto channel = MakeShared();
            (void)SendValue(*sender, 1);
            (void)SendValue(*sender, 2);
            std::promise<void> entered;
            std::promise<void> mayLeave;
            std::atomic<int> visits{0};
            auto token = std::make_shared<int>();
            const std::weak_ptr<int> running = token;  // gone when the thread has ended
            auto* const reader = new ipc::reader_thread(m_threads);
            reader->Start(
                channel,
                [&, token](const Slot&) {
                    if (++visits > 1) return;
                    entered.set_value();
                    mayLeave.get_future().wait();
                },
                5000);
            token.reset();
            entered.get_future().wait();
            m_threads.FailNextJoin();

            reader->Start(std::shared_ptr<Channel>(), nullptr, 5000);
            mayLeave.set_value();

            while (!running.expired() && visits < 2)
                std::this_thread::yield();
            std::_Exit(visits == 1 ? 43 : 44);
        },
        testing::ExitedWithCode(43), "");
}

TEST_F(ReaderThreadDeathTest, StopOnItsOwnThreadIsDroppedAndTheDestructorEndsTheProcess) {
    EXPECT_EXIT(
        {
            std::set_terminate([] { std::_Exit(42); });
            ipc::reader_thread reader(m_threads);
            StopFromTheInside(reader);
        },
        testing::ExitedWithCode(42), "");
}

TEST_F(ReaderThreadDeathTest, StopOnItsOwnThreadLetsTheChannelGo) {
    EXPECT_EXIT(
        {
            auto* const reader = new ipc::reader_thread(m_threads);
            StopFromTheInside(*reader);
            std::_Exit(m_os.LiveObjects() == 0 ? 43 : 44);
        },
        testing::ExitedWithCode(43), "");
}

TEST_F(ReaderThreadDeathTest, StartWithAThreadStillAttachedEndsTheProcess) {
    EXPECT_EXIT(
        {
            std::set_terminate([] { std::_Exit(42); });
            ipc::reader_thread reader(m_threads);
            StopFromTheInside(reader);
            reader.Start(MakeShared(), nullptr, 5000);
            std::_Exit(44);
        },
        testing::ExitedWithCode(42), "");
}

#endif

}  // namespace
