#include "velmo_run/progress.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

namespace run_tests {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::SizeIs;
using testing::StartsWith;
using velmo_run::Progress;
using velmo_run::ProgressForm;
using namespace std::chrono_literals;

constexpr Progress::Time kBegin{};
constexpr std::size_t kColumns = 79;  // what a terminal of 80 takes without a second line

// What is written behind each "\r".
std::vector<std::string> BarsOf(const std::string& text) {
    std::vector<std::string> bars;
    for (std::size_t at = text.find('\r'); at != std::string::npos;) {
        const std::size_t end = text.find('\r', at + 1);
        bars.push_back(text.substr(at + 1, end == std::string::npos ? end : end - at - 1));
        at = end;
    }
    return bars;
}

TEST(Progress, HasABarThatNeverBreaksALineOfEightyColumns) {
    constexpr std::uint64_t kMost = std::numeric_limits<std::uint64_t>::max();
    for (const std::optional<std::uint64_t> total :
         {std::optional<std::uint64_t>(), std::optional<std::uint64_t>(0), std::optional<std::uint64_t>(5678),
          std::optional<std::uint64_t>(123'456'789), std::optional(kMost)}) {
        for (const std::uint64_t written : {std::uint64_t{0}, std::uint64_t{1}, std::uint64_t{1234},
                                            std::uint64_t{12'345'678}, std::uint64_t{123'456'789'012'345}, kMost}) {
            for (const auto passed : {std::chrono::nanoseconds(100ms), std::chrono::nanoseconds(1000h)}) {
                std::ostringstream out;
                Progress progress(out, ProgressForm::Bar, total, kBegin);
                progress.Update({written, written}, kBegin + passed);
                EXPECT_THAT(BarsOf(out.str()), ElementsAre(SizeIs(kColumns)));
                EXPECT_THAT(out.str(), HasSubstr(std::to_string(written)));
            }
        }
    }
}

TEST(Progress, ShowsTheShareThatIsDoneBesideTheCounts) {
    std::ostringstream out;
    Progress progress(out, ProgressForm::Bar, 200, kBegin);
    progress.Update({100, 25}, kBegin + 2s);
    const auto bars = BarsOf(out.str());
    ASSERT_THAT(bars, SizeIs(1));
    EXPECT_THAT(bars[0], HasSubstr("] 100 of 200 frames, 50.0 per second, 25 % with an older mask"));
    const std::size_t end = bars[0].find(']');
    const std::string bar = bars[0].substr(1, end - 1);
    EXPECT_EQ(bar, std::string(bar.size() / 2, '#') + std::string(bar.size() - bar.size() / 2, '.'));
    EXPECT_GE(bar.size(), 10U);
}

TEST(Progress, LeavesOutOfABarWhatFindsNoRoom) {
    std::ostringstream out;
    Progress progress(out, ProgressForm::Bar, std::numeric_limits<std::uint64_t>::max(), kBegin);
    progress.Update({std::numeric_limits<std::uint64_t>::max(), 0}, kBegin + 1h);
    EXPECT_THAT(out.str(), StartsWith("\r18446744073709551615 of 18446744073709551615 frames"));
    EXPECT_THAT(out.str(), Not(HasSubstr("per second"))) << "sixteen digits of it";
}

TEST(Progress, WaitsBetweenUpdatesAndShowsTheFinalCountsInTheEnd) {
    std::ostringstream out;
    Progress progress(out, ProgressForm::Bar, 8, kBegin);
    progress.Update({1, 0}, kBegin + 99ms);
    EXPECT_EQ(out.str(), "");
    progress.Update({2, 0}, kBegin + 100ms);
    progress.Update({8, 4}, kBegin + 199ms);
    EXPECT_THAT(BarsOf(out.str()), SizeIs(1));

    progress.End();
    progress.End();

    const auto bars = BarsOf(out.str());
    ASSERT_THAT(bars, SizeIs(2)) << "one of the end, once";
    EXPECT_THAT(bars[1], StartsWith("[####"));
    EXPECT_THAT(bars[1], HasSubstr("#] 8 of 8 frames, 40.2 per second, 50 % with an older mask"));
    EXPECT_THAT(bars[1], testing::EndsWith("\n"));
    EXPECT_THAT(bars[1], SizeIs(kColumns + 1));
}

TEST(Progress, OfNothingShowsNoBar) {
    std::ostringstream out;
    Progress progress(out, ProgressForm::Bar, 8, kBegin);
    progress.End();
    EXPECT_EQ(out.str(), "");
}

TEST(Progress, InLinesComesEveryTwoSecondsWithoutABar) {
    std::ostringstream out;
    Progress progress(out, ProgressForm::Lines, 8, kBegin);
    progress.Update({1, 0}, kBegin + 1999ms);
    progress.Update({4, 1}, kBegin + 2000ms);
    progress.Update({8, 2}, kBegin + 3999ms);
    progress.End();
    EXPECT_EQ(out.str(), "velmo: 4 of 8 frames, 2.0 per second, 25 % with an older mask\n");
}

}  // namespace
}  // namespace run_tests
