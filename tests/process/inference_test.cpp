// The real process on a scripted library: masks for frames, another engine in the middle of a stream, and the end.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "inferring_process.h"
#include "process_fixture.h"
#include "scripted_double/scripted_library.h"

namespace process_tests {
namespace {

using ::testing::Contains;
using ::testing::HasSubstr;

constexpr char kCalls[] = "calls.txt";

// The byte of a frame's first plane at a pixel. The scripted network makes that plane the mask.
std::uint8_t PixelOf(int frame, std::size_t at) {
    return static_cast<std::uint8_t>(static_cast<std::size_t>(frame) * 31 + at % 251);
}

std::vector<std::uint8_t> MaskOf(int frame, Size size) {
    std::vector<std::uint8_t> mask(size.Pixels());
    for (std::size_t at = 0; at < mask.size(); ++at)
        mask[at] = PixelOf(frame, at);
    return mask;
}

std::string LayersOf(Size size) {
    const std::string sides = std::to_string(size.height) + " " + std::to_string(size.width);
    return "layer input input 1 4 " + sides + "\nlayer output segmentation 1 1 " + sides +
           "\nfill segmentation copy input 0\n";
}

class ProcessInference : public InferringProcess {
 protected:
    ~ProcessInference() override {
        m_link.Kill();
        m_link.Close();  // before the library's folder goes
    }

    // Starts the process beside a library with this script, behind which all calls are recorded.
    void Start(const std::string& script) {
        m_library.Put("hvq.script", script + "\nrecord " + kCalls + "\n");
        for (const auto& family : kModelFiles)
            for (const char* model : family)
                m_library.Put(model, "a network");
        StartProcess();
    }

    std::int32_t Init(std::int32_t modelType, std::int32_t quality, std::int32_t device) {
        const std::string folder = m_library.Folder().string();
        return InferringProcess::Init(modelType, quality, device, folder, folder);
    }

    void Submit(int frame, Size size) {
        std::vector<std::uint8_t> planes = MaskOf(frame, size);
        planes.resize(3 * size.Pixels(), 0x33);
        InferringProcess::Submit(planes, size, Skipping::Off);
    }

    // That these frames, the first of which has the number `first`, give their masks in this record.
    void ExpectMasks(int first, int count, Size size, std::int8_t record) {
        const std::size_t before = m_recorder.Results().size();
        for (int frame = first; frame < first + count; ++frame)
            ASSERT_NO_FATAL_FAILURE(Submit(frame, size));
        ASSERT_TRUE(m_recorder.AwaitResults(before + static_cast<std::size_t>(count)));
        const auto results = m_recorder.Results();
        ASSERT_EQ(results.size(), before + static_cast<std::size_t>(count));
        for (int frame = 0; frame < count; ++frame) {
            const Recorder::FrameResult& result = results[before + static_cast<std::size_t>(frame)];
            EXPECT_EQ(result.index, record);
            EXPECT_EQ(result.status, 0);
            EXPECT_TRUE(result.mask == MaskOf(first + frame, size)) << "frame " << first + frame;
        }
    }

    std::string CallsPath() const { return (m_library.Folder() / kCalls).string(); }

    // Has a working process with a job that stays in the library until the file job.open is there.
    void StartWithAJob(std::int32_t modelType) {
        ASSERT_NO_FATAL_FAILURE(Start(LayersOf(kSizes[0]) + "gate hvqCreateNetByBuiltin 2 job"));
        ASSERT_EQ(Init(modelType, 0, kCpu), 0);
        ASSERT_EQ(Init(modelType, 0, kGpu), 0);
        ASSERT_TRUE(AwaitFileText(CallsPath(), " hvqCreateNetByBuiltin ", 2));
    }

