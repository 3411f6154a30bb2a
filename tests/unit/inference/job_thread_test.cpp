#include "helpers/job_thread.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <system_error>
#include <thread>
#include <vector>

#include "support/event_flag.h"
#include "support/fake_threads.h"
#include "support/watchdog.h"

namespace rvo_calyr {
namespace {

TEST(JobThread, RunsJobsInTheirOrderOnAThreadOfItsOwn) {
    const support::Watchdog watchdog;
    std::vector<int> order;
    std::vector<std::thread::id> threads;
    {
        JobThread jobs(platform::SystemThreads());
        for (int job = 0; job < 100; ++job) {
            jobs.Run([&order, &threads, job] {
                order.push_back(job);
                threads.push_back(std::this_thread::get_id());
            });
        }
    }
    ASSERT_EQ(order.size(), 100U) << "its end waits for all of them";
    for (int job = 0; job < 100; ++job)
        EXPECT_EQ(order[static_cast<std::size_t>(job)], job);
    EXPECT_THAT(threads, ::testing::Each(threads.front()));
    EXPECT_NE(threads.front(), std::this_thread::get_id());
}

TEST(JobThread, RunsAJobAtOnce) {
    const support::Watchdog watchdog;
    support::EventFlag first;
    support::EventFlag second;
    JobThread jobs(platform::SystemThreads());
    jobs.Run([&] { first.Set(); });
    EXPECT_TRUE(first.Wait());
    jobs.Run([&] { second.Set(); });  // after it has had nothing to do
    EXPECT_TRUE(second.Wait());
}

TEST(JobThread, TakesAJobFromAJob) {
    const support::Watchdog watchdog;
    bool hasRun = false;
    {
        JobThread jobs(platform::SystemThreads());
        jobs.Run([&] { jobs.Run([&] { hasRun = true; }); });
    }
    EXPECT_TRUE(hasRun);
}

TEST(JobThread, HasItsThreadBeforeTheFirstJob) {
    support::FakeThreads threads;
    {
        const JobThread jobs(threads);
        EXPECT_EQ(threads.StartedCount(), 1);
    }
    EXPECT_EQ(threads.JoinedCount(), 1);
}

TEST(JobThread, ThrowsWhenTheSystemHasNoThread) {
    support::FakeThreads threads;
    threads.RefuseNextStart();
    try {
        const JobThread jobs(threads);
        FAIL() << "should have thrown";
    } catch (const std::system_error& error) {
        EXPECT_EQ(error.code(), std::errc::resource_unavailable_try_again);
    }
}

}  // namespace
}  // namespace rvo_calyr
