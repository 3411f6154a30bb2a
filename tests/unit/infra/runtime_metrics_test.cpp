#include "infra/runtime_metrics.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <locale>
#include <string>

namespace infra {
namespace {

TEST(RuntimeMetrics, TakesAHundredForAPeriodBelow1) {
    EXPECT_EQ(RuntimeMetrics(-5).reportRounds, 100);
    EXPECT_EQ(RuntimeMetrics(0).reportRounds, 100);
    EXPECT_EQ(RuntimeMetrics(1).reportRounds, 1);

    RuntimeMetrics metrics(3);
    metrics.SetPeriod(0);
    EXPECT_EQ(metrics.reportRounds, 100);
    metrics.SetPeriod(1);
    EXPECT_EQ(metrics.reportRounds, 1);
}

TEST(RuntimeMetrics, ReportsAtTheEndOfAPeriodAndNotBefore) {
    RuntimeMetrics metrics(3);

    EXPECT_EQ(metrics.FinishRound(), "");
    EXPECT_EQ(metrics.FinishRound(), "");
    EXPECT_NE(metrics.FinishRound(), "");
    EXPECT_EQ(metrics.FinishRound(), "");
    EXPECT_EQ(metrics.rounds, 1);
}

TEST(RuntimeMetrics, WritesTheWholeLine) {
    RuntimeMetrics metrics(100);
    std::string summary;
    for (int round = 0; round < 100; ++round) {
        EXPECT_EQ(summary, "");
        metrics.RecordPreprocess(round == 50 ? 2 : round % 10 == 0 ? 1 : 0);
        if (round < 3) {
            metrics.RecordInfer(round == 0 ? 9 : round == 1 ? 14 : 11);
        } else {
            metrics.AddSkip();
        }
        metrics.RecordPostprocess(round < 6 ? 1 : 0);
        summary = metrics.FinishRound();
    }

    EXPECT_EQ(
        summary,
        "runtime_metrics: rounds=100, skip=97, infer_utilization_pct=3, "
        "preprocess_ms={count=100, min=0, max=2, avg=0, p95=1}, infer_ms={count=3, min=9, max=14, avg=11, p95=14}, "
        "postprocess_ms={count=100, min=0, max=1, avg=0, p95=1}");
}

TEST(RuntimeMetrics, ReportsAPeriodWithoutASingleInference) {
    RuntimeMetrics metrics(100);
    std::string summary;
    for (int round = 0; round < 100; ++round) {
        metrics.RecordPreprocess(1);
        metrics.AddSkip();
        metrics.RecordPostprocess(2);
        summary = metrics.FinishRound();
    }

    EXPECT_EQ(summary,
              "runtime_metrics: rounds=100, skip=100, infer_utilization_pct=0, "
              "preprocess_ms={count=100, min=1, max=1, avg=1, p95=1}, infer_ms={count=0}, "
              "postprocess_ms={count=100, min=2, max=2, avg=2, p95=2}");
}

TEST(RuntimeMetrics, ReportsEveryRoundWithAPeriodOf1) {
    RuntimeMetrics metrics(1);

    metrics.RecordPreprocess(3);
    metrics.RecordInfer(7);
    metrics.RecordPostprocess(4);
    EXPECT_EQ(metrics.FinishRound(),
              "runtime_metrics: rounds=1, skip=0, infer_utilization_pct=100, "
              "preprocess_ms={count=1, min=3, max=3, avg=3, p95=3}, infer_ms={count=1, min=7, max=7, avg=7, p95=7}, "
              "postprocess_ms={count=1, min=4, max=4, avg=4, p95=4}");

    metrics.AddSkip();
    EXPECT_EQ(metrics.FinishRound(),
              "runtime_metrics: rounds=1, skip=1, infer_utilization_pct=0, preprocess_ms={count=0}, "
              "infer_ms={count=0}, postprocess_ms={count=0}");
}

TEST(RuntimeMetrics, TruncatesTheUtilization) {
    RuntimeMetrics metrics(3);
    metrics.RecordInfer(1);
    metrics.RecordInfer(1);
    metrics.FinishRound();
    metrics.FinishRound();

    EXPECT_NE(metrics.FinishRound().find("infer_utilization_pct=66, "), std::string::npos);
}

TEST(RuntimeMetrics, ForgetsEverythingButTheCapacityAfterAReport) {
    RuntimeMetrics metrics(1);
    metrics.RecordPreprocess(1);
    metrics.RecordInfer(1);
    metrics.RecordPostprocess(1);
    metrics.AddSkip();
    metrics.FinishRound();

    EXPECT_EQ(metrics.rounds, 0);
    EXPECT_EQ(metrics.skip, 0);
    for (const SampleSeries* series : {&metrics.preprocess, &metrics.infer, &metrics.postprocess}) {
        EXPECT_EQ(series->count, 0);
        EXPECT_TRUE(series->samples.empty());
        EXPECT_EQ(series->samples.capacity(), 1u);
    }
    metrics.RecordInfer(5);
    EXPECT_NE(metrics.FinishRound().find("infer_ms={count=1, min=5, max=5, avg=5, p95=5}"), std::string::npos);
}

TEST(RuntimeMetrics, DoesNotGroupDigitsWhateverTheLocale) {
    struct Grouping : std::numpunct<char> {
        char do_thousands_sep() const override { return '.'; }
        std::string do_grouping() const override { return "\3"; }
    };
    const std::locale before = std::locale::global(std::locale(std::locale::classic(), new Grouping));
    RuntimeMetrics metrics(1);
    metrics.RecordInfer(1234567);
    const std::string summary = metrics.FinishRound();
    std::locale::global(before);

    EXPECT_NE(summary.find("min=1234567, "), std::string::npos) << summary;
}

TEST(RuntimeMetrics, ReportsEarlyWhenThePeriodIsShortened) {
    RuntimeMetrics metrics(10);
    metrics.FinishRound();
    metrics.FinishRound();

    metrics.SetPeriod(2);

    EXPECT_NE(metrics.FinishRound().find("rounds=3, "), std::string::npos);
}

}  // namespace
}  // namespace infra
