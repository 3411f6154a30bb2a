// The real process on the stand-in's library and networks: a device that isn't there, masks of a still picture of which
// most frames are skipped, and of one that has moved.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include "inferring_process.h"
#include "process_fixture.h"

namespace process_tests {
namespace {

using ::testing::Contains;
using ::testing::HasSubstr;

using Bytes = std::vector<std::uint8_t>;

constexpr std::uint8_t kSecondPlane = 120;
constexpr std::size_t kGestures = 9;
constexpr int kFrames = 100;        // after so many the process tells how many it has skipped
constexpr int kFramesPerMask = 18;  // of a still picture: one is inferred, and seventeen are skipped behind it

enum class BrightHalf { Left, Right };

// Half of it is foreground, so that its mask has an edge to measure at, and no row or column is like the next.
Bytes Picture(Size size, BrightHalf half) {
    Bytes planes(3 * size.Pixels(), kSecondPlane);
    for (std::size_t at = 0; at < size.Pixels(); ++at) {
        const std::size_t x = at % size.width;
        const std::size_t y = at / size.width;
        const bool isBright = (x < size.width / 2) == (half == BrightHalf::Left);
        planes[at] = static_cast<std::uint8_t>(isBright ? 240 - y % 16 : 20 + y % 16);
        planes[2 * size.Pixels() + at] = static_cast<std::uint8_t>(isBright ? 250 - x % 8 : x % 8);
    }
    return planes;
}

// What the networks make of a picture and the mask before it: their mean, as a whole number.
Bytes MaskOf(const Bytes& planes, const Bytes& previous) {
    Bytes mask(previous.size());
    for (std::size_t at = 0; at < mask.size(); ++at) {
        const int sum = planes[at] + planes[mask.size() + at] + planes[2 * mask.size() + at] + previous[at];
        mask[at] = static_cast<std::uint8_t>(sum / 4);
    }
    return mask;
}

class ProcessOnStandin : public InferringProcess, public ::testing::WithParamInterface<Model> {
 protected:
    ~ProcessOnStandin() override {
        m_link.Kill();
        m_link.Close();  // before the models' folder goes
    }

    // Puts the test networks under the names that the process looks for.
    void PutModels() {
        for (std::size_t type = 0; type < std::size(kModelFiles); ++type) {
            for (std::size_t quality = 0; quality < std::size(kSizes); ++quality) {
                const Size size = kSizes[quality];
                const std::string network = "family" + std::to_string(type) + "_" + std::to_string(size.width) + "x" +
                                            std::to_string(size.height) + ".onnx";
                std::filesystem::copy_file(ProgramFolderPath() / "networks" / network,
                                           m_models.Path() / kModelFiles[type][quality]);
            }
        }
    }

    // The answer to one frame, given late enough that a new stamp would differ from the last one.
    Recorder::FrameResult ResultOf(const Bytes& planes, Size size) {
        std::this_thread::sleep_for(std::chrono::milliseconds(3));
        Submit(planes, size, Skipping::On);
        if (!m_recorder.AwaitResults(++m_results)) return {-1, -1, true};
        return m_recorder.ResultAt(m_results - 1);
    }

    // That a result is a good one of the record that its type sends.
    static void ExpectRecord(const Recorder::FrameResult& result) {
        const bool isFull = GetParam().type == 0;
        EXPECT_EQ(result.index, isFull ? 1 : 0);
        EXPECT_EQ(result.status, 0);
        ASSERT_EQ(result.gesture.size(), isFull ? kGestures : 0);
        for (std::size_t at = 0; at < result.gesture.size(); ++at)
            EXPECT_NEAR(result.gesture[at], static_cast<float>((at + 1) * kSecondPlane), 0.1F);
    }

    ScratchFolder m_models;
    std::size_t m_results = 0;
};

TEST_P(ProcessOnStandin, FallsBackToTheProcessorAndSkipsMostFramesOfAStillPicture) {
    const auto [type, quality] = GetParam();
    const Size size = kSizes[quality];
    ASSERT_NO_FATAL_FAILURE(PutModels());
    ASSERT_NO_FATAL_FAILURE(StartProcess());

    ASSERT_EQ(Init(type, quality, kGpu, ProgramFolderPath().string(), m_models.Path().string()), 0)
        << ::testing::PrintToString(LogTexts());

    const Bytes still = Picture(size, BrightHalf::Left);
    Bytes mask(size.Pixels(), 0);
    std::uint64_t stampMs = 0;
    for (int frame = 0; frame < kFrames; ++frame) {
        SCOPED_TRACE("frame " + std::to_string(frame));
        const bool isInferred = frame % kFramesPerMask == 0;
        const Recorder::FrameResult result = ResultOf(still, size);
        ASSERT_NO_FATAL_FAILURE(ExpectRecord(result));
        if (isInferred) mask = MaskOf(still, mask);
        ASSERT_TRUE(result.mask == mask);
        ASSERT_EQ(result.stampMs > stampMs, isInferred);
        ASSERT_GE(result.stampMs, stampMs);
        stampMs = result.stampMs;
    }
    const Bytes moved = Picture(size, BrightHalf::Right);
    const Recorder::FrameResult result = ResultOf(moved, size);
    ASSERT_NO_FATAL_FAILURE(ExpectRecord(result));
    EXPECT_TRUE(result.mask == MaskOf(moved, mask));
    EXPECT_GT(result.stampMs, stampMs);

    ExpectAGoodEnd();
    static constexpr const char* kPlugins[] = {"calyr_hvq_plugin", "calyr_re_hvq_plugin", "inhouse_hvq_plugin"};
    const std::vector<std::string> log = LogTexts();
    EXPECT_THAT(log, Contains(HasSubstr("RvoHvqHelper::InitHvq(), not support device, deviceType=GPU, fallback to CPU "
                                        "[this=")));
    EXPECT_THAT(log, Contains(HasSubstr(std::string("RvoHvqHelper::InitHvq(), create engine success, "
                                                    "m_engineName=OpenVINO, networkId=") +
                                        kPlugins[type] + "_OpenVINO_CPU, deviceType=CPU, duration=")));
    EXPECT_THAT(log, Contains(HasSubstr("RvoHvqHelper::Infer(), runtime_metrics: rounds=100, skip=94, "
                                        "infer_utilization_pct=6, ")));
    EXPECT_THAT(log, Contains(HasSubstr("RvoHvqHelper::Infer(), content_change_permille: rounds=100, min=0, max=1000, "
                                        "avg=10, p95=0 ")));
}

INSTANTIATE_TEST_SUITE_P(All, ProcessOnStandin, ::testing::ValuesIn(kModels), NameOf);

}  // namespace
}  // namespace process_tests