    scripted_double::ScratchLibrary m_library;
};

class EachModel : public ProcessInference, public ::testing::WithParamInterface<Model> {};

TEST_P(EachModel, GivesMasksForFrames) {
    const Size size = kSizes[GetParam().quality];
    ASSERT_NO_FATAL_FAILURE(Start(LayersOf(size)));
    EXPECT_EQ(Init(GetParam().type, GetParam().quality, kCpu), 0);
    EXPECT_TRUE(m_recorder.AwaitLine("RvoHvqHelper::InitHvq(), create engine success, m_engineName=OpenVINO"));

    // The whole record is the full family's alone.
    ExpectMasks(1, 12, size, GetParam().type == 0 ? 1 : 0);

    ExpectAGoodEnd();
    // The mask's family is never destroyed. The others are, and the library goes behind them. It is loaded anew once
    // its version is known, so the engine in use is the first of this load.
    const std::string calls = FileText(CallsPath());
    const std::string end = " hvqDestory 1\n0 unloaded\n";
    EXPECT_EQ(calls.substr(calls.size() - std::min(calls.size(), end.size())) == end, GetParam().type != 2);
}

INSTANTIATE_TEST_SUITE_P(All, EachModel, ::testing::ValuesIn(kModels), NameOf);

TEST_F(ProcessInference, FallsBackFromAMissingGraphicsDevice) {
    ASSERT_NO_FATAL_FAILURE(Start(LayersOf(kSizes[0]) + "devices OpenVINO CPU"));

    EXPECT_EQ(Init(0, 0, kGpu), 0);

    ExpectMasks(1, 3, kSizes[0], 1);
    ExpectAGoodEnd();
    EXPECT_THAT(LogTexts(), Contains(HasSubstr("not support device, deviceType=GPU, fallback to CPU [this=")));
    EXPECT_THAT(LogTexts(), Contains(HasSubstr("networkId=calyr_hvq_plugin_OpenVINO_CPU, deviceType=CPU, duration=")));
}

TEST_F(ProcessInference, LivesOnWithoutAnEngine) {
    ASSERT_NO_FATAL_FAILURE(Start(LayersOf(kSizes[0]) + "devices OpenVINO NPU"));

    EXPECT_EQ(Init(0, 0, kGpu), 3);
    ASSERT_NO_FATAL_FAILURE(Submit(1, kSizes[0]));
    ASSERT_TRUE(m_recorder.AwaitResults(1));
    EXPECT_EQ(m_recorder.Results()[0].status, 4) << "nothing written yet";
    EXPECT_EQ(Init(9, 0, kGpu), 3) << "the earlier helper's word";
    EXPECT_EQ(Init(0, 0, 3), 0);
    ExpectMasks(2, 3, kSizes[0], 1);

    ExpectAGoodEnd();
}

TEST_F(ProcessInference, AnswersTwoForNumbersThatNameNothing) {
    ASSERT_NO_FATAL_FAILURE(Start(LayersOf(kSizes[0])));
    EXPECT_EQ(Init(0, 0, 9), 2);
    EXPECT_EQ(Init(0, -1, kCpu), 2);
    EXPECT_EQ(Init(0, 0, kCpu), 0);
    ExpectAGoodEnd();
}

TEST_F(ProcessInference, HoldsSeveralFamiliesAtOnce) {
    ASSERT_NO_FATAL_FAILURE(Start(LayersOf(kSizes[0])));
    EXPECT_EQ(Init(0, 0, kCpu), 0);
    ExpectMasks(1, 2, kSizes[0], 1);
    EXPECT_EQ(Init(2, 0, kCpu), 0);
    ExpectMasks(3, 2, kSizes[0], 1);  // the output object stays as long as the pixel count does
    EXPECT_EQ(Init(1, 0, kCpu), 0);
    ExpectMasks(5, 2, kSizes[0], 1);
    EXPECT_EQ(Init(0, 0, kCpu), 0);
    ExpectMasks(7, 2, kSizes[0], 1);
    ExpectAGoodEnd();
    EXPECT_THAT(LogTexts(), Contains(HasSubstr("RvoHvqHelper::Init(), has init already.")));
}

TEST_F(ProcessInference, SwapsTheEngineUnderARunningStreamAndLosesNoFrame) {
    constexpr int kFrames = 60;
    ASSERT_NO_FATAL_FAILURE(Start(LayersOf(kSizes[0]) + "gate hvqCreateNetByBuiltin 2 job"));
    ASSERT_EQ(Init(0, 0, kCpu), 0);
    ExpectMasks(0, kFrames, kSizes[0], 1);
    EXPECT_EQ(Init(0, 0, kGpu), 0);
    ExpectMasks(kFrames, kFrames, kSizes[0], 1);  // the job is in the library, and no frame waits for it
    m_library.Put("job.open", "");

    int frames = 2 * kFrames;
    const auto hasSwapped = [&] {
        const std::vector<std::string> texts = LogTexts();
        return std::ranges::any_of(
            texts, [](const std::string& text) { return text.find("SwitchEngine(), [from]") != std::string::npos; });
    };
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(kPatienceMs);
    for (; !hasSwapped(); ++frames) {
        ASSERT_LT(std::chrono::steady_clock::now(), end) << "no swap";
        ASSERT_NO_FATAL_FAILURE(ExpectMasks(frames, 1, kSizes[0], 1));
    }
    ExpectMasks(frames, kFrames, kSizes[0], 1);

    ExpectAGoodEnd();
    EXPECT_THAT(LogTexts(), Contains(HasSubstr("RvoHvqHelper::SwitchEngine(), [from], deviceType=1, modelQuality=0, "
                                               "modelType=0 [to], deviceType=2, modelQuality=0, modelType=0 [this=")));
}

class ExitDuringAJob : public ProcessInference, public ::testing::WithParamInterface<std::int32_t> {};

TEST_P(ExitDuringAJob, WaitsForItWithTheFamiliesThatAreDestroyed) {
    ASSERT_NO_FATAL_FAILURE(StartWithAJob(GetParam()));

    (void)m_link.Terminate();

    EXPECT_FALSE(m_link.WaitForExit(1000));
    m_library.Put("job.open", "");
    ExpectExit(0);
    // The job's engine is the third of this load: the second told the version.
    const std::string calls = FileText(CallsPath());
    const std::size_t unclaimed = calls.find(" hvqDestory 3\n");
    const std::size_t used = calls.rfind(" hvqDestory 1\n");
    ASSERT_NE(unclaimed, std::string::npos);
    ASSERT_NE(used, std::string::npos);
    EXPECT_LT(unclaimed, used);
    EXPECT_TRUE(calls.ends_with(" hvqDestory 1\n0 unloaded\n"));
}

INSTANTIATE_TEST_SUITE_P(Types, ExitDuringAJob, ::testing::Values(0, 1));

TEST_F(ProcessInference, EndsDuringAJobOfTheMasksFamilyWithoutWaiting) {
    ASSERT_NO_FATAL_FAILURE(StartWithAJob(2));

    (void)m_link.Terminate();

    ExpectExit(0);  // with the gate still closed
    const std::string calls = FileText(CallsPath());
    EXPECT_EQ(calls.find(" hvqDestory 3\n"), std::string::npos);
    EXPECT_EQ(calls.find(" hvqDestory 1\n", calls.find(" hvqDestory 1\n") + 1), std::string::npos)
        << "but the one that told the first version";
}

}  // namespace
}  // namespace process_tests
