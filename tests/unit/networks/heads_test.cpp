#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <numeric>
#include <span>
#include <string>
#include <vector>

#include "network_check_tool/evaluation.h"
#include "reference_models.h"

namespace {

using networks_tests::Draw;
using networks_tests::Empty;
using networks_tests::Model;
using testing::FloatNear;

constexpr std::size_t kCells = std::size_t{9} * 16;
constexpr std::size_t kFloatsPerCell = 1439;
constexpr std::size_t kTable = 33;

class FullNetwork : public testing::TestWithParam<std::string> {};

TEST_P(FullNetwork, TellsAsMotionHowFarItsMaskIsFromThePreviousOne) {
    auto& model = Model(GetParam());
    const scenes::Frame frame = Draw(model, network_check::kFirstSeed);
    for (const int previousByte : {0, 255}) {
        const std::vector<std::uint8_t> previous(frame.mask.size(), static_cast<std::uint8_t>(previousByte));
        model.Infer(frame.rgb, previous);
        double change = 0;
        for (const float value : model.Numbers("segmentation"))
            change += std::abs(static_cast<double>(value) - 0.5 - previousByte);
        change /= 255.0 * static_cast<double>(previous.size());
        ASSERT_EQ(model.Numbers("motion").size(), 1U);
        EXPECT_NEAR(static_cast<double>(model.Numbers("motion")[0]), change, 1e-3) << previousByte;
    }
}

TEST_P(FullNetwork, GivesEachGestureAShareOfOne) {
    auto& model = Model(GetParam());
    model.Infer(Draw(model, network_check::kFirstSeed).rgb, Empty(model));
    const std::span<const float> gesture = model.Numbers("gesture");
    ASSERT_EQ(gesture.size(), 9U);
    EXPECT_THAT(std::accumulate(gesture.begin(), gesture.end(), 0.0F), FloatNear(1.0F, 1e-4F));
    EXPECT_GE(*std::min_element(gesture.begin(), gesture.end()), 0.0F);
}

TEST_P(FullNetwork, PlacesTheLandmarksInTheFacesBox) {
    auto& model = Model(GetParam());
    model.Infer(Draw(model, network_check::kFirstSeed).rgb, Empty(model));
    const std::span<const float> faces = model.Numbers("faces_and_landmarks");
    ASSERT_EQ(faces.size(), kCells * kFloatsPerCell);
    for (std::size_t cell = 0; cell < kCells; ++cell) {
        const std::span<const float> face = faces.subspan(cell * kFloatsPerCell, kFloatsPerCell);
        ASSERT_GE(face[0], 0.0F);
        ASSERT_LE(face[0], 1.0F);
        for (std::size_t at = 5; at < kFloatsPerCell; at += 3) {
            ASSERT_LE(std::abs(face[at] - face[1]), face[3] / 2 + 1e-4F) << "x of cell " << cell;
            ASSERT_LE(std::abs(face[at + 1] - face[2]), face[4] / 2 + 1e-4F) << "y of cell " << cell;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Reference, FullNetwork,
                         testing::Values("calyr_144p", "calyr_re_144p", "calyr_360p", "calyr_re_360p"),
                         [](const auto& each) { return each.param; });

class ColourTable : public testing::TestWithParam<std::string> {
 protected:
    // The table's answer to a colour on its grid, for a picture that is all of one colour.
    std::array<float, 3> Answer(std::array<std::uint8_t, 3> picture, std::array<std::size_t, 3> place) {
        auto& model = Model(GetParam());
        std::vector<std::uint8_t> rgb(3 * Empty(model).size());
        for (std::size_t i = 0; i < rgb.size(); ++i)
            rgb[i] = picture[i % 3];
        model.Infer(rgb, Empty(model));
        const std::span<const float> table = model.Numbers("lut");
        std::array<float, 3> answer{};
        for (std::size_t channel = 0; channel < 3; ++channel)
            answer[channel] = table[((channel * kTable + place[2]) * kTable + place[1]) * kTable + place[0]];
        return answer;
    }
};

TEST_P(ColourTable, LeavesAGreyPictureAsItIs) {
    EXPECT_THAT(Answer({100, 100, 100}, {4, 8, 32}),
                testing::ElementsAre(FloatNear(4.0F / 32, 1e-5F), FloatNear(8.0F / 32, 1e-5F), FloatNear(1.0F, 1e-5F)));
}

TEST_P(ColourTable, TakesRedFromAReddishPicture) {
    // Means of 121, 101 and 81 with the one that keeps black from dividing by nothing: grey is 101.
    EXPECT_THAT(Answer({120, 100, 80}, {16, 16, 16}),
                testing::ElementsAre(FloatNear(0.5F * 101 / 121, 1e-4F), FloatNear(0.5F, 1e-4F),
                                     FloatNear(0.5F * 101 / 81, 1e-4F)));
}

TEST_P(ColourTable, GoesNoFurtherThanItsLimits) {
    EXPECT_THAT(
        Answer({255, 0, 0}, {16, 16, 32}),
        testing::ElementsAre(FloatNear(0.5F * 0.75F, 1e-4F), FloatNear(0.5F * 1.35F, 1e-4F), FloatNear(1.0F, 1e-4F)));
}

TEST_P(ColourTable, HasItsVerticesInEqualStepsFromNoneToFull) {
    auto& model = Model(GetParam());
    model.Infer(Draw(model, network_check::kFirstSeed).rgb, Empty(model));
    const std::span<const float> vertices = model.Numbers("lut_vertices");
    ASSERT_EQ(vertices.size(), 3 * kTable);
    for (std::size_t i = 0; i < vertices.size(); ++i)
        EXPECT_FLOAT_EQ(vertices[i], static_cast<float>(i % kTable) / 32.0F);
}

INSTANTIATE_TEST_SUITE_P(Reference, ColourTable, testing::Values("calyr_re_144p", "calyr_re_360p"),
                         [](const auto& each) { return each.param; });

}  // namespace
