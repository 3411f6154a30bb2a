#include "infra/value_metric.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <locale>
#include <string>

namespace infra {
namespace {

constexpr char kName[] = "content_change_permille";

TEST(ValueMetric, BeginsEmpty) {
    const ValueMetric metric(5);

    EXPECT_EQ(metric.reportRounds, 5);
    EXPECT_EQ(metric.rounds, 0);
    EXPECT_EQ(metric.sum, 0);
    EXPECT_EQ(metric.min, 9223372036854775807);
    EXPECT_EQ(metric.max, 0);
}

TEST(ValueMetric, TakesAHundredForAPeriodBelow1) {
    EXPECT_EQ(ValueMetric(-1).reportRounds, 100);
    EXPECT_EQ(ValueMetric(0).reportRounds, 100);
    EXPECT_EQ(ValueMetric(1).reportRounds, 1);

    ValueMetric metric(3);
    metric.SetPeriod(0);
    EXPECT_EQ(metric.reportRounds, 100);
    metric.SetPeriod(1);
    EXPECT_EQ(metric.reportRounds, 1);
}

TEST(ValueMetric, ReportsAtTheEndOfAPeriodWithoutAClosingMark) {
    ValueMetric metric(3);

    EXPECT_EQ(metric.Add(kName, 5), "");
    EXPECT_EQ(metric.Add(kName, 1), "");
    EXPECT_EQ(metric.Add(kName, 2), "content_change_permille: rounds=3, min=1, max=5, avg=2, p95=5");
}

TEST(ValueMetric, ReportsEverySampleWithAPeriodOf1) {
    ValueMetric metric(1);

    EXPECT_EQ(metric.Add("a", 4), "a: rounds=1, min=4, max=4, avg=4, p95=4");
    EXPECT_EQ(metric.Add("b", 9), "b: rounds=1, min=9, max=9, avg=9, p95=9");
}

TEST(ValueMetric, ShowsTheLeastOfTheNewPeriodOnly) {
    ValueMetric metric(2);
    metric.Add(kName, 1);
    metric.Add(kName, 90);

    metric.Add(kName, 5);

    EXPECT_EQ(metric.Add(kName, 6), "content_change_permille: rounds=2, min=5, max=6, avg=5, p95=6");
}

TEST(ValueMetric, WritesPlainDecimalsInAnyLocale) {
    struct Grouping : std::numpunct<char> {
        char do_thousands_sep() const override { return '.'; }
        std::string do_grouping() const override { return "\3"; }
    };
    const std::locale before = std::locale::global(std::locale(std::locale::classic(), new Grouping));
    ValueMetric metric(1);
    const std::string summary = metric.Add("v", 1234567);
    std::locale::global(before);

    EXPECT_EQ(summary, "v: rounds=1, min=1234567, max=1234567, avg=1234567, p95=1234567");
}

TEST(ValueMetric, ReportsPosition18For19And20Samples) {
    for (const std::int64_t n : {19, 20}) {
        ValueMetric metric(n);
        std::string summary;
        for (std::int64_t value = n - 1; value >= 0; --value) {
            summary = metric.Add("v", value);
        }
        EXPECT_NE(summary.find("p95=18"), std::string::npos) << summary;
    }
}

TEST(ValueMetric, KeepsItsCapacityAfterAReport) {
    ValueMetric metric(3);
    for (int i = 0; i < 3; ++i) {
        metric.Add(kName, i);
    }

    EXPECT_EQ(metric.rounds, 0);
    EXPECT_EQ(metric.sum, 0);
    EXPECT_EQ(metric.min, kNoMinimum);
    EXPECT_EQ(metric.max, 0);
    EXPECT_TRUE(metric.samples.empty());
    EXPECT_EQ(metric.samples.capacity(), 3u);
}

}  // namespace
}  // namespace infra
