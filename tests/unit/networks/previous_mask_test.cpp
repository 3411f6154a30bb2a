#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "network_check_tool/evaluation.h"
#include "network_check_tool/overlap.h"
#include "reference_models.h"

namespace {

using network_check::Overlap;
using networks_tests::Draw;
using networks_tests::Empty;
using networks_tests::Model;

constexpr int kScenes = 8;

// Hard to see: little light and much noise. The same on every system.
std::vector<std::uint8_t> Spoiled(const std::vector<std::uint8_t>& rgb, std::uint32_t seed) {
    std::minstd_rand random(seed);
    std::vector<std::uint8_t> spoiled(rgb.size());
    std::transform(rgb.begin(), rgb.end(), spoiled.begin(), [&random](std::uint8_t byte) {
        const int noise = static_cast<int>(random() % 81) - 40;
        return static_cast<std::uint8_t>(std::clamp(byte / 3 + 30 + noise, 0, 255));
    });
    return spoiled;
}

struct Overlaps {
    double alone = 0;  // of what an empty previous mask gives
    double after = 0;  // of what another one gives
};

// The means over a few held-out scenes of what `look` tells of each: look(its frame, its number, 0 and up).
template <class Look>
Overlaps MeansOverScenes(const network_check::ModelRun& model, const Look& look) {
    Overlaps means;
    for (std::uint32_t i = 0; i < kScenes; ++i) {
        const Overlaps one = look(Draw(model, network_check::kFirstSeed + i), i);
        means.alone += one.alone / kScenes;
        means.after += one.after / kScenes;
    }
    return means;
}

class PreviousMask : public testing::TestWithParam<std::string> {};

TEST_P(PreviousMask, HelpsWhereThePictureIsHardToSee) {
    auto& model = Model(GetParam());
    const Overlaps means = MeansOverScenes(model, [&model](const scenes::Frame& frame, std::uint32_t i) {
        const std::vector<std::uint8_t> rgb = Spoiled(frame.rgb, i + 1);
        Overlaps one;
        one.alone = Overlap(model.Infer(rgb, Empty(model)), frame.mask);
        one.after = Overlap(model.Infer(rgb, frame.mask), frame.mask);
        return one;
    });
    EXPECT_GT(means.after, means.alone + 0.03);
}

TEST_P(PreviousMask, IsOvercomeWhereItIsWrong) {
    auto& model = Model(GetParam());
    const Overlaps means = MeansOverScenes(model, [&model](const scenes::Frame& frame, std::uint32_t i) {
        std::vector<std::uint8_t> mask = Draw(model, network_check::kFirstSeed + i + 1).mask;
        for (int round = 0; round < 4; ++round)
            mask = model.Infer(frame.rgb, mask);
        Overlaps one;
        one.alone = Overlap(model.Infer(frame.rgb, Empty(model)), frame.mask);
        one.after = Overlap(mask, frame.mask);
        return one;
    });
    EXPECT_GT(means.after, means.alone - 0.05);
}

// On a picture that stands still but for its noise.
TEST_P(PreviousMask, MakesMasksSteadier) {
    auto& model = Model(GetParam());
    const Overlaps means = MeansOverScenes(model, [&model](const scenes::Frame& frame, std::uint32_t i) {
        const std::vector<std::uint8_t> second = Spoiled(frame.rgb, i + 1 + kScenes);
        const std::vector<std::uint8_t> mask = model.Infer(Spoiled(frame.rgb, i + 1), Empty(model));
        Overlaps one;
        one.alone = Overlap(model.Infer(second, Empty(model)), mask);
        one.after = Overlap(model.Infer(second, mask), mask);
        return one;
    });
    EXPECT_GT(means.after, means.alone);
}

INSTANTIATE_TEST_SUITE_P(Reference, PreviousMask, testing::Values("calyr_144p", "inhouse_360p"),
                         [](const auto& each) { return each.param; });

}  // namespace
