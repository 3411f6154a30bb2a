// The real process on the networks that come with it, and a drawn picture whose mask is known.

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <numeric>
#include <vector>

#include "inferring_process.h"
#include "process_fixture.h"
#include "velmo_scenes/scene.h"
#include "velmo_scenes/seeds.h"

namespace process_tests {
namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::uint8_t kForeground = 129;

class ProcessOnReferenceNetworks : public InferringProcess, public ::testing::WithParamInterface<Model> {};

scenes::Frame Draw(Size size) {
    scenes::Scene scene(scenes::kFirstHeldOutSeed + 4);
    scenes::Frame frame;
    scene.Draw(0.0, static_cast<int>(size.width), static_cast<int>(size.height), frame);
    return frame;
}

// The picture as the process wants it: all of red, then green, then blue.
Bytes Planes(const Bytes& rgb) {
    const std::size_t pixels = rgb.size() / 3;
    Bytes planes(rgb.size());
    for (std::size_t at = 0; at < rgb.size(); ++at)
        planes[at % 3 * pixels + at / 3] = rgb[at];
    return planes;
}

// The share of pixels that are foreground in both or in neither, 0 to 1.
double Agreement(const Bytes& first, const Bytes& second) {
    std::size_t same = 0;
    for (std::size_t at = 0; at < first.size(); ++at)
        if ((first[at] >= kForeground) == (second[at] >= kForeground)) ++same;
    return static_cast<double>(same) / static_cast<double>(first.size());
}

TEST_P(ProcessOnReferenceNetworks, CutsSomebodyOut) {
    const auto [type, quality] = GetParam();
    const Size size = kSizes[quality];
    const scenes::Frame frame = Draw(size);
    ASSERT_EQ(frame.people, 1);
    ASSERT_NO_FATAL_FAILURE(StartProcess());

    ASSERT_EQ(Init(type, quality, kCpu, ProgramFolderPath().string(), (ProgramFolderPath() / "models").string()), 0)
        << ::testing::PrintToString(LogTexts());
    Submit(Planes(frame.rgb), size, Skipping::Off);

    ASSERT_TRUE(m_recorder.AwaitResults(1));
    const Recorder::FrameResult result = m_recorder.ResultAt(0);
    ASSERT_EQ(result.status, 0);
    ASSERT_EQ(result.mask.size(), frame.mask.size());
    EXPECT_GT(Agreement(result.mask, frame.mask), 0.97);
    // A type without the layer leaves it out.
    EXPECT_EQ(result.gesture.empty(), type != 0);
    const float sum = std::accumulate(result.gesture.begin(), result.gesture.end(), 0.0F);
    EXPECT_NEAR(sum, type == 0 ? 1.0F : 0.0F, 1e-4F);
    ExpectAGoodEnd();
}

INSTANTIATE_TEST_SUITE_P(All, ProcessOnReferenceNetworks, ::testing::ValuesIn(kModels), NameOf);

}  // namespace
}  // namespace process_tests
