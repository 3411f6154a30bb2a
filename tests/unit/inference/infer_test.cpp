// One frame's way through a helper: what is checked, what the network is given, and what is said about it.

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <functional>
#include <numeric>
#include <stdexcept>
#include <string>
#include <vector>

#include "inference_fixture.h"

namespace inference_tests {
namespace {

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;
using ::testing::StartsWith;

constexpr char kFirst[] = "2 RvoHvqHelper::Infer() TF";

// Stands still until it is told to go on by 1.9 ms at each reading, or to throw.
class ReadClock final : public platform::Clock {
 public:
    std::int64_t Counter() override {
        if (throwsNumber) throw 1;
        if (throwsError) throw std::runtime_error("no time");
        return goesOn ? m_tenths += 19 : m_tenths;
    }
    std::int64_t Frequency() override { return 10'000; }
    std::chrono::system_clock::time_point SystemNow() override { return {}; }

    bool goesOn = false;
    bool throwsNumber = false;
    bool throwsError = false;

 private:
    std::int64_t m_tenths = 0;
};

class Infer : public Inference {
 protected:
    std::vector<float> NetworkInput() const { return m_library.Input("input"); }

    RvoCalyrOutput m_output{HeaderOf(kWidth, kHeight)};
};

TEST_F(Infer, RefusesNullAndSaysWhichItWas) {
    RvoCalyrHvqHelper helper(Seams());
    InitGood(helper);
    const Frame frame;
    char output[32];
    (void)std::snprintf(output, sizeof(output), "0x%x",
                        static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(static_cast<RvoHvqOutput*>(&m_output))));

    EXPECT_EQ(helper.Infer(nullptr, &m_output), 2U);

