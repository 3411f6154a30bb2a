#include "infra/sample_series.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <numeric>
#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace infra {
namespace {

// 0, 1, 2, ... n - 1 in an order that is the same in every run.
std::vector<std::int64_t> Shuffled(std::size_t n) {
    std::vector<std::int64_t> samples(n);
    std::iota(samples.begin(), samples.end(), std::int64_t{0});
    std::shuffle(samples.begin(), samples.end(), std::mt19937(7));
    return samples;
}

std::string Block(SampleSeries& series) {
    std::ostringstream text;
    series.WriteBlock(text);
    return text.str();
}

TEST(Percentile95, Is0WithoutSamples) {
    std::vector<std::int64_t> none;

    EXPECT_EQ(Percentile95(none), 0);
}

TEST(Percentile95, TakesTheNearestRank) {
    const std::vector<std::pair<std::size_t, std::int64_t>> cases = {
        {1, 0}, {2, 1}, {19, 18}, {20, 18}, {21, 19}, {39, 37}, {40, 37}, {41, 38}, {99, 94}, {100, 94}, {101, 95}};
    for (const auto& [n, position] : cases) {
        std::vector<std::int64_t> samples = Shuffled(n);
        EXPECT_EQ(Percentile95(samples), position) << n;
    }
}

TEST(Percentile95, EqualsTheSortedArraysElementForEveryLength) {
    for (std::size_t n = 1; n <= 300; ++n) {
        std::vector<std::int64_t> samples = Shuffled(n);
        std::size_t rank = n * 95 / 100;  // 0.95 n rounded up, without the function's own formula
        if (rank * 100 < n * 95) {
            ++rank;
        }
        EXPECT_EQ(Percentile95(samples), static_cast<std::int64_t>(rank) - 1) << n;
    }
}

TEST(Percentile95, KeepsTheSamplesThemselves) {
    std::vector<std::int64_t> samples = Shuffled(50);

    Percentile95(samples);

    std::sort(samples.begin(), samples.end());
    EXPECT_EQ(samples.front(), 0);
    EXPECT_EQ(samples.back(), 49);
    EXPECT_EQ(std::adjacent_find(samples.begin(), samples.end()), samples.end());
}

TEST(AppendSample, GrowsByHalfOrToTheSizeNeeded) {
    std::vector<std::int64_t> samples;
    std::vector<std::size_t> capacities;
    for (std::int64_t i = 0; i < 30; ++i) {
        AppendSample(samples, i);
        if (capacities.empty() || capacities.back() != samples.capacity()) {
            capacities.push_back(samples.capacity());
        }
    }

    EXPECT_EQ(capacities, (std::vector<std::size_t>{1, 2, 3, 4, 6, 9, 13, 19, 28, 42}));
}

TEST(SampleSeries, BeginsEmpty) {
    SampleSeries series;

    EXPECT_EQ(series.count, 0);
    EXPECT_EQ(series.sum, 0);
    EXPECT_EQ(series.min, 9223372036854775807);
    EXPECT_EQ(series.max, 0);
    EXPECT_TRUE(series.samples.empty());
    EXPECT_EQ(Block(series), "={count=0}");
}

TEST(SampleSeries, ReportsItsSamplesWithATruncatedMean) {
    SampleSeries series;
    for (const std::int64_t value : {9, 14, 11}) {
        series.Add(value);
    }

    EXPECT_EQ(series.sum, 34);
    EXPECT_EQ(Block(series), "={count=3, min=9, max=14, avg=11, p95=14}");
}

TEST(SampleSeries, NeverLowersItsGreatestBelow0) {
    SampleSeries series;
    series.Add(-7);
    series.Add(-2);

    EXPECT_EQ(Block(series), "={count=2, min=-7, max=0, avg=-4, p95=-2}");
}

TEST(SampleSeries, KeepsItsCapacityWhenItIsReset) {
    SampleSeries series;
    for (std::int64_t i = 0; i < 20; ++i) {
        series.Add(i);
    }
    const std::size_t capacity = series.samples.capacity();

    series.Reset();

    EXPECT_EQ(series.count, 0);
    EXPECT_EQ(series.sum, 0);
    EXPECT_EQ(series.min, kNoMinimum);
    EXPECT_EQ(series.max, 0);
    EXPECT_TRUE(series.samples.empty());
    EXPECT_EQ(series.samples.capacity(), capacity);
}

TEST(ReportRounds, AreAHundredBelow1) {
    EXPECT_EQ(ReportRoundsOrDefault(-1), 100);
    EXPECT_EQ(ReportRoundsOrDefault(0), 100);
    EXPECT_EQ(ReportRoundsOrDefault(1), 1);
    EXPECT_EQ(ReportRoundsOrDefault(2), 2);
}

}  // namespace
}  // namespace infra
