#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "engine/plugin_engine.h"
#include "scripted_double/scripted_library.h"
#include "support/allocation_counter.h"

namespace hvq::inference {
namespace {

// What the double allocates counts here on Linux, and nothing of it on Windows: it makes none on these paths.
class FrameAllocations : public testing::Test {
 protected:
    void SetUp() override {
        engine.Create(library.Path(), nullptr, nullptr);
        engine.CreateNetwork("OpenVINO", "n", "CPU", "m", {});
        engine.SetLayerData(input, data.data(), dims);
        engine.Infer();
    }

    const scripted_double::ScriptedLibrary library{
        "quiet\nmodels OpenVINO m\nfill segmentation copy input 0\nfill motion noise 1"};
    PluginEngine engine;
    const std::string input = "input";
    const std::string output = "segmentation";
    const std::vector<std::uint64_t> dims = {1, 4, 144, 256};
    const std::vector<float> data = std::vector<float>(std::size_t{4} * 144 * 256, 1.0F);
};

TEST_F(FrameAllocations, AreNoneForDataAndInference) {
    const std::int64_t before = AllocationCount();

    for (int frame = 0; frame < 10; ++frame) {
        engine.SetLayerData(input, data.data(), dims);
        engine.Infer();
        EXPECT_NE(engine.GetLayerData(output), nullptr);
    }

    EXPECT_EQ(AllocationCount(), before);
}

TEST_F(FrameAllocations, AreOneForDimensions) {
    const std::int64_t before = AllocationCount();

    const Dims found = engine.GetLayerDims(input);

    EXPECT_EQ(AllocationCount(), before + 1);
    EXPECT_EQ(found, dims);
}

}  // namespace
}  // namespace hvq::inference
