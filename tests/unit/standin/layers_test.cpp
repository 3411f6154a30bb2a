#include <gmock/gmock.h>

#include <cmath>
#include <numeric>
#include <ostream>
#include <string>
#include <vector>

#include "standin_support/test_engine.h"

namespace standin_support {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class Layers : public testing::Test {
 protected:
    const HvqLibrary& hvq = Library();
    TestEngine engine;
    HvqEngine e = engine.Handle();

    std::vector<std::string> Inputs() {
        std::vector<std::string> names;
        for (std::int32_t i = 0; i < hvq.hvqGetInputLayerNumber(e); ++i) {
            names.push_back(
                TwoSteps(hvq.hvqGetInputLayerLength(e, i), [&](char* text) { hvq.hvqGetInputLayer(e, i, text); }));
        }
        return names;
    }

    std::vector<std::string> Outputs() {
        std::vector<std::string> names;
        for (std::int32_t i = 0; i < hvq.hvqGetOutputLayerNumber(e); ++i) {
            names.push_back(
                TwoSteps(hvq.hvqGetOutputLayerLength(e, i), [&](char* text) { hvq.hvqGetOutputLayer(e, i, text); }));
        }
        return names;
    }

    std::string Precision(const char* layer) {
        std::uint64_t length = 0;
        hvq.hvqGetLayerPrecision(e, layer, &length, nullptr);
        return TwoSteps(length, [&](char* text) { hvq.hvqGetLayerPrecision(e, layer, nullptr, text); });
    }
};

struct Size {
    std::size_t width;
    std::size_t height;
    std::string name;

