// How a running engine is exchanged between two frames. Gates in the library hold jobs where the test wants them; that
// a job's result is there shows only at a frame, so frames are given until one says that it has found it.

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <exception>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

#include "inference_fixture.h"
#include "support/event_flag.h"

namespace inference_tests {
namespace {

using ::testing::AllOf;
using ::testing::AnyOf;
using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;

// The three keys of an option.
std::string Keys(std::int32_t deviceType, std::int32_t quality = 0, std::int32_t type = 0) {
    return ", deviceType=" + std::to_string(deviceType) + ", modelQuality=" + std::to_string(quality) +
           ", modelType=" + std::to_string(type);
}

std::string SwitchLine(const std::string& from, const std::string& to) {
    return "2 RvoHvqHelper::SwitchEngine(), [from]" + from + " [to]" + to;
}

std::string DispatchLine(const std::string& from, const std::string& to) {
    return "2 RvoHvqHelper::SwitchEngine(), dispatch init job [from]" + from + " [to]" + to;
}

enum class BrightHalf { Left, Right };

// A working helper on engine 2, made for the processor.
class Switching : public Inference {
 protected:
    Switching() {
        m_library.Add("devices OpenVINO AUTO CPU GPU NPU\nfill segmentation constant 0");
        EXPECT_EQ(m_helper->Init(Option(kCpu)), 0U);
        Forget();
    }

    std::uint32_t InferFrame() { return m_helper->Infer(&m_frame.input, &m_output); }

    // Starts a job that stays in the library until its gate is opened, and returns when it is there.
    void StartGatedJob(const _CalyrPortraitOption& option, const std::string& gate,
                       const std::string& function = "hvqCreateNetByBuiltin") {
        m_library.Add("gate " + function + " next " + gate);
        ASSERT_EQ(m_helper->Init(option), 0U);
        ASSERT_TRUE(m_library.AwaitGate(gate));
    }

    // Gives frames until one has logged a line that begins so. Returns all lines up to then.
    std::vector<std::string> InferUntil(const std::string& line) {
        std::vector<std::string> all;
        for (;;) {
            EXPECT_EQ(InferFrame(), 0U);
            bool isThere = false;
            for (std::string& each : Lines(*m_helper)) {
                isThere = isThere || each.starts_with(line);
                all.push_back(std::move(each));
            }
            if (isThere) return all;
        }
    }

    // Waits until a job has said so: then its result is there, or about to be.
    std::vector<std::string> AwaitLine(const std::string& part) {
        std::vector<std::string> all;
        for (;;) {
            for (std::string& each : Lines(*m_helper))
                all.push_back(std::move(each));
            for (const std::string& each : all)
                if (each.find(part) != std::string::npos) return all;
            std::this_thread::yield();
        }
    }

    void GiveFrames(int count) {
        for (int number = 0; number < count; ++number)
            EXPECT_EQ(InferFrame(), 0U);
    }

    // Asks for another option, which starts its job only when the last job's result has been claimed. If it hasn't,
    // `wanted` is asked for again, before any frame could see the other. Returns whether the job was started.
    bool StartsAnotherJob(const _CalyrPortraitOption& other, const _CalyrPortraitOption& wanted) {
        EXPECT_EQ(m_helper->Init(other), 0U);
        bool isStarted = true;
        for (const std::string& line : Lines(*m_helper))
            isStarted = isStarted && line.find("future is still running") == std::string::npos;
        if (isStarted) return true;
        EXPECT_EQ(m_helper->Init(wanted), 0U);
        (void)Lines(*m_helper);
        return false;
    }

    // Gives a frame of a half-bright picture, whose first plane becomes the mask. Returns whether it was inferred.
    bool Infers(BrightHalf half, bool isTemporal = true) {
        for (std::size_t at = 0; at < m_frame.bytes.size(); ++at)
            m_frame.bytes[at] = (at % kWidth < kWidth / 2) == (half == BrightHalf::Left) ? 250 : 0;
        m_frame.Temporal(isTemporal);
        const int before = m_library.Count("hvqInfer");
        EXPECT_EQ(InferFrame(), 0U);
        return m_library.Count("hvqInfer") > before;
    }

