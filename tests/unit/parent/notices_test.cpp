#include "velmo_parent/notices.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace velmo_parent {
namespace {

using testing::HasSubstr;

constexpr char kThis[] = " [this=0x55d0c0ffee00]";

// The notice of this kind in a line; a failure when it is another or none.
template <class Kind>
Kind In(const std::string& line) {
    const auto notice = ParseNotice(line);
    EXPECT_TRUE(notice && std::holds_alternative<Kind>(*notice)) << line;
    return notice && std::holds_alternative<Kind>(*notice) ? std::get<Kind>(*notice) : Kind{};
}

std::string Line(const std::string& text) {
    return "[RVO_CALYR]" + text + kThis;
}

TEST(Notices, BringUpBegan) {
    const auto began = In<BringUpBegan>(
        Line("RvoHvqHelper::InitHvq(), deviceType=NPU, modelQuality=1, enginePath=/e, modelPath=/m, gpuCachePath="));
    EXPECT_EQ(began.device, "NPU");
    EXPECT_EQ(began.quality, 1);
    EXPECT_EQ(began.place, BringUpPlace::Unknown);
}

TEST(Notices, BringUpBeganWithPathsThatWereCut) {
    const std::string line =
        "[RVO_CALYR]RvoHvqHelper::InitHvq(), deviceType=GPU, modelQuality=0, enginePath=" + std::string(900, 'x');
    EXPECT_EQ(In<BringUpBegan>(line).device, "GPU");
}

TEST(Notices, DeviceFellBack) {
    const auto fell =
        In<DeviceFellBack>(Line("RvoHvqHelper::InitHvq(), not support device, deviceType=GPU, fallback to CPU"));
    EXPECT_EQ(fell.missing, "GPU");
    EXPECT_EQ(fell.taken, "CPU");
}

TEST(Notices, BringUpReady) {
    const auto ready =
        In<BringUpReady>(Line("RvoHvqHelper::InitHvq(), create engine success, m_engineName=OpenVINO, "
                              "networkId=calyr_hvq_plugin_OpenVINO_GPU, deviceType=GPU.0, CPU, duration=1234"));
    EXPECT_EQ(ready.engine, "OpenVINO");
    EXPECT_EQ(ready.networkId, "calyr_hvq_plugin_OpenVINO_GPU");
    EXPECT_EQ(ready.device, "GPU.0, CPU");
    EXPECT_EQ(ready.durationMs, 1234);
}

TEST(Notices, BringUpFailed) {
    const auto reason = [](const std::string& text) {
        return In<BringUpFailed>(Line("RvoHvqHelper::InitHvq(), " + text)).reason;
    };
    EXPECT_EQ(reason("hvq lib not exists"), "hvq lib not exists");
    EXPECT_EQ(reason("not support engine, m_engineName=OpenVINO"), "not support engine OpenVINO");
    EXPECT_EQ(reason("not support device, deviceType=AUTO"), "not support device AUTO");
    EXPECT_EQ(reason("failed, error=no [this=0x1] room, m_engineName=OpenVINO, deviceType=GPU, modelPath=/m"),
              "no [this=0x1] room");
    EXPECT_EQ(In<BringUpFailed>("[RVO_CALYR]RvoHvqHelper::InitHvq(), failed, error=" + std::string(950, 'e')).reason,
              std::string(950, 'e'))
        << "cut, and worth having";
}

TEST(Notices, EngineSwapped) {
    const auto swapped = In<EngineSwapped>(
        Line("RvoHvqHelper::SwitchEngine(), [from], deviceType=1, modelQuality=0, modelType=2 [to], deviceType=2, "
             "modelQuality=1, modelType=0"));
    EXPECT_EQ(swapped.from, (EngineChoice{1, 0, 2}));
    EXPECT_EQ(swapped.to, (EngineChoice{2, 1, 0}));
}

TEST(Notices, RoundsSummary) {
    const auto summary = In<RoundsSummary>(
        Line("RvoHvqHelper::Infer(), runtime_metrics: rounds=100, skip=97, infer_utilization_pct=3, "
             "preprocess_ms={count=100, min=0, max=2, avg=0, p95=1}, infer_ms={count=3, min=9, max=14, avg=11, "
             "p95=14}, postprocess_ms={count=100, min=0, max=1, avg=0, p95=1}"));
    EXPECT_EQ(summary, (RoundsSummary{100, 97, 3, {100, 0, 2, 0, 1}, {3, 9, 14, 11, 14}, {100, 0, 1, 0, 1}}));
}

TEST(Notices, RoundsSummaryWithoutAnInference) {
    const auto summary = In<RoundsSummary>(
        Line("RvoHvqHelper::Infer(), runtime_metrics: rounds=2, skip=2, infer_utilization_pct=0, "
             "preprocess_ms={count=2, min=-1, max=9223372036854775807, avg=0, p95=1}, infer_ms={count=0}, "
             "postprocess_ms={count=2, min=0, max=1, avg=0, p95=1}"));
    EXPECT_EQ(summary.infer, PhaseSummary{});
    EXPECT_EQ(summary.preprocess, (PhaseSummary{2, -1, 9223372036854775807, 0, 1}));
}

TEST(Notices, ContentChangeSummary) {
    const auto summary = In<ContentChangeSummary>(
        Line("RvoHvqHelper::Infer(), content_change_permille: rounds=100, min=0, max=998, avg=17, p95=250"));
    EXPECT_EQ(summary.permille, (PhaseSummary{100, 0, 998, 17, 250}));
}

TEST(Notices, FrameFailed) {
    EXPECT_EQ(In<FrameFailed>(Line("RvoHvqHelper::Infer(), failed, error=out of memory")).reason, "out of memory");
    EXPECT_THAT(In<FrameFailed>(
                    Line("RvoHvqHelper::Infer(), invalid args, [width/height]=[1/2] [modelWidth/modelHeight]=[3/4]"))
                    .reason,
                HasSubstr("[1/2]"));
    EXPECT_EQ(In<FrameFailed>(Line("RvoHvqHelper::Infer(), has not init.")).reason, "has not init.");
}

TEST(Notices, HeartBeatsTimedOut) {
    (void)In<HeartBeatsTimedOut>(Line("RvoCalyrMlHost::OnTimer() heart beat timeout, will terminate process"));
}

TEST(Notices, NothingInOtherLines) {
    for (const std::string& line :
         {std::string(), std::string("RVO_CALYR"), Line(""), Line("RvoCalyrMlHost::Start(), success, pid=12"),
          Line("RvoHvqHelper::Init(), has init already."), Line("RvoHvqHelper::Infer() TF"),
          Line("RvoHvqHelper::InitHvq(), hvq engine, version=1, engineName=OpenVINO, duration=5"),
          Line(
              "RvoHvqHelper::SwitchEngine(), dispatch init job [from], deviceType=1, modelQuality=0, modelType=0 [to], "
              "deviceType=2, modelQuality=0, modelType=0"),
          Line("RvoHvqHelper::Infer(), gpu_metrics: rounds=1")}) {
        EXPECT_FALSE(ParseNotice(line)) << line;
    }
}

TEST(Notices, NothingInALineThatIsCutAnywhere) {
    for (const std::string& line :
         {Line("RvoHvqHelper::Infer(), runtime_metrics: rounds=100, skip=97, infer_utilization_pct=3, "
               "preprocess_ms={count=100, min=0, max=2, avg=0, p95=1}, infer_ms={count=3, min=9, max=14, avg=11, "
               "p95=14}, postprocess_ms={count=100, min=0, max=1, avg=0, p95=1}"),
          Line("RvoHvqHelper::Infer(), content_change_permille: rounds=100, min=0, max=998, avg=17, p95=250"),
          Line("RvoHvqHelper::SwitchEngine(), [from], deviceType=1, modelQuality=0, modelType=2 [to], deviceType=2, "
               "modelQuality=1, modelType=0"),
          Line("RvoHvqHelper::InitHvq(), create engine success, m_engineName=OpenVINO, networkId=n, deviceType=GPU, "
               "duration=1234")}) {
        ASSERT_TRUE(ParseNotice(line)) << line;
        for (std::size_t length = 0; length < line.size(); ++length)
            EXPECT_FALSE(ParseNotice(line.substr(0, length))) << line.substr(0, length);
    }
}

TEST(Notices, NothingInNumbersThatAreNone) {
    EXPECT_FALSE(
        ParseNotice(Line("RvoHvqHelper::Infer(), content_change_permille: rounds=x, min=0, max=998, avg=17, p95=250")));
    EXPECT_FALSE(
        ParseNotice(Line("RvoHvqHelper::Infer(), content_change_permille: rounds=99999999999999999999, min=0, "
                         "max=998, avg=17, p95=250")));
    EXPECT_FALSE(ParseNotice(
        Line("RvoHvqHelper::Infer(), content_change_permille: rounds=1, min=0, max=998, avg=17, p95=250 and more")));
}

}  // namespace
}  // namespace velmo_parent