    EXPECT_THAT(Lines(helper),
                ElementsAre("0 RvoHvqHelper::Infer(), input args invalid, input=0x0, output=" + std::string(output)));
    EXPECT_EQ(helper.Infer(&frame.input, nullptr), 2U);
    EXPECT_EQ(helper.Infer(nullptr, nullptr), 2U);
    EXPECT_EQ(m_output.status, 4) << "the output is left alone";
    EXPECT_THAT(m_library.Calls(), IsEmpty());
}

TEST_F(Infer, RefusesAFrameThatDoesNotFit) {
    RvoCalyrHvqHelper helper(Seams());
    InitGood(helper);
    const auto expectRefused = [&](const Frame& frame) {
        EXPECT_EQ(helper.Infer(&frame.input, &m_output), 2U);
        EXPECT_EQ(m_output.status, 4);
    };
    Frame withoutBytes;
    withoutBytes.input.dataSize = 0;
    expectRefused(withoutBytes);
    EXPECT_THAT(Lines(helper), ElementsAre("0 RvoHvqHelper::Infer(), invalid args, [width/height]=[256/144] "
                                           "[modelWidth/modelHeight]=[256/144]"));
    Frame withoutData;
    withoutData.input.data = nullptr;
    expectRefused(withoutData);
    expectRefused(Frame(0, 256, 143));
    expectRefused(Frame(0, 257, 144));
    expectRefused(Frame(0, 640, 360));
    Frame wrapped;  // 36864 in 32 bits
    wrapped.input.header = HeaderOf(0x80000000U + 18432, 2);
    expectRefused(wrapped);
    Frame tooMuch;
    tooMuch.bytes.push_back(0);
    tooMuch.input.data = tooMuch.bytes.data();
    ++tooMuch.input.dataSize;
    expectRefused(tooMuch);
    tooMuch.input.dataSize = 0xFFFFFFFF;
    expectRefused(tooMuch);
    EXPECT_THAT(m_library.Calls(), IsEmpty());
}

TEST_F(Infer, AcceptsASwappedFrame) {
    RvoCalyrHvqHelper helper(Seams());
    InitGood(helper);
    const Frame frame(0, kHeight, kWidth);
    RvoCalyrOutput output(frame.input.header);

    EXPECT_EQ(helper.Infer(&frame.input, &output), 0U);

    EXPECT_EQ(output.status, 0);
}

TEST_F(Infer, TakesTheLargestFrameThatARecordHolds) {
    m_library.Add("layer input input 1 4 360 640\nlayer output segmentation 1 1 360 640\nfill segmentation constant 7");
    RvoCalyrHvqHelper helper(Seams());
    ASSERT_NO_FATAL_FAILURE(InitGood(helper, Option(kCpu, 1)));
    Frame frame(3, 640, 360);
    ASSERT_EQ(frame.input.dataSize, 691'200U);
    RvoCalyrOutput output(frame.input.header);

    EXPECT_EQ(helper.Infer(&frame.Temporal().input, &output), 0U);
    EXPECT_EQ(output.status, 0);

    ++frame.input.dataSize;
    EXPECT_EQ(helper.Infer(&frame.input, &output), 2U);
}

TEST_F(Infer, GivesTwoForARealFrameBeforeInitAndThreeForOneThatPassesTheChecks) {
    RvoCalyrHvqHelper helper(Seams());
    Frame frame;

    EXPECT_EQ(helper.Infer(&frame.input, &m_output), 2U);
    EXPECT_THAT(Lines(helper), ElementsAre("0 RvoHvqHelper::Infer(), invalid args, [width/height]=[256/144] "
                                           "[modelWidth/modelHeight]=[0/0]"));

    frame.input.header = HeaderOf(0, 0);
    EXPECT_EQ(helper.Infer(&frame.input, &m_output), 3U);
    EXPECT_THAT(Lines(helper), ElementsAre("0 RvoHvqHelper::Infer(), has not init."));
    EXPECT_EQ(m_output.status, 4);
}

TEST_F(Infer, GivesTheNetworkTheFrameAndThePreviousMask) {
    m_library.Add("fill segmentation ramp 3 1 200");
    RvoCalyrHvqHelper helper(Seams());
    InitGood(helper);
    Frame frame;
    for (std::size_t i = 0; i < frame.bytes.size(); ++i)
        frame.bytes[i] = static_cast<std::uint8_t>(i * 7 + i / 300);
    std::vector<float> wanted(frame.bytes.begin(), frame.bytes.end());
    wanted.resize(4 * kArea, 0.0F);

    EXPECT_EQ(helper.Infer(&frame.Temporal().input, &m_output), 0U);
    EXPECT_EQ(NetworkInput(), wanted) << "no mask yet";
    EXPECT_THAT(CallsOf("hvqSetLayerData"), ElementsAre("hvqSetLayerData 2 \"input\" set [1,4,144,256] 4"));

    frame.Temporal(false);
    EXPECT_EQ(helper.Infer(&frame.input, &m_output), 0U);
    for (std::size_t i = 0; i < kArea; ++i)
        wanted[3 * kArea + i] = static_cast<float>((3 + i) % 200);
    EXPECT_EQ(NetworkInput(), wanted);
}

TEST_F(Infer, PutsTheMaskBehindWhateverBytesTheFrameHas) {
    m_library.Add("fill segmentation constant 9");
    RvoInhouseHvqHelper helper(Seams());
    InitGood(helper);
    RvoHvqOutput output(HeaderOf(kWidth, kHeight));
    Frame frame(5);
    ASSERT_EQ(helper.Infer(&frame.Temporal().input, &output), 0U);
    Frame small(6);
    small.input.dataSize = 1001;

    EXPECT_EQ(helper.Infer(&small.input, &output), 0U);

    std::vector<float> wanted(4 * kArea, 5.0F);
    std::fill_n(wanted.begin(), 1001, 6.0F);
    std::fill_n(wanted.begin() + 1001, kArea, 9.0F);
    std::fill_n(wanted.begin() + 3 * kArea, kArea, 0.0F);  // the first round's previous mask
    EXPECT_EQ(NetworkInput(), wanted);
}

TEST_F(Infer, FeedsNoMaskBackWhileTemporalProcessingIsOff) {
    m_library.Add("fill segmentation constant 200");
    RvoCalyrHvqHelper helper(Seams());
    InitGood(helper);
    const Frame frame(1);

    for (int round = 0; round < 3; ++round) {
        EXPECT_EQ(helper.Infer(&frame.input, &m_output), 0U);
        std::vector<float> wanted(4 * kArea, 0.0F);
        std::fill_n(wanted.begin(), 3 * kArea, 1.0F);
        EXPECT_EQ(NetworkInput(), wanted);
    }

    EXPECT_EQ(m_library.Count("hvqInfer"), 3) << "and each frame is inferred";
}

TEST_F(Infer, CallsTheEngineInItsOrder) {
    RvoCalyrHvqReHelper helper(Seams());
    InitGood(helper);
    const Frame frame;

    EXPECT_EQ(helper.Infer(&frame.input, &m_output), 0U);

    std::vector<std::string> calls = m_library.CallTexts();
    std::erase_if(calls, [](const std::string& call) { return call.starts_with("hvqGetLayerDims"); });
    EXPECT_THAT(calls, ElementsAre("hvqSetLayerData 2 \"input\" set [1,4,144,256] 4", "hvqInfer 2",
                                   "hvqGetLayerData 2 \"segmentation\"", "hvqGetLayerData 2 \"gesture\"",
                                   "hvqGetLayerData 2 \"motion\"", "hvqGetLayerData 2 \"faces_and_landmarks\"",
                                   "hvqGetLayerData 2 \"lut\"", "hvqGetLayerData 2 \"lut_vertices\""));
    EXPECT_EQ(m_output.status, 0);
}

TEST_F(Infer, AsksOnceWhetherTheInferenceFailed) {
    RvoCalyrHvqHelper helper(Seams());
    InitGood(helper);
    const Frame frame;

    EXPECT_EQ(helper.Infer(&frame.input, &m_output), 0U);

    const std::vector<scripted_double::Call> calls = m_library.Calls();
    const auto infer =
        std::find_if(calls.begin(), calls.end(), [](const auto& call) { return call.text == "hvqInfer 2"; });
    ASSERT_GE(calls.end() - infer, 3);
    EXPECT_EQ(infer[1].text, "hvqHasException 2");
    EXPECT_EQ(infer[2].text, "hvqGetLayerData 2 \"segmentation\"");
}

TEST_F(Infer, LogsTheFirstInferenceOfTheProcessOnce) {
    RvoCalyrHvqHelper first(Seams());
    InitGood(first);
    RvoInhouseHvqHelper second(Seams());
    InitGood(second);
    const Frame frame;

    EXPECT_EQ(first.Infer(&frame.input, &m_output), 0U);
    EXPECT_THAT(Lines(first), ElementsAre(kFirst));
    EXPECT_EQ(first.Infer(&frame.input, &m_output), 0U);
    EXPECT_EQ(second.Infer(&frame.input, &m_output), 0U);
    EXPECT_THAT(m_log.TakeWhole(), IsEmpty());
}

TEST_F(Infer, DoesNotCallAFailedInferenceTheFirst) {
    m_library.Add("fail hvqInfer 1 \"not yet\"");
    RvoCalyrHvqHelper helper(Seams());
    InitGood(helper);
    const Frame frame;

    EXPECT_EQ(helper.Infer(&frame.input, &m_output), 4U);
    EXPECT_THAT(Lines(helper), ElementsAre("0 RvoHvqHelper::Infer(), failed, error=not yet"));
    EXPECT_EQ(helper.Infer(&frame.input, &m_output), 0U);
    EXPECT_THAT(Lines(helper), ElementsAre(kFirst));
}

// The lines at which each message comes back: the 1st, 31st and 61st, whichever helper it is.
TEST_F(Infer, LimitsEachMessageOnItsOwnForAllHelpersTogether) {
    RvoCalyrHvqHelper fresh(Seams());
    RvoCalyrHvqHelper first(Seams());
    InitGood(first);
    RvoInhouseHvqHelper second(Seams());
    InitGood(second);
    m_library.Add("fail hvqInfer * broken");
    Frame empty;
    empty.input.header = HeaderOf(0, 0);
    const Frame large(0, 640, 360);
    const Frame good;
    struct Message {
        std::string part;
        std::function<void(RvoHvqHelper&)> provoke;
    };
    const std::vector<Message> messages = {
        {"input args invalid", [&](RvoHvqHelper& helper) { (void)helper.Infer(nullptr, &m_output); }},
        {"invalid args, [width", [&](RvoHvqHelper& helper) { (void)helper.Infer(&large.input, &m_output); }},
        {"has not init.", [&](RvoHvqHelper&) { (void)fresh.Infer(&empty.input, &m_output); }},
        {"failed, error=broken", [&](RvoHvqHelper& helper) { (void)helper.Infer(&good.input, &m_output); }}};

    for (int occurrence = 1; occurrence <= 91; ++occurrence) {
        for (const Message& message : messages) {
            message.provoke(occurrence % 2 == 0 ? static_cast<RvoHvqHelper&>(second) : first);
            const std::vector<std::string> lines = m_log.TakeWhole();
            if (occurrence % 30 == 1) {
                EXPECT_THAT(lines, ElementsAre(AllOf(StartsWith("0 "), HasSubstr(message.part)))) << occurrence;
            } else {
                EXPECT_THAT(lines, IsEmpty()) << occurrence;
            }
        }
    }
}

TEST_F(Infer, SurvivesAnEngineThatFailsOnEverySecondFrame) {
    m_library.Add("fail hvqInfer %2 \"every second\"\nfill segmentation inference 2");
    RvoCalyrHvqHelper helper(Seams());
    InitGood(helper);
    const Frame frame;

    for (std::uint8_t round = 1; round <= 40; ++round) {
        const bool fails = round % 2 == 0;
        EXPECT_EQ(helper.Infer(&frame.input, &m_output), fails ? 4U : 0U);
        EXPECT_EQ(m_output.status, 0) << "of the last frame that was good";
        const auto inferences = static_cast<std::uint8_t>((round + 1) / 2);
        EXPECT_EQ(MaskOf(m_output), std::vector<std::uint8_t>(kArea, static_cast<std::uint8_t>(2 * inferences)));
    }
    EXPECT_EQ(m_library.Count("hvqInfer"), 40);
}

TEST_F(Infer, GivesFourAtWhicheverCallTheEngineFails) {
    RvoCalyrHvqReHelper helper(Seams());
    InitGood(helper);
    const Frame frame;
    for (const std::string function : {"hvqGetLayerDims", "hvqSetLayerData", "hvqInfer", "hvqGetLayerData"}) {
        m_library.Add("fail " + function + " next broken");
        EXPECT_EQ(helper.Infer(&frame.input, &m_output), 4U) << function;
        EXPECT_EQ(helper.Infer(&frame.input, &m_output), 0U) << function;
        EXPECT_EQ(m_output.status, 0);
    }
    // A layer that is gone has no data, and a table without its grid has no dimensions.
    m_library.Add("no-layer lut_vertices");
    EXPECT_EQ(helper.Infer(&frame.input, &m_output), 4U);
}

TEST_F(Infer, OfAFailedFirstFrameLeavesTheNextOneTheFirst) {
    m_library.Add("fail hvqInfer 1 broken");
    RvoCalyrHvqHelper helper(Seams());
    InitGood(helper);
    Frame frame;
    frame.Temporal();

    EXPECT_EQ(helper.Infer(&frame.input, &m_output), 4U);
    EXPECT_EQ(m_output.status, 4);
    EXPECT_EQ(helper.Infer(&frame.input, &m_output), 0U);

    EXPECT_EQ(m_library.Count("hvqInfer"), 2) << "not skipped, as there was no mask yet";
    EXPECT_EQ(m_output.status, 0);
}

TEST_F(Infer, CatchesStandardExceptionsAndNoOthers) {
    ReadClock clock;
    HelperSeams seams{.loader = {.streams = m_streams}, .clock = clock, .limits = m_limits};
    RvoCalyrHvqHelper helper(seams);
    InitGood(helper);
    const Frame frame;

    clock.throwsError = true;
    EXPECT_EQ(helper.Infer(&frame.input, &m_output), 4U);
    EXPECT_THAT(Lines(helper), ElementsAre("0 RvoHvqHelper::Infer(), failed, error=no time"));
    clock.throwsNumber = true;
    EXPECT_THROW((void)helper.Infer(&frame.input, &m_output), int);
    clock.throwsNumber = clock.throwsError = false;
    EXPECT_EQ(helper.Infer(&frame.input, &m_output), 0U);
}

TEST_F(Infer, ReportsTheRoundsEveryHundred) {
    ReadClock clock;
    HelperSeams seams{.loader = {.streams = m_streams}, .clock = clock, .limits = m_limits};
    RvoCalyrHvqHelper helper(seams);
    InitGood(helper);
    const Frame frame;
    clock.goesOn = true;

    for (int round = 0; round < 99; ++round)
        EXPECT_EQ(helper.Infer(&frame.input, &m_output), 0U);
    EXPECT_THAT(Lines(helper), ElementsAre(kFirst));
    EXPECT_EQ(helper.Infer(&frame.input, &m_output), 0U);

    // Each phase is two readings long, and the last has the stamp's between them.
    EXPECT_THAT(Lines(helper),
                ElementsAre("2 RvoHvqHelper::Infer(), runtime_metrics: rounds=100, skip=0, infer_utilization_pct=100, "
                            "preprocess_ms={count=100, min=1, max=1, avg=1, p95=1}, "
                            "infer_ms={count=100, min=1, max=1, avg=1, p95=1}, "
                            "postprocess_ms={count=100, min=3, max=3, avg=3, p95=3}"));
}

TEST_F(Infer, EndsWithFourForAnInputThatNoFrameIsMeantFor) {
    RvoCalyrHvqHelper helper(Seams());
    InitGood(helper);
    const Frame frame;
    for (const std::string dims : {"1 4 268435457", "4294967296 4294967296", "65536 65536 65536 65536 1"}) {
        m_library.Add("layer input input " + dims);
        EXPECT_EQ(helper.Infer(&frame.input, &m_output), 4U) << dims;
    }
    EXPECT_THAT(Lines(helper), ElementsAre("0 RvoHvqHelper::Infer(), failed, error=input layer too large"));
    EXPECT_THAT(CallsOf("hvqSetLayerData"), IsEmpty());
    m_library.Add("layer input input 1 4 144 256");
    EXPECT_EQ(helper.Infer(&frame.input, &m_output), 0U);
}

TEST_F(Infer, CoversALargerInputWithZerosBehindWhatIsKnown) {
    m_library.Add("fill segmentation constant 8");
    RvoCalyrHvqHelper helper(Seams());
    InitGood(helper);
    const Frame frame(3);
    m_library.Add("layer input input 1 5 200 300");

    EXPECT_EQ(helper.Infer(&frame.input, &m_output), 0U);

    std::vector<float> wanted(std::size_t{5} * 200 * 300, 0.0F);
    std::fill_n(wanted.begin(), 3 * kArea, 3.0F);
    EXPECT_EQ(NetworkInput(), wanted);
    EXPECT_THAT(CallsOf("hvqSetLayerData"), ElementsAre("hvqSetLayerData 2 \"input\" set [1,5,200,300] 4"));
    m_library.Add("layer input input 1 4 144 256");
    EXPECT_EQ(helper.Infer(&frame.input, &m_output), 0U);
    wanted.resize(4 * kArea);
    EXPECT_EQ(NetworkInput(), wanted);
}

TEST_F(Infer, HandsASmallerInputWhatFitsIt) {
    RvoCalyrHvqHelper helper(Seams());
    InitGood(helper);
    const Frame frame(3);
    m_library.Add("layer input input 1 1 2 2");

    EXPECT_EQ(helper.Infer(&frame.input, &m_output), 0U);

    EXPECT_EQ(NetworkInput(), std::vector<float>(4, 3.0F));
}

}  // namespace
}  // namespace inference_tests
