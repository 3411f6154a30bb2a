#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include "network_check_tool/evaluation.h"
#include "reference_models.h"

namespace {

using networks_tests::Model;
using testing::ElementsAre;

class NetworkLayers : public testing::TestWithParam<std::string> {
 protected:
    bool HasHeads() const { return GetParam().starts_with("calyr"); }
    bool HasTable() const { return GetParam().starts_with("calyr_re"); }
    bool IsLarge() const { return GetParam().ends_with("360p"); }
    bool Has(const std::string& layer) const {
        try {
            return !Model(GetParam()).Dims(layer).empty();
        } catch (const std::runtime_error&) {
            return false;
        }
    }
};

TEST_P(NetworkLayers, TakeFourPlanesAndGiveAMaskOfTheirSize) {
    const std::uint64_t height = IsLarge() ? 360 : 144;
    const std::uint64_t width = IsLarge() ? 640 : 256;
    EXPECT_THAT(Model(GetParam()).Dims("input"), ElementsAre(1U, 4U, height, width));
    EXPECT_THAT(Model(GetParam()).Dims("segmentation"), ElementsAre(1U, 1U, height, width));
}

TEST_P(NetworkLayers, HaveTheShapesThatTheProcessWantsOfTheFamily) {
    if (HasHeads()) {
        EXPECT_THAT(Model(GetParam()).Dims("faces_and_landmarks"), ElementsAre(1U, 1U, 9U, 16U, 1439U));
        EXPECT_THAT(Model(GetParam()).Dims("motion"), ElementsAre(1U));
        EXPECT_THAT(Model(GetParam()).Dims("gesture"), ElementsAre(1U, 9U));
    }
    if (HasTable()) {
        EXPECT_THAT(Model(GetParam()).Dims("lut"), ElementsAre(1U, 3U, 33U, 33U, 33U));
        EXPECT_THAT(Model(GetParam()).Dims("lut_vertices"), ElementsAre(1U, 3U, 33U));
    }
}

TEST_P(NetworkLayers, AreNoMoreThanTheFamilyHas) {
    EXPECT_EQ(Has("faces_and_landmarks"), HasHeads());
    EXPECT_EQ(Has("motion"), HasHeads());
    EXPECT_EQ(Has("gesture"), HasHeads());
    EXPECT_EQ(Has("lut"), HasTable());
    EXPECT_EQ(Has("lut_vertices"), HasTable());
}

TEST_P(NetworkLayers, HoldMaskBytesThatRoundWhenTheyAreCut) {
    auto& model = Model(GetParam());
    const scenes::Frame frame = networks_tests::Draw(model, network_check::kFirstSeed);
    model.Infer(frame.rgb, networks_tests::Empty(model));
    float least = 1000;
    float most = -1000;
    for (const float value : model.Numbers("segmentation")) {
        ASSERT_TRUE(std::isfinite(value));
        least = std::min(least, value);
        most = std::max(most, value);
    }
    EXPECT_GE(least, 0.5F);
    EXPECT_LT(most, 256.0F);
}

INSTANTIATE_TEST_SUITE_P(Reference, NetworkLayers, testing::ValuesIn(networks_tests::kModels),
                         [](const auto& each) { return each.param; });

}  // namespace
