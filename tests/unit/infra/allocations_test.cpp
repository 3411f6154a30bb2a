#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>

#include "infra/logger.h"
#include "infra/runtime_metrics.h"
#include "infra/text_formator.h"
#include "infra/value_metric.h"
#include "support/allocation_counter.h"

namespace infra {
namespace {

class LengthSink final : public rvo_calyr::IRvoCalyrTraceSink {
 public:
    std::int32_t OnTrace(std::uint32_t /*level*/, const char* text) override {
        chars += std::char_traits<char>::length(text);
        return 0;
    }

    std::size_t chars = 0;
};

class LengthStreams final : public platform::StandardStreams {
 public:
    void Write(platform::StandardStream /*stream*/, std::string_view text) override { chars += text.size(); }

    std::size_t chars = 0;
};

TEST(AllocationCounter, SeesAnAllocation) {
    const std::int64_t before = AllocationCount();

    const auto number = std::make_unique<std::int32_t>(1);

    EXPECT_EQ(AllocationCount(), before + 1) << *number;
}

TEST(TextFormatorAllocations, AreNoneWhileALineIsBuilt) {
    char buffer[1024];
    const std::string text(100, 'x');
    const std::int64_t before = AllocationCount();

    TextFormator line(buffer, sizeof(buffer));
    for (int i = 0; i < 20; ++i) {  // more than fits
        line << "[RVO_CALYR]" << text << ", " << std::int32_t{-1} << std::uint32_t{2} << std::int64_t{-3}
             << std::uint64_t{4} << std::uint8_t{5} << " [this=" << static_cast<const void*>(&line) << "]";
    }

    EXPECT_EQ(AllocationCount(), before);
    EXPECT_EQ(line.Length(), 1023u);
}

TEST(LoggerAllocations, AreNoneForALineOfTheFormatorsLength) {
    LengthStreams streams;
    rvo_calyr::Logger logger(&streams);
    LengthSink sink;
    const std::string text(1023, 'x');
    const std::int64_t before = AllocationCount();

    logger.Log(2, text.c_str());
    logger.SetTraceSink(&sink);
    logger.Log(2, text.c_str());
    logger.SetTraceSink(nullptr);

    EXPECT_EQ(AllocationCount(), before);
    EXPECT_EQ(streams.chars, 1024u);
    EXPECT_EQ(sink.chars, 1023u);
}

TEST(RuntimeMetricsAllocations, AreNoneForSamplesAfterTheFirstPeriod) {
    constexpr int kPeriod = 100;
    RuntimeMetrics metrics(kPeriod);
    ValueMetric value(kPeriod);
    for (int period = 0; period < 3; ++period) {
        const std::int64_t before = AllocationCount();
        for (int round = 0; round < kPeriod; ++round) {
            metrics.RecordPreprocess(round);
            metrics.RecordInfer(round);
            metrics.RecordPostprocess(round);
            if (round < kPeriod - 1) {  // the last one reports, and a report is a text
                EXPECT_EQ(metrics.FinishRound(), "");
                EXPECT_EQ(value.Add("content_change_permille", round), "");
            }
        }
        if (period == 0) {
            EXPECT_GT(AllocationCount(), before);
        } else {
            EXPECT_EQ(AllocationCount(), before);
        }
        EXPECT_NE(metrics.FinishRound(), "");
        EXPECT_NE(value.Add("content_change_permille", 0), "");
    }
}

}  // namespace
}  // namespace infra
