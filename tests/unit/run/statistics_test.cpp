#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <numeric>
#include <vector>

#include "velmo_report/contact_sheet.h"
#include "velmo_report/distribution.h"
#include "velmo_report/timeline.h"

namespace run_tests {
namespace {

using testing::ElementsAre;
using velmo_report::ContactSheet;
using velmo_report::Distribution;
using velmo_report::DistributionOf;
using velmo_report::FrameOutcome;
using velmo_report::FrameRecord;
using velmo_report::Histogram;
using velmo_report::HistogramOf;
using velmo_report::Timeline;
using velmo_report::TimelineOf;

std::vector<float> Numbers(int count) {
    std::vector<float> numbers(static_cast<std::size_t>(count));
    std::iota(numbers.rbegin(), numbers.rend(), 1.0F);
    return numbers;
}

TEST(Distribution, TakesPercentilesFromTheNumbersThemselves) {
    const Distribution of100 = DistributionOf(Numbers(100));
    EXPECT_EQ(of100.count, 100u);
    EXPECT_EQ(of100.min, 1);
    EXPECT_EQ(of100.mean, 50.5);
    EXPECT_EQ(of100.p50, 50);
    EXPECT_EQ(of100.p95, 95);
    EXPECT_EQ(of100.p99, 99);
    EXPECT_EQ(of100.max, 100);
    const Distribution of3 = DistributionOf({3, 1, 2});
    EXPECT_EQ(of3.p50, 2);
    EXPECT_EQ(of3.p95, 3);
    EXPECT_EQ(of3.p99, 3);
}

TEST(Distribution, OfNothingIsAllZero) {
    const Distribution none = DistributionOf({});
    EXPECT_EQ(none.count, 0u);
    EXPECT_EQ(none.max, 0);
    EXPECT_TRUE(HistogramOf({}).bins.empty());
}

TEST(Histogram, CountsEveryNumberOnceInBinsThatAreEasyToRead) {
    const Histogram histogram = HistogramOf(Numbers(100));
    EXPECT_EQ(histogram.binWidth, 5);  // of 2 it would be 51, for 100 at the beginning of the last
    EXPECT_EQ(histogram.bins.size(), 21u);
    EXPECT_EQ(histogram.bins.front(), 4u);  // 1 to 4
    EXPECT_EQ(histogram.bins[1], 5u);       // 5 to 9
    EXPECT_EQ(histogram.bins.back(), 1u);   // 100
    EXPECT_EQ(std::accumulate(histogram.bins.begin(), histogram.bins.end(), std::uint64_t{0}), 100u);
}

TEST(Histogram, HasFiftyBinsAtMostAndOneForWhatIsBeyond) {
    EXPECT_EQ(HistogramOf(Numbers(99)).binWidth, 2);
    EXPECT_EQ(HistogramOf(Numbers(99)).bins.size(), 50u);
    for (int count = 1; count < 700; ++count) {
        const auto& bins = HistogramOf(Numbers(count)).bins;
        ASSERT_LE(bins.size(), 51u) << count;
        // Percentiles of so few are the numbers' largest: nothing is beyond.
        if (count < 200) {
            ASSERT_LE(bins.size(), 50u) << count;
        }
    }
}

TEST(Histogram, PutsTheFewThatAreFarAwayIntoOneLastBin) {
    std::vector<float> numbers(1000, 1.0F);
    numbers.push_back(900);
    const Histogram histogram = HistogramOf(numbers);
    EXPECT_EQ(histogram.binWidth, 0.05);  // of 0.02 it would be 51, and the one beyond
    EXPECT_LE(histogram.bins.size(), 51u);
    EXPECT_EQ(histogram.bins.back(), 1u);
}

FrameRecord Record(std::uint64_t index, FrameOutcome outcome, float latencyMs) {
    FrameRecord record;
    record.index = index;
    record.outcome = outcome;
    record.latencyMs = latencyMs;
    return record;
}

TEST(Timeline, HasAColumnForEachOfFewFrames) {
    const Timeline timeline =
        TimelineOf({Record(0, FrameOutcome::Inferred, 5), Record(1, FrameOutcome::Lost, -1)}, 480);
    EXPECT_EQ(timeline.framesPerColumn, 1u);
    ASSERT_EQ(timeline.columns.size(), 2u);
    EXPECT_EQ(timeline.columns[0].max, 5);
    EXPECT_EQ(timeline.columns[1].without, 1u);
    EXPECT_EQ(timeline.columns[1].max, 0);
}

TEST(Timeline, PutsManyFramesIntoColumnsThatLoseNone) {
    std::vector<FrameRecord> records;
    for (std::uint64_t frame = 0; frame < 1001; ++frame)
        records.push_back(Record(frame, frame % 2 == 0 ? FrameOutcome::Inferred : FrameOutcome::Reused,
                                 static_cast<float>(frame % 10)));
    const Timeline timeline = TimelineOf(records, 100);
    EXPECT_EQ(timeline.framesPerColumn, 11u);
    ASSERT_EQ(timeline.columns.size(), 91u);
    EXPECT_EQ(timeline.columns[0].first, 0u);
    EXPECT_EQ(timeline.columns[0].frames, 11u);
    EXPECT_EQ(timeline.columns[0].reused, 5u);
    EXPECT_EQ(timeline.columns[0].min, 0);
    EXPECT_EQ(timeline.columns[0].median, 4);  // of 0 to 9 and another 0
    EXPECT_EQ(timeline.columns[0].max, 9);
    EXPECT_EQ(timeline.columns[90].first, 990u);
    EXPECT_TRUE(TimelineOf({}, 100).columns.empty());
}

TEST(ContactSheet, KeepsFramesEvenlyOverARunOfAnyLength) {
    for (std::uint64_t frames = 1; frames < 5000; frames += frames < 150 ? 1 : 377) {
        SCOPED_TRACE(frames);
        ContactSheet sheet(8);
        const velmo_media::Picture picture({velmo_media::ColourModel::Rgb, 0, 0, velmo_media::ColourRange::Full},
                                           {4, 2});
        for (std::uint64_t frame = 0; frame < frames; ++frame) {
            if (sheet.Wants(frame)) sheet.Add(frame, FrameOutcome::Inferred, picture, picture, picture);
        }
        const auto picked = sheet.Pick();
        ASSERT_EQ(picked.size(), std::min<std::uint64_t>(frames, 8));
        EXPECT_EQ(picked.front().frame, 0u);
        const std::uint64_t step = frames <= 32 ? 1 : (frames - 1) / 16;
        EXPECT_LT(frames - 1 - picked.back().frame, step) << "the last one is the last, or close to it";
        std::uint64_t least = frames;
        std::uint64_t most = 0;
        for (std::size_t at = 1; at < picked.size(); ++at) {
            ASSERT_GT(picked[at].frame, picked[at - 1].frame);
            least = std::min(least, picked[at].frame - picked[at - 1].frame);
            most = std::max(most, picked[at].frame - picked[at - 1].frame);
        }
        if (picked.size() > 1) {
            EXPECT_LE(most - least, step);
        }
    }
}

TEST(ContactSheet, MakesPicturesSmallAndKeepsTheirShape) {
    const velmo_media::Picture large({velmo_media::ColourModel::Yuv, 1, 1, velmo_media::ColourRange::Limited},
                                     {1280, 720});
    const auto small = velmo_report::Thumbnail(large, {240, 240});
    EXPECT_EQ(small.Dimensions(), (velmo_media::Size{240, 135}));
    EXPECT_EQ(small.Format().model, velmo_media::ColourModel::Rgb);
    const velmo_media::Picture tiny({velmo_media::ColourModel::Grey, 0, 0, velmo_media::ColourRange::Full}, {30, 40});
    EXPECT_EQ(velmo_report::Thumbnail(tiny, {240, 240}).Dimensions(), (velmo_media::Size{30, 40}));
}

}  // namespace
}  // namespace run_tests
