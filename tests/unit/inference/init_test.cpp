// What a helper answers to being configured, and what it keeps of that.

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "inference_fixture.h"
#include "support/event_flag.h"
#include "support/fake_threads.h"

namespace inference_tests {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

constexpr char kAlready[] = "2 RvoHvqHelper::Init(), has init already.";
constexpr char kNoEngineLine[] = "0 RvoHvqHelper::Init() fail, create hvq engine fail";

class Init : public Inference {
 protected:
    std::uint32_t InferOn(RvoHvqHelper& helper, std::uint32_t width = kWidth, std::uint32_t height = kHeight) {
        const Frame frame(7, width, height);
        RvoCalyrOutput output(frame.input.header);
        return helper.Infer(&frame.input, &output);
    }

    // Gives the helper frames until one has found what its job made.
    void AwaitSwitch(RvoHvqHelper& helper) {
        for (bool hasSwitched = false; !hasSwitched;) {
            (void)InferOn(helper);
            for (const std::string& line : Lines(helper))
                hasSwitched = hasSwitched || line.starts_with("2 RvoHvqHelper::SwitchEngine(), [from]");
        }
    }
};

TEST_F(Init, GivesZeroWhenTheEngineFits) {
    RvoCalyrHvqHelper helper(Seams());

    EXPECT_EQ(helper.Init(Option()), 0U);

    EXPECT_EQ(InferOn(helper), 0U);
}

TEST_F(Init, OfAnEqualOptionOnAWorkingHelperDoesNothing) {
    RvoCalyrHvqHelper helper(Seams());
    InitGood(helper);
    _CalyrPortraitOption option = Option();
    option.modelType = 2;  // neither compared nor stored
    option.flag0 = 9;
    SetText(option.reservedPath, "elsewhere");

    EXPECT_EQ(helper.Init(option), 0U);

    EXPECT_THAT(Lines(helper), ElementsAre(kAlready));
    EXPECT_THAT(m_library.Calls(), IsEmpty());
}

TEST_F(Init, WithoutAnEngineGivesThreeAndTriesAgainEachTime) {
    m_library.Add("devices OpenVINO NPU");
    RvoCalyrHvqHelper helper(Seams());

    EXPECT_EQ(helper.Init(Option()), 3U);
    EXPECT_EQ(Lines(helper).back(), kNoEngineLine);
    EXPECT_EQ(InferOn(helper, 0, 0), 2U) << "a frame without pixels has no data";
    EXPECT_EQ(helper.Init(Option()), 3U);
    EXPECT_EQ(Lines(helper).back(), kNoEngineLine);
    m_library.Add("devices OpenVINO CPU");
    EXPECT_EQ(helper.Init(Option()), 0U);

    EXPECT_EQ(InferOn(helper), 0U);
}

TEST_F(Init, MakesFramesWaitForTheFirstEngineButNotTheChecksOfTheirArguments) {
    // The bring-up fails, so that frames of no pixels are the ones that fit before and behind it.
    m_library.Add("gate hvqCreateNetByBuiltin next first\nfail hvqCreateNetByBuiltin next \"out of luck\"");
    RvoCalyrHvqHelper helper(Seams());
    std::uint32_t initStatus = 99;
    std::thread init([&] { initStatus = helper.Init(Option()); });
    EXPECT_TRUE(m_library.AwaitGate("first"));

    const Frame large;
    RvoCalyrOutput refused(large.input.header);
    EXPECT_EQ(helper.Infer(nullptr, &refused), 2U);
    EXPECT_EQ(helper.Infer(&large.input, nullptr), 2U);
    EXPECT_EQ(helper.Infer(&large.input, &refused), 2U);

    std::uint32_t frameStatus = 99;
    support::EventFlag answered;
    std::thread frame([&] {
        Frame fitting;
        fitting.input.header = HeaderOf(0, 0);
        RvoCalyrOutput output(fitting.input.header);
        frameStatus = helper.Infer(&fitting.input, &output);
        answered.Set();
    });
    EXPECT_FALSE(answered.Wait(std::chrono::milliseconds(50)));
    m_library.OpenGate("first");
    EXPECT_TRUE(answered.Wait());
    frame.join();
    init.join();

    EXPECT_EQ(frameStatus, 3U);
    EXPECT_EQ(initStatus, 3U);
}

TEST_F(Init, OfNumbersThatNameNothingIsRefusedAndKeepsNothing) {
    for (const auto& [device, quality] : std::vector<std::pair<std::int32_t, std::int32_t>>{
             {9, 0}, {4, 0}, {-1, 0}, {kCpu, 2}, {kCpu, 3}, {kCpu, -1}, {kCpu, 9}, {9, -1}, {-1, 9}}) {
        Forget();
        RvoCalyrHvqHelper helper(Seams());
        const std::string line =
            "0 RvoHvqHelper::Init() fail, option out of range, deviceType=" + std::to_string(device) +
            ", modelQuality=" + std::to_string(quality);

        EXPECT_EQ(helper.Init(Option(device, quality)), 2U);
        EXPECT_THAT(Lines(helper), ElementsAre(line));
        EXPECT_THAT(m_library.Calls(), IsEmpty());
        InitGood(helper);
        EXPECT_EQ(helper.Init(Option(device, quality)), 2U);
        EXPECT_THAT(Lines(helper), ElementsAre(line));

        EXPECT_EQ(helper.Init(Option()), 0U);
        EXPECT_THAT(Lines(helper), ElementsAre(kAlready)) << "the good option is still the last one";
        EXPECT_EQ(InferOn(helper), 0U);
        EXPECT_THAT(Lines(helper), Not(Contains(HasSubstr("dispatch"))));
    }
}

TEST_F(Init, AcceptsTheLastRowsOfTheTables) {
    m_library.Add("devices OpenVINO AUTO NPU\nlayer input input 1 4 360 640");
    RvoCalyrHvqHelper first(Seams());
    EXPECT_EQ(first.Init(Option(kNpu, 1)), 0U);
    RvoCalyrHvqHelper second(Seams());
    EXPECT_EQ(second.Init(Option(kAuto, 1)), 0U);
}

TEST_F(Init, GivesTwoForAnInputOfThreeDimensionsOrLess) {
    for (const auto& [dims, count] : std::vector<std::pair<std::string, std::string>>{
             {"4 144 256", "3"}, {"144", "1"}, {"1 4 144 256", ""}, {"1 4 144 256 1", ""}}) {
        m_library.Add("layer input input " + dims);
        RvoCalyrHvqHelper helper(Seams());

        EXPECT_EQ(helper.Init(Option()), count.empty() ? 0U : 2U) << dims;

        const std::string line = Lines(helper).back();
        if (count.empty()) {
            EXPECT_THAT(line, HasSubstr("create engine success"));
        } else {
            EXPECT_EQ(line, "0 RvoHvqHelper::Init(), input_dims=" + count);
            Frame empty;
            empty.input.header = HeaderOf(0, 0);
            RvoCalyrOutput output(empty.input.header);
            EXPECT_EQ(helper.Infer(&empty.input, &output), 3U) << "not initialised";
        }
    }
}

TEST_F(Init, ComparesTheInputsAreaAlone) {
    struct Case {
        std::string dims;
        std::int32_t quality;
        std::string refused;  // "width/height", or empty
    };
    for (const Case& one : std::vector<Case>{{"1 4 256 144", 0, ""},
                                             {"1 4 1 36864", 0, ""},
                                             {"7 1 144 256", 0, ""},
                                             {"1 4 144 257", 0, "257/144"},
                                             {"1 4 144 255", 0, "255/144"},
                                             {"1 4 0 0", 0, "0/0"},
                                             {"1 4 144 256", 1, "256/144"},
                                             {"1 4 360 640", 0, "640/360"},
                                             {"1 4 640 360", 1, ""}}) {
        m_library.Add("layer input input " + one.dims);
        RvoCalyrHvqHelper helper(Seams());

        EXPECT_EQ(helper.Init(Option(kCpu, one.quality)), one.refused.empty() ? 0U : 2U) << one.dims;

        const std::string line = Lines(helper).back();
        if (one.refused.empty()) {
            EXPECT_THAT(line, HasSubstr("create engine success"));
        } else {
            EXPECT_EQ(line, "0 RvoHvqHelper::Init(), [modelWidth/modelHeight]=[" + one.refused +
                                "] not match modelQuality=" + std::to_string(one.quality));
        }
    }
}

TEST_F(Init, TakesNoWrappedProductForAGoodOne) {
    m_library.Add("layer input input 1 4 4096 4503599627370505");  // 2^64 + 256 × 144
    RvoCalyrHvqHelper helper(Seams());

    EXPECT_EQ(helper.Init(Option()), 2U);

    EXPECT_EQ(Lines(helper).back(),
              "0 RvoHvqHelper::Init(), [modelWidth/modelHeight]=[4503599627370505/4096] not match modelQuality=0");
}

TEST_F(Init, PassesOnWhatTheEngineSaysAboutItsInput) {
    m_library.Add("no-layer input");
    RvoCalyrHvqHelper helper(Seams());

    EXPECT_THROW((void)helper.Init(Option()), std::runtime_error);

    EXPECT_THAT(Lines(helper).back(), HasSubstr("create engine success"));
}

TEST_F(Init, OnAnEngineOfWrongGeometryStartsAJobAlthoughNothingChanged) {
    m_library.Add("layer input input 1 4 144 255");
    RvoCalyrHvqHelper helper(Seams());
    ASSERT_EQ(helper.Init(Option()), 2U);
    Forget();
    m_library.Add("gate hvqCreateNetByBuiltin next job");

    EXPECT_EQ(helper.Init(Option()), 2U);

    EXPECT_TRUE(m_library.AwaitGate("job"));
    EXPECT_THAT(Lines(helper), Contains("0 RvoHvqHelper::Init(), [modelWidth/modelHeight]=[255/144] not match "
                                        "modelQuality=0"));
    m_library.OpenGate("job");
}

TEST_F(Init, OfAnEngineThatFitsByNowIsGood) {
    m_library.Add("layer input input 1 4 144 255");
    RvoCalyrHvqHelper helper(Seams());
    ASSERT_EQ(helper.Init(Option()), 2U);
    m_library.Add("layer input input 1 4 144 256");

    EXPECT_EQ(helper.Init(Option()), 0U) << "the old engine is asked again";

    EXPECT_EQ(InferOn(helper), 0U);
}

TEST_F(Init, OfAnotherDeviceGivesZeroAtOnceWhileFramesGoOn) {
    RvoCalyrHvqHelper helper(Seams());
    InitGood(helper);
    m_library.Add("gate hvqCreateNetByBuiltin next job");

    EXPECT_EQ(helper.Init(Option(kGpu)), 0U);

    ASSERT_TRUE(m_library.AwaitGate("job"));
    Forget();
    EXPECT_EQ(InferOn(helper), 0U);
    EXPECT_THAT(CallsOf("hvqInfer"), ElementsAre("hvqInfer 2"));
    m_library.OpenGate("job");
    AwaitSwitch(helper);
    EXPECT_EQ(CallsOf("hvqInfer").back(), "hvqInfer 4");
}

TEST_F(Init, OfAnotherDeviceInTheMiddleOfAStreamKeepsWhatSkippingRestsOn) {
    m_library.Add("fill segmentation copy input 0");
    RvoCalyrHvqHelper helper(Seams());
    InitGood(helper);
    // The left half of it is foreground, so that there is an edge to compare at.
    Frame frame;
    const auto paint = [&](std::uint8_t left, std::uint8_t right) {
        for (std::size_t at = 0; at < frame.bytes.size(); ++at)
            frame.bytes[at] = at % kWidth < kWidth / 2 ? left : right;
    };
    paint(200, 55);
    frame.Temporal();
    RvoCalyrOutput output(frame.input.header);
    ASSERT_EQ(helper.Infer(&frame.input, &output), 0U);
    const std::vector<std::uint8_t> mask = MaskOf(output);
    ASSERT_EQ(mask[0], 200);
    ASSERT_EQ(mask[kWidth - 1], 55);
    ASSERT_EQ(helper.Infer(&frame.input, &output), 0U);
    ASSERT_EQ(m_library.Count("hvqInfer"), 1) << "the second is skipped";
    m_library.Add("gate hvqCreateNetByBuiltin next job");

    EXPECT_EQ(helper.Init(Option(kGpu)), 0U);

    ASSERT_TRUE(m_library.AwaitGate("job"));
    RvoCalyrOutput other(frame.input.header);
    EXPECT_EQ(helper.Infer(&frame.input, &other), 0U);
    EXPECT_EQ(m_library.Count("hvqInfer"), 1) << "the reference is the same";
    EXPECT_EQ(MaskOf(other), mask);
    paint(55, 200);
    EXPECT_EQ(helper.Infer(&frame.input, &other), 0U);
    EXPECT_EQ(m_library.Count("hvqInfer"), 2) << "and the edge";
    const std::vector<float> input = m_library.Input("input");
    ASSERT_EQ(input.size(), 4 * kArea);
    EXPECT_TRUE(std::equal(mask.begin(), mask.end(), input.begin() + static_cast<std::ptrdiff_t>(3 * kArea)));
    m_library.OpenGate("job");
}

TEST_F(Init, OfAnotherQualityGivesTwoAndChangesNothingThatFramesUse) {
    RvoCalyrHvqHelper helper(Seams());
    InitGood(helper);
    m_library.Add("gate hvqCreateNetByBuiltin next job");

    EXPECT_EQ(helper.Init(Option(kCpu, 1)), 2U);

    ASSERT_TRUE(m_library.AwaitGate("job"));
    EXPECT_THAT(Lines(helper), Contains("0 RvoHvqHelper::Init(), [modelWidth/modelHeight]=[256/144] not match "
                                        "modelQuality=1"));
    EXPECT_EQ(InferOn(helper), 0U);
    EXPECT_EQ(InferOn(helper, 640, 360), 2U);
    Forget();
    EXPECT_EQ(helper.Init(Option(kCpu, 1)), 0U);
    EXPECT_THAT(Lines(helper), ElementsAre(kAlready));
    m_library.OpenGate("job");
}

TEST_F(Init, AfterASwapOfQualityMakesTheArraysOfTheNewSize) {
    RvoCalyrHvqHelper helper(Seams());
    InitGood(helper);
    ASSERT_EQ(helper.Init(Option(kCpu, 1)), 2U);
    AwaitSwitch(helper);
    m_library.Add(
        "layer input input 1 4 360 640\nlayer output segmentation 1 1 360 640\n"
        "fill segmentation copy input 0");
    _CalyrPortraitOption other = Option(kCpu, 1);
    SetText(other.gpuCachePath, "elsewhere");

    EXPECT_EQ(helper.Init(other), 0U) << "the engine in use is of the new quality";

    Frame frame(9, 640, 360);
    RvoCalyrOutput output(frame.input.header);
    EXPECT_EQ(helper.Infer(&frame.input, &output), 0U);
    EXPECT_EQ(output.status, 0);
    EXPECT_EQ(MaskOf(output), std::vector<std::uint8_t>(std::size_t{640} * 360, 9));
    EXPECT_EQ(InferOn(helper), 2U);
}

TEST_F(Init, OfAThirdOptionDuringAJobIsOnlyRemembered) {
    RvoCalyrHvqHelper helper(Seams());
    InitGood(helper);
    m_library.Add("gate hvqCreateNetByBuiltin next job");
    ASSERT_EQ(helper.Init(Option(kGpu)), 0U);
    ASSERT_TRUE(m_library.AwaitGate("job"));
    Forget();
    _CalyrPortraitOption third = Option(kAuto);
    third.modelType = 5;

    EXPECT_EQ(helper.Init(third), 0U);

    EXPECT_THAT(Lines(helper),
                ElementsAre("2 RvoHvqHelper::Init(), InitHvq future is still running, ignore this init, deviceType=0, "
                            "modelQuality=0, modelType=5"));
    EXPECT_THAT(CallsOf("hvqCreateWithLibraryLoader"), IsEmpty());
    EXPECT_EQ(helper.Init(third), 0U);
    EXPECT_THAT(Lines(helper), ElementsAre(kAlready)) << "the request is the last one";
    m_library.OpenGate("job");
}

TEST_F(Init, TakesAJobForRunningUntilAFrameHasClaimedIt) {
    RvoCalyrHvqHelper helper(Seams());
    InitGood(helper);
    m_library.Add("gate hvqGetCurrentNetworkDevice next last");
    ASSERT_EQ(helper.Init(Option(kGpu)), 0U);
    ASSERT_TRUE(m_library.AwaitGate("last"));
    m_library.OpenGate("last");
    const auto isDone = [&] {
        for (const std::string& line : m_log.TakeWhole())
            if (line.find("create engine success") != line.npos) return true;
        return false;
    };
    while (!isDone()) {
    }

    EXPECT_EQ(helper.Init(Option(kAuto)), 0U);

    EXPECT_THAT(Lines(helper), ElementsAre(HasSubstr("InitHvq future is still running")));
}

TEST_F(Init, WithoutAThreadForItsJobsIsNotEvenPossible) {
    support::FakeThreads threads;
    threads.RefuseNextStart();
    HelperSeams seams{.loader = {.streams = m_streams}, .clock = m_clock, .threads = threads, .limits = m_limits};

    EXPECT_THROW(const RvoCalyrHvqHelper helper(seams), std::system_error);

    EXPECT_EQ(threads.StartedCount(), 0);
    {
        const RvoCalyrHvqHelper helper(seams);
        EXPECT_EQ(threads.StartedCount(), 1) << "the thread stands before there is a job";
    }
    EXPECT_EQ(threads.JoinedCount(), 1);
}

}  // namespace
}  // namespace inference_tests