    // One inference of a picture with its left half bright, and then so many frames of it that are skipped. Then a swap
    // at a frame that does not ask for temporal treatment: such frames repeat the last decision, and count nothing.
    void SwapAfterSkips(int skips) {
        m_library.Add("fill segmentation copy input 0");
        StartGatedJob(Option(kGpu), "job");
        EXPECT_TRUE(Infers(BrightHalf::Left));
        for (int number = 0; number < skips; ++number)
            EXPECT_FALSE(Infers(BrightHalf::Left));
        m_library.OpenGate("job");
        for (bool hasSwitched = false; !hasSwitched;) {
            const bool inferred = Infers(BrightHalf::Left, false);
            for (const std::string& line : Lines(*m_helper))
                hasSwitched = hasSwitched || line.starts_with("2 RvoHvqHelper::SwitchEngine(), [from]");
            EXPECT_EQ(inferred, hasSwitched) << "the first of the new engine, and none before it";
        }
    }

    Frame m_frame;
    RvoCalyrOutput m_output{HeaderOf(kWidth, kHeight)};
    std::unique_ptr<RvoHvqHelper> m_helper = std::make_unique<RvoCalyrHvqHelper>(Seams());
};

TEST_F(Switching, TakesTheNewEngineWithinOneFrameAndDestroysTheOldOneThere) {
    StartGatedJob(Option(kGpu), "job");
    GiveFrames(5);
    EXPECT_THAT(CallsOf("hvqInfer"), AllOf(Each(std::string("hvqInfer 2")), ::testing::SizeIs(5)))
        << "frames go on with the old engine";
    m_library.OpenGate("job");

    const std::vector<std::string> lines = InferUntil("2 RvoHvqHelper::SwitchEngine()");

    EXPECT_THAT(lines, Contains(SwitchLine(Keys(kCpu), Keys(kGpu))));
    EXPECT_THAT(lines, Not(Contains(HasSubstr("dispatch"))));
    const std::uint32_t ownThread = m_library.ThreadNumber();
    const std::vector<scripted_double::Call> calls = m_library.Calls();
    const auto find = [&](const std::string& text) {
        return std::find_if(calls.begin(), calls.end(), [&](const auto& call) { return call.text.starts_with(text); });
    };
    const auto destroyed = find("hvqDestory 2");
    const auto inferred = find("hvqInfer 4");
    const auto created = find("hvqCreateNetByBuiltin 4");
    ASSERT_NE(destroyed, calls.end());
    ASSERT_NE(inferred, calls.end());
    ASSERT_NE(created, calls.end());
    EXPECT_LT(created, destroyed);
    EXPECT_LT(destroyed, inferred);
    EXPECT_EQ(destroyed->thread, ownThread) << "on the thread of the frame";
    EXPECT_NE(created->thread, ownThread) << "and made on another";
    EXPECT_TRUE(std::none_of(inferred, calls.end(), [](const auto& call) { return call.text == "hvqInfer 2"; }));
    EXPECT_EQ(m_library.LiveEngines(), 1U);
}

TEST_F(Switching, RunsOnlyWithFramesThatPassTheChecks) {
    StartGatedJob(Option(kGpu), "job");
    m_library.OpenGate("job");
    (void)AwaitLine("create engine success");
    const Frame large(0, 640, 360);
    for (int number = 0; number < 50; ++number)
        EXPECT_EQ(m_helper->Infer(&large.input, &m_output), 2U);
    EXPECT_THAT(Lines(*m_helper), Not(Contains(HasSubstr("SwitchEngine"))));
    EXPECT_EQ(m_library.LiveEngines(), 2U);

    (void)InferUntil("2 RvoHvqHelper::SwitchEngine(), [from]");
}

TEST_F(Switching, LetsTheNewestOfSeveralRequestsWinInOneFurtherJob) {
    StartGatedJob(Option(kGpu), "first");
    _CalyrPortraitOption newest = Option(kNpu);
    newest.modelType = 2;
    EXPECT_EQ(m_helper->Init(Option(kAuto)), 0U);
    EXPECT_EQ(m_helper->Init(newest), 0U);
    GiveFrames(5);
    EXPECT_THAT(Lines(*m_helper), Not(Contains(HasSubstr("SwitchEngine"))));
    m_library.Add("gate hvqCreateNetByBuiltin next second");
    m_library.OpenGate("first");

    // The new job's own lines may come before or behind it.
    EXPECT_THAT(InferUntil("2 RvoHvqHelper::SwitchEngine()"), Contains(DispatchLine(Keys(kCpu), Keys(kNpu, 0, 2))));

    ASSERT_TRUE(m_library.AwaitGate("second"));
    GiveFrames(5);
    EXPECT_EQ(m_library.LiveEngines(), 3U) << "the first job's engine waits unused";
    m_library.OpenGate("second");
    EXPECT_THAT(InferUntil("2 RvoHvqHelper::SwitchEngine()"), Contains(SwitchLine(Keys(kCpu), Keys(kNpu, 0, 2))));
    GiveFrames(3);
    EXPECT_EQ(m_library.LiveEngines(), 1U);
    EXPECT_THAT(CallsOf("hvqInfer"), Not(Contains("hvqInfer 4"))) << "it is never installed";
    EXPECT_EQ(CallsOf("hvqInfer").back(), "hvqInfer 6");
    const std::vector<std::string> destroyed = CallsOf("hvqDestory");
    EXPECT_LT(std::find(destroyed.begin(), destroyed.end(), "hvqDestory 4"),
              std::find(destroyed.begin(), destroyed.end(), "hvqDestory 2"))
        << "its place is taken before the old engine's";
    EXPECT_THAT(CallsOf("hvqCreateNetByBuiltin"), ElementsAre(HasSubstr("\"GPU\""), HasSubstr("\"NPU\"")));
}

TEST_F(Switching, LeavesAnEngineUnusedThatNobodyWantsAnyMore) {
    StartGatedJob(Option(kGpu), "job");
    EXPECT_EQ(m_helper->Init(Option(kCpu)), 0U);
    m_library.OpenGate("job");
    (void)AwaitLine("create engine success");

    do {
        GiveFrames(50);
        EXPECT_THAT(Lines(*m_helper), Not(Contains(HasSubstr("SwitchEngine"))));
        EXPECT_THAT(CallsOf("hvqInfer"), Each(std::string("hvqInfer 2")));
        EXPECT_EQ(m_library.LiveEngines(), 2U);
    } while (!StartsAnotherJob(Option(kNpu), Option(kCpu)));  // only then its result has been claimed

    m_helper.reset();
    EXPECT_EQ(m_library.LiveEngines(), 0U);
}

TEST_F(Switching, DestroysAnEngineThatWaitsUnusedWhenTheNextJobFails) {
    StartGatedJob(Option(kGpu), "job");
    EXPECT_EQ(m_helper->Init(Option(kCpu)), 0U);
    m_library.OpenGate("job");
    (void)AwaitLine("create engine success");
    m_library.Add("gate hvqCreateNetByBuiltin next second\nfail hvqCreateNetByBuiltin next \"out of luck\"");
    do {
        GiveFrames(50);
    } while (!StartsAnotherJob(Option(kNpu), Option(kCpu)));  // only then the first job's engine waits unused
    ASSERT_TRUE(m_library.AwaitGate("second"));
    m_library.OpenGate("second");
    std::vector<std::string> lines = AwaitLine("InitHvq(), failed");
    EXPECT_EQ(m_library.LiveEngines(), 2U) << "the one in use and the one that waits";

    do {
        GiveFrames(1);
    } while (m_library.LiveEngines() == 2U);
    GiveFrames(50);

    for (std::string& line : Lines(*m_helper))
        lines.push_back(std::move(line));
    EXPECT_THAT(lines, Not(Contains(HasSubstr("SwitchEngine(), [from]"))))
        << "the engine of the first job is no answer";
    EXPECT_THAT(CallsOf("hvqInfer"), Each(std::string("hvqInfer 2")));
    EXPECT_THAT(CallsOf("hvqDestory"), Contains("hvqDestory 4"));
    EXPECT_EQ(m_library.LiveEngines(), 1U);
}

TEST_F(Switching, DoesNotTryAFailedJobAgain) {
    m_library.Add("fail hvqCreateNetByBuiltin next \"out of luck\"");
    ASSERT_EQ(m_helper->Init(Option(kGpu)), 0U);
    EXPECT_THAT(AwaitLine("InitHvq(), failed"), Contains(HasSubstr("error=out of luck")));

    do {
        GiveFrames(100);
        EXPECT_THAT(Lines(*m_helper), Not(Contains(AnyOf(HasSubstr("InitHvq"), HasSubstr("SwitchEngine")))));
        EXPECT_EQ(m_helper->Init(Option(kGpu)), 0U);
        EXPECT_THAT(Lines(*m_helper), ElementsAre("2 RvoHvqHelper::Init(), has init already."));
        GiveFrames(100);
        EXPECT_THAT(CallsOf("hvqInfer"), Each(std::string("hvqInfer 2")));
        EXPECT_EQ(m_library.Count("hvqCreateNetByBuiltin"), 1);
        // Another option is another chance, and at once when the failed job has been claimed.
    } while (!StartsAnotherJob(Option(kNpu), Option(kGpu)));

    EXPECT_THAT(InferUntil("2 RvoHvqHelper::SwitchEngine(), [from]"), Contains(SwitchLine(Keys(kCpu), Keys(kNpu))));
}

TEST_F(Switching, IsSteadyAgainWhenTheOldOptionComesBackAfterAFailedJob) {
    m_library.Add("fail hvqCreateNetByBuiltin next \"out of luck\"");
    ASSERT_EQ(m_helper->Init(Option(kGpu)), 0U);
    (void)AwaitLine("InitHvq(), failed");

    EXPECT_EQ(m_helper->Init(Option(kCpu)), 0U);
    do {
        GiveFrames(100);
        EXPECT_THAT(Lines(*m_helper), Not(Contains(HasSubstr("SwitchEngine"))));
        EXPECT_THAT(CallsOf("hvqInfer"), Each(std::string("hvqInfer 2")));
        EXPECT_EQ(m_library.Count("hvqCreateNetByBuiltin"), 1);
    } while (!StartsAnotherJob(Option(kNpu), Option(kCpu)));  // only then the failed job has been claimed
}

TEST_F(Switching, StartsTheTemporalStateOverButCarriesTheSkipsOn) {
    m_frame.Temporal();
    const auto infers = [&] {
        const int before = m_library.Count("hvqInfer");
        EXPECT_EQ(InferFrame(), 0U);
        return m_library.Count("hvqInfer") > before;
    };
    EXPECT_TRUE(infers());
    for (int number = 0; number < 9; ++number)
        EXPECT_FALSE(infers());
    int skips = 9;
    StartGatedJob(Option(kGpu), "job");
    m_library.OpenGate("job");
    (void)AwaitLine("create engine success");
    for (bool hasSwitched = false; !hasSwitched;) {
        const bool inferred = infers();
        for (const std::string& line : Lines(*m_helper))
            hasSwitched = hasSwitched || line.starts_with("2 RvoHvqHelper::SwitchEngine(), [from]");
        if (hasSwitched) {
            EXPECT_TRUE(inferred) << "the first of the new engine";
        } else {
            skips = inferred ? 0 : skips + 1;
        }
    }

    // The run of 17 goes on where it was.
    for (; skips < 17; ++skips)
        EXPECT_FALSE(infers());
    EXPECT_TRUE(infers());
    EXPECT_EQ(CallsOf("hvqInfer").back(), "hvqInfer 4");
}

TEST_F(Switching, ForgetsTheEdgeTheReferenceAndTheCountOfInferences) {
    SwapAfterSkips(1);

    // Without an edge nothing is measured: another picture is skipped, until the run of 17 that began before is full.
    for (int skips = 1; skips < 17; ++skips)
        EXPECT_FALSE(Infers(BrightHalf::Right)) << skips;
    EXPECT_TRUE(Infers(BrightHalf::Right));
    // Its mask is as large as the one before the swap, and is the reference all the same. It was the new engine's
    // second inference; eight further ones leave it, and the one behind them puts itself in its place.
    EXPECT_FALSE(Infers(BrightHalf::Right));
    for (int inference = 2; inference <= 10; ++inference)
        EXPECT_TRUE(Infers(BrightHalf::Left)) << inference;
    EXPECT_FALSE(Infers(BrightHalf::Left));
    EXPECT_THAT(CallsOf("hvqInfer"), Contains(std::string("hvqInfer 4")).Times(11));
}

TEST_F(Switching, GivesTheNewEnginesFirstInputTheMaskOfTheOld) {
    m_library.Add("fill segmentation constant 55");
    m_frame.Temporal();
    GiveFrames(1);
    // Frames that do not ask for temporal treatment leave that mask where it is.
    m_library.Add("fill segmentation constant 77");
    m_frame.Temporal(false);
    StartGatedJob(Option(kGpu), "job");
    m_library.OpenGate("job");

    (void)InferUntil("2 RvoHvqHelper::SwitchEngine(), [from]");

    EXPECT_THAT(CallsOf("hvqSetLayerData"), Contains(StartsWith("hvqSetLayerData 4 ")).Times(1));
    std::vector<float> wanted(4 * kArea, 0.0F);
    std::fill_n(wanted.begin() + static_cast<std::ptrdiff_t>(3 * kArea), kArea, 55.0F);
    EXPECT_TRUE(m_library.Input("input") == wanted);
    EXPECT_EQ(MaskOf(m_output), std::vector<std::uint8_t>(kArea, 77));
    m_frame.Temporal();
    GiveFrames(1);
    EXPECT_EQ(MaskOf(m_output), std::vector<std::uint8_t>(kArea, 55)) << "skipped, and the old mask is the last kept";
}

TEST_F(Switching, LetsAFullRunOfSkipsForceTheFrameBehindTheFirst) {
    SwapAfterSkips(17);  // and the first has been inferred

    EXPECT_TRUE(Infers(BrightHalf::Left)) << "the same picture";

    EXPECT_FALSE(Infers(BrightHalf::Left));
    EXPECT_EQ(CallsOf("hvqInfer"), (std::vector<std::string>{"hvqInfer 2", "hvqInfer 4", "hvqInfer 4"}));
}

TEST_F(Switching, RegistersTheModelWhenTheNewEngineDoesNotKnowIt) {
    // The first engine didn't. Each one is asked anew, whatever was found with the one before.
    m_library.Add("models OpenVINO calyr_hvq_plugin_OpenVINO");
    ASSERT_EQ(m_helper->Init(Option(kGpu)), 0U);
    (void)InferUntil("2 RvoHvqHelper::SwitchEngine(), [from]");
    EXPECT_THAT(CallsOf("hvqRegisterModelAsInnerIDwithString"), IsEmpty());

    m_library.Add("models OpenVINO");
    ASSERT_EQ(m_helper->Init(Option(kNpu)), 0U);
    (void)InferUntil("2 RvoHvqHelper::SwitchEngine(), [from]");

    EXPECT_THAT(CallsOf("hvqRegisterModelAsInnerIDwithString"),
                ElementsAre(StartsWith("hvqRegisterModelAsInnerIDwithString 6 \"calyr_hvq_plugin_OpenVINO\" ")));
}

TEST_F(Switching, ToAnEngineOfAnotherSizeKeepsTheBuffersAndFailsAtTheMask) {
    m_library.Add("gate hvqCreateNetByBuiltin next job");
    ASSERT_EQ(m_helper->Init(Option(kCpu, 1)), 2U);
    ASSERT_TRUE(m_library.AwaitGate("job"));
    m_library.OpenGate("job");
    EXPECT_THAT(InferUntil("2 RvoHvqHelper::SwitchEngine()"), Contains(SwitchLine(Keys(kCpu), Keys(kCpu, 1))));
    Forget();
    m_library.Add("layer input input 1 4 360 640\nlayer output segmentation 1 1 360 640");

    EXPECT_EQ(InferFrame(), 0U);

    EXPECT_EQ(m_output.status, 2);
    EXPECT_THAT(Lines(*m_helper),
                ElementsAre("0 RvoHvqHelper::SetMask(), [outputWidth/outputHeight]=[640/360] not match "
                            "[inputWidth/inputHeight]=[256/144]"));
    EXPECT_THAT(CallsOf("hvqSetLayerData"), ElementsAre("hvqSetLayerData 4 \"input\" set [1,4,360,640] 4"));
    const std::vector<float> input = m_library.Input("input");
    ASSERT_EQ(input.size(), std::size_t{4} * 640 * 360);
    EXPECT_TRUE(std::all_of(input.begin() + static_cast<std::ptrdiff_t>(4 * kArea), input.end(),
                            [](float value) { return value == 0.0F; }));
    const Frame large(0, 640, 360);
    EXPECT_EQ(m_helper->Infer(&large.input, &m_output), 2U) << "the size is the old one";
}

TEST_F(Switching, GivesAJobTheModelThatWasChosenAtItsStart) {
    StartGatedJob(Option(kGpu), "job", "hvqCreateWithLibraryLoader");
    EXPECT_EQ(m_helper->Init(Option(kGpu, 1)), 2U);
    m_library.OpenGate("job");

    (void)AwaitLine("create engine success");

    EXPECT_THAT(CallsOf("hvqRegisterModelAsInnerIDwithString"), ElementsAre(HasSubstr("calyr_144p_input.dll")));
}

TEST_F(Switching, LetsOutOfInferWhatNoBringUpCatches) {
    m_programFile.ThrowNext(std::make_exception_ptr(
        std::filesystem::filesystem_error("no answer", std::make_error_code(std::errc::io_error))));
    ASSERT_EQ(m_helper->Init(Option(kGpu)), 0U);

    bool hasThrown = false;
    while (!hasThrown) {
        try {
            EXPECT_EQ(InferFrame(), 0U);
        } catch (const std::filesystem::filesystem_error&) {
            hasThrown = true;
        }
    }

    GiveFrames(5);
    EXPECT_THAT(CallsOf("hvqInfer"), Each(std::string("hvqInfer 2"))) << "the old engine goes on";
    EXPECT_EQ(m_helper->Init(Option(kNpu)), 0U);
    (void)InferUntil("2 RvoHvqHelper::SwitchEngine(), [from]");
}

TEST_F(Switching, LetsOutOfInferWhatIsNoStandardException) {
    m_programFile.ThrowNext(std::make_exception_ptr(7));
    ASSERT_EQ(m_helper->Init(Option(kGpu)), 0U);

    bool hasThrown = false;
    while (!hasThrown) {
        try {
            EXPECT_EQ(InferFrame(), 0U);
        } catch (const int number) {
            EXPECT_EQ(number, 7);
            hasThrown = true;
        }
    }

    GiveFrames(2);
}

TEST_F(Switching, IsWaitedForByTheDestructor) {
    StartGatedJob(Option(kGpu), "job");
    support::EventFlag destroyed;
    std::thread end([&] {
        m_helper.reset();
        destroyed.Set();
    });

    EXPECT_FALSE(destroyed.Wait(std::chrono::milliseconds(50)));
    EXPECT_THAT(CallsOf("hvqDestory"), Not(Contains("hvqDestory 2"))) << "the engine in use goes after the job";
    m_library.OpenGate("job");
    EXPECT_TRUE(destroyed.Wait());
    end.join();

    EXPECT_EQ(m_library.LiveEngines(), 0U);
    const std::vector<std::string> calls = CallsOf("hvqDestory");
    EXPECT_THAT(calls, ElementsAre("hvqDestory 3", "hvqDestory 4", "hvqDestory 2"));
}

TEST_F(Switching, EndsWithAResultThatNobodyClaimed) {
    StartGatedJob(Option(kGpu), "job");
    m_library.OpenGate("job");
    (void)AwaitLine("create engine success");

    m_helper.reset();

    EXPECT_EQ(m_library.LiveEngines(), 0U);
}

TEST_F(Switching, GoesOnForManySwapsUnderARunningStream) {
    for (int swap = 0; swap < 20; ++swap) {
        const std::int32_t device = swap % 2 == 0 ? kGpu : kCpu;
        ASSERT_EQ(m_helper->Init(Option(device)), 0U);
        EXPECT_THAT(InferUntil("2 RvoHvqHelper::SwitchEngine(), [from]"),
                    Contains(SwitchLine(Keys(swap % 2 == 0 ? kCpu : kGpu), Keys(device))));
        EXPECT_EQ(m_output.status, 0);
    }
    EXPECT_EQ(m_library.LiveEngines(), 1U);
}

}  // namespace
}  // namespace inference_tests