    friend std::ostream& operator<<(std::ostream& stream, const Size& size) { return stream << size.name; }
};

class Families : public testing::TestWithParam<Size> {};

INSTANTIATE_TEST_SUITE_P(BothSizes, Families, testing::Values(Size{256, 144, "256x144"}, Size{640, 360, "640x360"}),
                         [](const auto& size) { return size.param.name; });

// The rules of the networks stand in models/make_test_networks.py.
TEST_P(Families, GiveTheNumbersThatTheirRulesSay) {
    const auto& [width, height, size] = GetParam();
    const std::size_t area = width * height;
    const std::vector<float> planes = Planes(width, height);
    double means[3];
    for (std::size_t p = 0; p < 3; ++p) {
        const auto* const plane = planes.data() + p * area;
        means[p] = std::accumulate(plane, plane + area, 0.0) / static_cast<double>(area);
    }
    for (const std::string family : {"0", "1", "2"}) {
        SCOPED_TRACE("family " + family);
        TestEngine engine;
        engine.CreateNetwork("family" + family + "_" + size);
        ASSERT_EQ(engine.TakeError(), "");
        EXPECT_THAT(engine.Dims("input"), ElementsAre(1, 4, height, width));
        engine.SetLayer("input", planes.data());
        Library().hvqInfer(engine.Handle());
        ASSERT_EQ(engine.TakeError(), "");

        EXPECT_THAT(engine.Dims("segmentation"), ElementsAre(1, 1, height, width));
        const float* const segmentation = engine.Floats("segmentation");
        ASSERT_NE(segmentation, nullptr);
        std::size_t wrong = 0;
        for (std::size_t i = 0; i < area; ++i) {
            const float sum = planes[i] + planes[area + i] + planes[2 * area + i] + planes[3 * area + i];
            if (segmentation[i] != sum / 4) ++wrong;  // whole numbers and a power of two: exact
        }
        EXPECT_EQ(wrong, 0u);
        if (family == "2") {
            EXPECT_EQ(engine.Floats("motion"), nullptr);
            EXPECT_EQ(engine.Floats("faces_and_landmarks"), nullptr);
            continue;
        }

        EXPECT_THAT(engine.Dims("motion"), ElementsAre(1));
        EXPECT_NEAR(*engine.Floats("motion"), means[0], 1e-2);
        EXPECT_THAT(engine.Dims("gesture"), ElementsAre(1, 9));
        for (std::size_t j = 0; j < 9; ++j) {
            EXPECT_NEAR(engine.Floats("gesture")[j], static_cast<double>(j + 1) * means[1], 0.1);
        }
        EXPECT_THAT(engine.Dims("faces_and_landmarks"), ElementsAre(1, 1, 9, 16, 1439));
        for (std::size_t i = 0; i < 207216; ++i) {
            ASSERT_NEAR(engine.Floats("faces_and_landmarks")[i], static_cast<double>(i) + means[0], 0.03) << i;
        }
        if (family == "1") {
            EXPECT_THAT(engine.Dims("lut"), ElementsAre(1, 3, 33, 33, 33));
            for (std::size_t i = 0; i < 107811; ++i) {
                ASSERT_NEAR(engine.Floats("lut")[i], static_cast<double>(i) / 2 + means[2], 0.03) << i;
            }
            EXPECT_THAT(engine.Dims("lut_vertices"), ElementsAre(1, 3, 33));
            for (std::size_t i = 0; i < 99; ++i) {
                EXPECT_NEAR(engine.Floats("lut_vertices")[i], static_cast<double>(i) + means[2], 0.01) << i;
            }
        } else {
            EXPECT_EQ(engine.Floats("lut"), nullptr);
        }
        EXPECT_EQ(engine.TakeError(), "");
    }
}

TEST_F(Layers, AreListedInTheNetworksOrder) {
    engine.CreateNetwork("family1_256x144");

    EXPECT_THAT(Inputs(), ElementsAre("input"));
    EXPECT_THAT(Outputs(),
                ElementsAre("segmentation", "faces_and_landmarks", "motion", "gesture", "lut", "lut_vertices"));
    EXPECT_EQ(engine.TakeError(), "");
    EXPECT_EQ(hvq.hvqGetInputLayerLength(e, 1), 0);
    EXPECT_EQ(engine.TakeError(), "hvqGetInputLayerLength: index 1 is outside the list of input layers, which has 1");
    EXPECT_EQ(hvq.hvqGetOutputLayerLength(e, 6), 0);
    EXPECT_EQ(engine.TakeError(), "hvqGetOutputLayerLength: index 6 is outside the list of output layers, which has 6");
}

TEST_F(Layers, HoldNumbersOfSeveralTypes) {
    engine.CreateNetwork("kinds");
    EXPECT_THAT(Inputs(), ElementsAre("first", "second"));
    EXPECT_EQ(Precision("first"), "FP32");
    EXPECT_EQ(Precision("second"), "FP64");
    EXPECT_EQ(Precision("sum"), "FP64");
    EXPECT_EQ(Precision("rounded"), "I32");
    EXPECT_EQ(Precision("large"), "BOOL");
    const float first[] = {1, 2, 3, 4, 5, 6};
    const double second[] = {0.5, 1.5, 2.5, 7, 8, 1e9};
    engine.SetLayer("first", first);
    engine.SetLayer("second", second);

    hvq.hvqInfer(e);

    ASSERT_EQ(engine.TakeError(), "");
    const auto* const sum = static_cast<const double*>(hvq.hvqGetLayerData(e, "sum"));
    const auto* const rounded = static_cast<const std::int32_t*>(hvq.hvqGetLayerData(e, "rounded"));
    const auto* const large = static_cast<const std::uint8_t*>(hvq.hvqGetLayerData(e, "large"));
    EXPECT_THAT(std::vector<double>(sum, sum + 6), ElementsAre(1.5, 3.5, 5.5, 11, 13, 1e9 + 6));
    EXPECT_THAT(std::vector<std::int32_t>(rounded, rounded + 6), ElementsAre(1, 3, 5, 11, 13, 1000000006));
    EXPECT_THAT(std::vector<std::uint8_t>(large, large + 6), ElementsAre(0, 0, 0, 1, 1, 1));
}

TEST_F(Layers, HaveNoDataBeforeTheFirstInference) {
    engine.CreateNetwork("gather");

    EXPECT_EQ(hvq.hvqGetLayerData(e, "value"), nullptr);
    EXPECT_EQ(hvq.hvqGetLayerData(e, "index"), nullptr);
    EXPECT_EQ(engine.TakeError(), "");
}

TEST_F(Layers, ThatTheNetworkLacksHaveNoDataAndThatIsNoError) {
    engine.CreateNetwork("gather");
    const std::int64_t index = 0;
    engine.SetLayer("index", &index);
    hvq.hvqInfer(e);

    EXPECT_EQ(hvq.hvqGetLayerData(e, "lut"), nullptr);
    EXPECT_EQ(engine.TakeError(), "");
}

TEST_F(Layers, ThatTheNetworkLacksHaveNoDimsAndThatIsAnError) {
    engine.CreateNetwork("gather");

    std::uint64_t count = 7;
    hvq.hvqGetLayerDims(e, "lut", nullptr, &count);

    EXPECT_EQ(count, 7u);
    EXPECT_EQ(engine.TakeError(),
              "hvqGetLayerDims: the network has no layer lut; its inputs are index, its outputs value");
    EXPECT_EQ(Precision("lut"), "");
    EXPECT_EQ(engine.TakeError(),
              "hvqGetLayerPrecision: the network has no layer lut; its inputs are index, its outputs value");
}

TEST_F(Layers, GiveTheirDimsWhenThereIsRoom) {
    engine.CreateNetwork("kinds");
    std::uint64_t dims[] = {7, 7, 7, 7};
    std::uint64_t count = 2;
    hvq.hvqGetLayerDims(e, "sum", dims, &count);
    EXPECT_EQ(engine.TakeError(), "hvqGetLayerDims: layer sum has 3 dimensions, and there is room for 2");
    EXPECT_THAT(dims, ElementsAre(7, 7, 7, 7));

    count = 4;
    hvq.hvqGetLayerDims(e, "sum", dims, &count);
    EXPECT_EQ(engine.TakeError(), "");
    EXPECT_EQ(count, 3u);
    EXPECT_THAT(dims, ElementsAre(1, 2, 3, 7));
}

TEST_F(Layers, TakeDataOfTheirOwnDimsOnly) {
    engine.CreateNetwork("kinds");
    const float data[7] = {};
    const auto error = [&](const std::vector<std::uint64_t>& dims) {
        hvq.hvqSetLayerData(e, "first", data, dims.data(), dims.size());
        return engine.TakeError();
    };

    EXPECT_EQ(error({1, 2, 3}), "");
    EXPECT_EQ(error({1, 3, 2}), "hvqSetLayerData: layer first is 1x2x3, the data is 1x3x2");
    EXPECT_EQ(error({1, 2, 4}), "hvqSetLayerData: layer first is 1x2x3, the data is 1x2x4");
    EXPECT_EQ(error({1, 2}), "hvqSetLayerData: layer first is 1x2x3, the data is 1x2");
    EXPECT_EQ(error({1, 2, 3, 1}), "hvqSetLayerData: layer first is 1x2x3, the data is 1x2x3x1");
    EXPECT_EQ(error({}), "hvqSetLayerData: layer first is 1x2x3, the data is no dimensions");
    hvq.hvqSetLayerData(e, "first", data, nullptr, 0);
    EXPECT_EQ(engine.TakeError(), "hvqSetLayerData: layer first is 1x2x3, the data is no dimensions");
}

TEST_F(Layers, TakeDataForInputsOnly) {
    engine.CreateNetwork("kinds");
    const double data[6] = {};
    const std::uint64_t dims[] = {1, 2, 3};

    hvq.hvqSetLayerData(e, "sum", data, dims, 3);
    EXPECT_EQ(engine.TakeError(), "hvqSetLayerData: layer sum is an output; the inputs are first, second");
    hvq.hvqSetLayerData(e, "third", data, dims, 3);
    EXPECT_EQ(engine.TakeError(),
              "hvqSetLayerData: the network has no layer third; its inputs are first, second, "
              "its outputs sum, rounded, large");
}

TEST_F(Layers, NeedANetwork) {
    std::uint64_t count = 0;
    const std::uint64_t dims[] = {1};
    hvq.hvqInfer(e);
    EXPECT_EQ(engine.TakeError(), "hvqInfer: there is no current network");
    hvq.hvqSetLayerData(e, "input", dims, dims, 1);
    EXPECT_EQ(engine.TakeError(), "hvqSetLayerData: there is no current network");
    EXPECT_EQ(hvq.hvqGetLayerData(e, "input"), nullptr);
    EXPECT_EQ(engine.TakeError(), "hvqGetLayerData: there is no current network");
    hvq.hvqGetLayerDims(e, "input", nullptr, &count);
    EXPECT_EQ(engine.TakeError(), "hvqGetLayerDims: there is no current network");
    EXPECT_THAT(Inputs(), IsEmpty());
    EXPECT_EQ(engine.TakeError(), "hvqGetInputLayerNumber: there is no current network");
    EXPECT_THAT(Outputs(), IsEmpty());
    EXPECT_EQ(engine.TakeError(), "hvqGetOutputLayerNumber: there is no current network");
}

TEST_F(Layers, AreReadDuringTheInferenceAndNotBefore) {
    engine.CreateNetwork("gather");
    std::int64_t index = 0;
    engine.SetLayer("index", &index);
    EXPECT_EQ(hvq.hvqGetLayerData(e, "index"), &index);
    index = 1;  // lent, not copied

    hvq.hvqInfer(e);

    EXPECT_EQ(engine.TakeError(), "");
    EXPECT_EQ(*engine.Floats("value"), 20.0f);
    EXPECT_EQ(hvq.hvqGetLayerData(e, "index"), nullptr);
}

TEST_F(Layers, NeedTheirDataAnewForEachInference) {
    engine.CreateNetwork("gather");
    hvq.hvqInfer(e);
    EXPECT_EQ(engine.TakeError(), "hvqInfer: layer index has no data; each inference needs it set anew");
    const std::int64_t index = 1;
    engine.SetLayer("index", &index);
    hvq.hvqInfer(e);
    ASSERT_EQ(engine.TakeError(), "");

    hvq.hvqInfer(e);

    EXPECT_EQ(engine.TakeError(), "hvqInfer: layer index has no data; each inference needs it set anew");
    EXPECT_EQ(*engine.Floats("value"), 20.0f);  // it never began, so the results are still there
}

TEST_F(Layers, KeepTheAddressOfTheirDataFromInferenceToInference) {
    engine.CreateNetwork("gather");
    const std::int64_t indices[] = {2, 0};  // at different addresses
    engine.SetLayer("index", &indices[0]);
    hvq.hvqInfer(e);
    const float* const value = engine.Floats("value");
    EXPECT_EQ(*value, 30.0f);

    engine.SetLayer("index", &indices[1]);
    EXPECT_EQ(*value, 30.0f);
    hvq.hvqInfer(e);

    EXPECT_EQ(*value, 10.0f);
    EXPECT_EQ(engine.Floats("value"), value);
    EXPECT_EQ(engine.TakeError(), "");
}

TEST_F(Layers, LoseTheirDataWithAnInferenceThatFails) {
    engine.CreateNetwork("gather");
    const std::int64_t good = 1;
    const std::int64_t bad = 3;
    engine.SetLayer("index", &good);
    hvq.hvqInfer(e);
    engine.SetLayer("index", &bad);

    hvq.hvqInfer(e);

    EXPECT_THAT(engine.TakeError(), testing::AllOf(testing::StartsWith("hvqInfer: "), testing::HasSubstr("out of")));
    EXPECT_EQ(engine.Floats("value"), nullptr);
    engine.SetLayer("index", &good);
    hvq.hvqInfer(e);
    EXPECT_EQ(engine.TakeError(), "");
    EXPECT_EQ(*engine.Floats("value"), 20.0f);
}

TEST_F(Layers, TakeDataAtAddressesOfAnyAlignmentOfAFloat) {
    engine.CreateNetwork("family2_256x144");
    const std::vector<float> planes = Planes(256, 144);
    std::vector<float> room(planes.size() + 16);
    for (std::size_t shift = 0; shift < 16; shift += 3) {
        std::copy(planes.begin(), planes.end(), room.begin() + static_cast<std::ptrdiff_t>(shift));
        engine.SetLayer("input", room.data() + shift);
        hvq.hvqInfer(e);
        ASSERT_EQ(engine.TakeError(), "");
        EXPECT_EQ(engine.Floats("segmentation")[36863],
                  (planes[36863] + planes[73727] + planes[110591] + planes[147455]) / 4);
    }
}

// The figures are what this network gave when it was made; they hold on every system within rounding.
TEST_P(Families, AgreeOnTheReferenceNetworkOnEverySystem) {
    const auto& [width, height, size] = GetParam();
    TestEngine engine;
    engine.CreateNetwork("reference_" + size);
    const std::vector<float> planes = Planes(width, height);
    engine.SetLayer("input", planes.data());
    Library().hvqInfer(engine.Handle());
    ASSERT_EQ(engine.TakeError(), "");

    const float* const mask = engine.Floats("segmentation");
    const double mean = std::accumulate(mask, mask + width * height, 0.0) / static_cast<double>(width * height);

    EXPECT_NEAR(mean, width == 256 ? 147.639 : 149.604, 0.01);
    EXPECT_NEAR(mask[width * height / 2 + width / 2], width == 256 ? 137.932 : 162.063, 0.05);
}

}  // namespace
}  // namespace standin_support
