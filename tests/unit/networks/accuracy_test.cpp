#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "network_check_tool/evaluation.h"
#include "reference_models.h"

namespace {

using networks_tests::Empty;
using networks_tests::Model;
using networks_tests::Share;

// What a network has to reach on the scenes of this test. They are few, so the means differ from those of
// docs/networks.md.
struct Bar {
    std::string model;
    int scenes;
    double overlap;
    double steadiness;
};

class NetworkAccuracy : public testing::TestWithParam<Bar> {};

TEST_P(NetworkAccuracy, ReachesItsOverlapOnScenesThatItNeverSaw) {
    const network_check::Findings found = network_check::Evaluate(Model(GetParam().model), GetParam().scenes);
    EXPECT_GT(found.overlapAlone, GetParam().overlap);
    EXPECT_GT(found.overlapFollowing, GetParam().overlap);
    EXPECT_GT(found.steadyAlone, GetParam().steadiness);
    EXPECT_GT(found.steadyFollowing, GetParam().steadiness);
}

INSTANTIATE_TEST_SUITE_P(Reference, NetworkAccuracy,
                         testing::Values(Bar{"calyr_144p", 24, 0.89, 0.96}, Bar{"calyr_360p", 6, 0.90, 0.97}),
                         [](const auto& each) { return each.param.model; });

class NetworkExtremes : public testing::TestWithParam<std::string> {};

TEST_P(NetworkExtremes, FindNobodyWhereNobodyIs) {
    auto& model = Model(GetParam());
    const std::size_t pixels = Empty(model).size();
    for (const int grey : {0, 30, 60, 90, 128, 190, 255}) {
        const std::vector<std::uint8_t> rgb(3 * pixels, static_cast<std::uint8_t>(grey));
        EXPECT_LT(Share(model.Infer(rgb, Empty(model))), 0.01) << "grey " << grey;
    }
}

TEST_P(NetworkExtremes, GiveUpAFullPreviousMaskWhereNobodyIs) {
    auto& model = Model(GetParam());
    const std::size_t pixels = Empty(model).size();
    const std::vector<std::uint8_t> rgb(3 * pixels, 90);
    std::vector<std::uint8_t> mask(pixels, 255);
    for (int i = 0; i < 5; ++i)
        mask = model.Infer(rgb, mask);
    EXPECT_LT(Share(mask), 0.01);
}

INSTANTIATE_TEST_SUITE_P(Reference, NetworkExtremes, testing::ValuesIn(networks_tests::kModels),
                         [](const auto& each) { return each.param; });

}  // namespace
