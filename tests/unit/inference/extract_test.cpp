// What the network's output layers become in a frame's result, and what is said of layers that do not fit.

#include <chrono>
#include <cstring>
#include <functional>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "helpers/layer_shape.h"
#include "inference_fixture.h"

namespace inference_tests {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

// Landmarks and table, so that wrong offsets and lengths show.
constexpr char kLayers[] =
    "fill segmentation ramp 0 1 256\nfill faces_and_landmarks ramp 0 0.5\nfill gesture values 1 2 3 4 5 6 7 8 9\n"
    "fill motion values 1.5\nfill lut ramp 1 0.25\nfill lut_vertices ramp 2 1";

class Extraction : public Inference {
 protected:
    Extraction() : Inference(kLayers) {}

    // One inferred frame.
    std::uint32_t InferOn(RvoHvqHelper& helper, RvoHvqOutput& output) {
        const Frame frame;
        return helper.Infer(&frame.input, &output);
    }

    // A round on a fresh helper of the full family with the table, after a good Init.
    template <class Helper = RvoCalyrHvqReHelper, class Output = RvoCalyrOutput>
    std::vector<std::string> LinesOfRound(std::int32_t status, std::uint32_t result = 0) {
        Helper helper(Seams());
        InitGood(helper);
        Output output(HeaderOf(kWidth, kHeight));
        EXPECT_EQ(InferOn(helper, output), result);
        EXPECT_EQ(output.status, status);
        std::vector<std::string> lines = Lines(helper);
        std::erase(lines, "2 RvoHvqHelper::Infer() TF");
        return lines;
    }

    // That a round on this script has status 2, and says so with this line once for all helpers.
    void ExpectFailure(const std::string& script, const std::string& line) {
        SCOPED_TRACE(script);
        m_library.Add(script);
        EXPECT_THAT(LinesOfRound(2), ElementsAre(line));
        EXPECT_THAT(LinesOfRound(2), IsEmpty()) << "the second time";
        EXPECT_THAT(LinesOfRound(2), IsEmpty()) << "the third time";
    }
};

TEST_F(Extraction, CopiesAllLayersOfTheFullFamilyWithTheTable) {
    m_clock.Advance(std::chrono::milliseconds(12'345));
    RvoCalyrHvqReHelper helper(Seams());
    InitGood(helper);
    calyr_ipc::IpcFrameHeader header = HeaderOf(kWidth, kHeight);
    header.opaque0[1] = std::byte{7};
    header.opaque24[7] = std::byte{9};
    RvoCalyrOutput output(header);

    EXPECT_EQ(InferOn(helper, output), 0U);

    EXPECT_EQ(output.status, 0);
    header.stampMs = 12'345;
    EXPECT_EQ(std::memcmp(&output.header, &header, sizeof(header)), 0) << "the stamp alone is changed";
    const std::vector<std::uint8_t> mask = MaskOf(output);
    ASSERT_EQ(mask.size(), kArea);
    for (std::size_t i = 0; i < kArea; ++i)
        ASSERT_EQ(mask[i], i % 256);
    EXPECT_THAT(*output.gesture, ElementsAre(1, 2, 3, 4, 5, 6, 7, 8, 9));
    for (std::size_t i = 0; i < output.landmarks->size(); ++i)
        ASSERT_EQ((*output.landmarks)[i], static_cast<float>(i) * 0.5F);
    for (std::size_t i = 0; i < output.lut->size(); ++i)
        ASSERT_EQ((*output.lut)[i], 1.0F + static_cast<float>(i) * 0.25F);
    for (std::size_t i = 0; i < output.lutVertices->size(); ++i)
        ASSERT_EQ((*output.lutVertices)[i], 2.0F + static_cast<float>(i));
    float motion = 0;
    std::memcpy(&motion, &output.motion, sizeof(motion));
    EXPECT_EQ(motion, 1.5F);
    EXPECT_THAT(Lines(helper), ElementsAre("2 RvoHvqHelper::Infer() TF"));
}

TEST_F(Extraction, TruncatesTheMasksFloatsAsTheProcessorDoes) {
    m_library.Add(
        "fill segmentation values 0.99 1.99 127.5 128 128.9 255 255.999 256 257 -0.5 -1 -1.9 -256 1e10 -1e10 "
        "2147483647 -2147483648 65535");
    RvoInhouseHvqHelper helper(Seams());
    InitGood(helper);
    RvoHvqOutput output(HeaderOf(kWidth, kHeight));

    EXPECT_EQ(InferOn(helper, output), 0U);

    std::vector<std::uint8_t> mask = MaskOf(output);
    mask.resize(18);
    // 2147483647 is 2147483648 as a float.
    EXPECT_THAT(mask, ElementsAre(0, 1, 127, 128, 128, 255, 255, 0, 1, 0, 255, 255, 0, 0, 0, 0, 0, 255));
}

TEST_F(Extraction, MakesZeroOfWhatIsNoNumber) {
    m_library.Add("fill segmentation values nan inf -inf 3");
    RvoInhouseHvqHelper helper(Seams());
    InitGood(helper);
    RvoHvqOutput output(HeaderOf(kWidth, kHeight));

    EXPECT_EQ(InferOn(helper, output), 0U);

    std::vector<std::uint8_t> mask = MaskOf(output);
    mask.resize(5);
    EXPECT_THAT(mask, ElementsAre(0, 0, 0, 3, 0));
}

TEST_F(Extraction, OfAMissingMaskFails) {
    ExpectFailure("no-data segmentation", "0 RvoHvqHelper::SetMask(), maskName segmentation not exists");
}

TEST_F(Extraction, OfAMissingMaskLayerFailsAlike) {
    ExpectFailure("no-layer segmentation", "0 RvoHvqHelper::SetMask(), maskName segmentation not exists");
}

TEST_F(Extraction, OfAMaskOfAnotherSizeFails) {
    ExpectFailure("layer output segmentation 1 1 144 255",
                  "0 RvoHvqHelper::SetMask(), [outputWidth/outputHeight]=[255/144] not match "
                  "[inputWidth/inputHeight]=[256/144]");
}

TEST_F(Extraction, OfAMaskWithTooFewDimensionsFails) {
    ExpectFailure("layer output segmentation 1 1 36864",
                  "0 RvoHvqHelper::SetMask(), [outputWidth/outputHeight]=[0/36864] not match "
                  "[inputWidth/inputHeight]=[256/144]");
}

TEST(LayerShape, GivesNoProductThatSixtyFourBitsDoNotHold) {
    using rvo_calyr::ProductOf;
    EXPECT_EQ(ProductOf({4096, 4503599627370505}), std::nullopt) << "2^64 + 256 x 144";
    EXPECT_EQ(ProductOf({4294967296, 4294967296}), std::nullopt);
    EXPECT_EQ(ProductOf({4294967295, 4294967297}), ~std::uint64_t{0});
    EXPECT_EQ(ProductOf({1, 9, 16, 1439}), 207216U);
    EXPECT_EQ(ProductOf({0, 4294967296, 4294967296}), 0U);
    EXPECT_EQ(ProductOf({}), 1U);
}

TEST(LayerShape, CountsAMissingDimensionAsZero) {
    const hvq::inference::Dims dims = {5, 6};
    EXPECT_EQ(rvo_calyr::DimOf(dims, 1), 6U);
    EXPECT_EQ(rvo_calyr::DimOf(dims, 2), 0U);
}

TEST_F(Extraction, TakesAMaskOfTheSameAreaWhateverItsOtherDimensions) {
    m_library.Add("layer output segmentation 1 1 256 144");
    EXPECT_THAT(LinesOfRound(0), IsEmpty());
    m_library.Add("layer output segmentation 1 1 36864 1 1");
    EXPECT_THAT(LinesOfRound(0), IsEmpty());
}

TEST_F(Extraction, OfAMaskThatTheOutputHasNoRoomForFails) {
    for (const auto& [width, height, length] : std::vector<std::tuple<std::uint32_t, std::uint32_t, std::string>>{
             {256, 143, "36608"}, {640, 360, "230400"}, {0, 0, "0"}, {65536, 65536, "4294967296"}}) {
        ProcessLimits limits;
        HelperSeams seams = {.loader = {.streams = m_streams}, .clock = m_clock, .limits = limits};
        RvoCalyrHvqHelper each(seams);
        InitGood(each);
        RvoCalyrOutput output(HeaderOf(width, height));

        EXPECT_EQ(InferOn(each, output), 0U);

        EXPECT_EQ(output.status, 2);
        EXPECT_THAT(Lines(each), ElementsAre("2 RvoHvqHelper::Infer() TF",
                                             "0 RvoHvqHelper::SetMask(), mask length not match, outputMaskLength=" +
                                                 length + ", maskLen=36864"));
        EXPECT_EQ(output.header.stampMs, 0U);
        EXPECT_EQ(InferOn(each, output), 0U);
        EXPECT_THAT(Lines(each), IsEmpty());
    }
}

TEST_F(Extraction, OfASkippedMaskThatTheOutputHasNoRoomForWritesNothingOutsideIt) {
    m_library.Add("fill segmentation constant 0");
    RvoCalyrHvqHelper helper(Seams());
    InitGood(helper);
    Frame frame;
    RvoCalyrOutput output(HeaderOf(kWidth, kHeight));
    ASSERT_EQ(helper.Infer(&frame.Temporal().input, &output), 0U);
    RvoCalyrOutput small(HeaderOf(16, 9));

    EXPECT_EQ(helper.Infer(&frame.input, &small), 0U);

    EXPECT_EQ(m_library.Count("hvqInfer"), 1);
    EXPECT_EQ(small.status, 2);
}

TEST_F(Extraction, OfMissingLandmarksFails) {
    ExpectFailure("no-data faces_and_landmarks",
                  "0 RvoHvqHelper::SetLandmarks(), landmarksName faces_and_landmarks not exists");
}

TEST_F(Extraction, OfLandmarksWithoutFiveDimensionsFails) {
    ExpectFailure("layer output faces_and_landmarks 1 9 16 1439",
                  "0 RvoHvqHelper::SetLandmarks(), shape size incorrect, shapeSize=4");
}

TEST_F(Extraction, OfLandmarksWithSixDimensionsFails) {
    ExpectFailure("layer output faces_and_landmarks 1 1 9 16 1439 1",
                  "0 RvoHvqHelper::SetLandmarks(), shape size incorrect, shapeSize=6");
}

TEST_F(Extraction, OfLandmarksOfAnotherSizeFails) {
    ExpectFailure("layer output faces_and_landmarks 1 1 9 16 1438",
                  "0 RvoHvqHelper::SetLandmarks(), num_anchors=1, num_rows=9, num_columns=16, landmarks_size=1438 does "
                  "not match");
}

TEST_F(Extraction, TakesLandmarksByTheirProductAlone) {
    for (const std::string dims : {"1 1 207216 1 1", "2 1 9 16 1439", "1 207216 1 1 1", "1 9 16 1 1439"}) {
        m_library.Add("layer output faces_and_landmarks " + dims);
        EXPECT_THAT(LinesOfRound(0), IsEmpty()) << dims;
    }
}

TEST_F(Extraction, OfMissingMotionFails) {
    ExpectFailure("no-data motion", "0 RvoHvqHelper::SetMotion(), motionName motion not exists");
}

TEST_F(Extraction, TakesMotionOfAnyShape) {
    m_library.Add("layer output motion 3 2 1\nfill motion values 2.5");
    EXPECT_THAT(LinesOfRound(0), IsEmpty());
}

TEST_F(Extraction, OfAMissingGestureFails) {
    ExpectFailure("no-data gesture", "0 RvoHvqHelper::SetGesture(), gestureName gesture not exists");
}

TEST_F(Extraction, OfAGestureOfAnotherSizeFailsUnderAnotherName) {
    ExpectFailure("layer output gesture 1 8", "0 RvoHvqHelper::SetLandmarks(), gesture size=8 does not match");
}

TEST_F(Extraction, OfAGestureOfOneDimensionFails) {
    ExpectFailure("layer output gesture 9", "0 RvoHvqHelper::SetLandmarks(), gesture size=0 does not match");
}

TEST_F(Extraction, TakesAGestureWithMoreDimensions) {
    m_library.Add("layer output gesture 1 9 1 1");
    EXPECT_THAT(LinesOfRound(0), IsEmpty());
}

TEST_F(Extraction, OfAMissingTableFailsUnderAnotherName) {
    ExpectFailure("no-data lut", "0 RvoHvqHelper::SetMask(), lutName lut not exists");
}

TEST_F(Extraction, OfATableWithoutFiveDimensionsFails) {
    ExpectFailure("layer output lut 3 33 33 33", "0 RvoCalyrHvqReHelper::SetLut(), dimsSize=4, verticesSize=3");
}

TEST_F(Extraction, OfAGridWithoutThreeDimensionsFails) {
    ExpectFailure("layer output lut_vertices 1 3 33 1", "0 RvoCalyrHvqReHelper::SetLut(), dimsSize=5, verticesSize=4");
}

TEST_F(Extraction, OfATableOfAnotherSizeFailsWithItsOddLabel) {
    ExpectFailure(
        "layer output lut 1 4 33 33 33",
        "0 RvoCalyrHvqReHelper::SetLut(), lut size does not match dims[1]=4 dims[2]=33 dims[3]=33dims[4]=d33");
}

TEST_F(Extraction, LooksAtEachSideOfATable) {
    for (const std::string dims : {"1 2 33 33 33", "1 3 32 33 33", "1 3 33 34 33", "1 3 33 33 1"}) {
        m_library.Add("layer output lut " + dims);
        (void)LinesOfRound(2);
    }
    m_library.Add("layer output lut 7 3 33 33 33");
    EXPECT_THAT(LinesOfRound(0), IsEmpty()) << "but not at the outermost";
}

TEST_F(Extraction, OfAGridOfAnotherSizeFails) {
    ExpectFailure("layer output lut_vertices 1 3 32",
                  "0 RvoCalyrHvqReHelper::SetLut(), lut vertices size does not match dims[1]/dims[2]=[3/32]");
}

TEST_F(Extraction, OfAGridWithTooManyAxesFails) {
    ExpectFailure("layer output lut_vertices 1 4 33",
                  "0 RvoCalyrHvqReHelper::SetLut(), lut vertices size does not match dims[1]/dims[2]=[4/33]");
}

TEST_F(Extraction, OfAGridWithoutDataFailsInSilence) {
    m_library.Add("no-data lut_vertices");
    EXPECT_THAT(LinesOfRound(2), IsEmpty());
}

TEST_F(Extraction, OfOneLayerDoesNotHinderTheOthers) {
    m_library.Add("no-data segmentation\nno-data motion\nno-data lut\nlayer output gesture 1 8");
    RvoCalyrHvqReHelper helper(Seams());
    InitGood(helper);
    RvoCalyrOutput output(HeaderOf(kWidth, kHeight));

    EXPECT_EQ(InferOn(helper, output), 0U);

    EXPECT_EQ(output.status, 2);
    EXPECT_EQ((*output.landmarks)[2], 1.0F);
    EXPECT_EQ(Lines(helper).size(), 5U) << "the four failures and the first inference";
}

TEST_F(Extraction, AfterAFailureOfALaterLayerStillKeepsTheMask) {
    m_library.Add("no-data motion");
    RvoCalyrHvqHelper helper(Seams());
    InitGood(helper);
    RvoCalyrOutput output(HeaderOf(kWidth, kHeight));

    EXPECT_EQ(InferOn(helper, output), 0U);

    EXPECT_EQ(output.status, 2);
    EXPECT_EQ(MaskOf(output)[200], 200);
}

TEST_F(Extraction, LeavesOutWhatAPlainOutputHasNoRoomFor) {
    EXPECT_THAT((LinesOfRound<RvoCalyrHvqReHelper, RvoHvqOutput>(0)), IsEmpty());
    EXPECT_THAT((LinesOfRound<RvoCalyrHvqHelper, RvoHvqOutput>(0)), IsEmpty());
    m_library.Add("layer output gesture 1 8");
    EXPECT_THAT((LinesOfRound<RvoCalyrHvqHelper, RvoHvqOutput>(2)),
                ElementsAre("0 RvoHvqHelper::SetLandmarks(), gesture size=8 does not match"))
        << "but checks it all the same";
}

TEST_F(Extraction, OfTheFamilyOfTheMaskAloneAsksForNothingElse) {
    m_library.Add(
        "no-layer faces_and_landmarks\nno-layer motion\nno-layer gesture\nno-layer lut\nno-layer lut_vertices");

    EXPECT_THAT((LinesOfRound<RvoInhouseHvqHelper, RvoHvqOutput>(0)), IsEmpty());
    EXPECT_THAT((LinesOfRound<RvoInhouseHvqHelper, RvoCalyrOutput>(0)), IsEmpty());
}

TEST_F(Extraction, OfTheFullFamilyAsksForNoTable) {
    m_library.Add("no-layer lut\nno-layer lut_vertices");
    EXPECT_THAT((LinesOfRound<RvoCalyrHvqHelper, RvoCalyrOutput>(0)), IsEmpty());
}

TEST_F(Extraction, OfAModelWithoutATableGivesTwoOnEveryFrame) {
    m_library.Add("no-layer lut");
    RvoCalyrHvqReHelper helper(Seams());
    InitGood(helper);
    RvoCalyrOutput output(HeaderOf(kWidth, kHeight));
    for (int frame = 0; frame < 5; ++frame) {
        EXPECT_EQ(InferOn(helper, output), 0U);
        EXPECT_EQ(output.status, 2);
    }
    EXPECT_THAT(Lines(helper),
                ElementsAre("2 RvoHvqHelper::Infer() TF", "0 RvoHvqHelper::SetMask(), lutName lut not exists"));
}

TEST_F(Extraction, TellsWhatAFamilyDoesNotHave) {
    RvoHvqOutput output(HeaderOf(kWidth, kHeight));
    RvoInhouseHvqHelper maskAlone(Seams());
    EXPECT_EQ(maskAlone.SetLandmarks(output), 7U);
    EXPECT_EQ(maskAlone.SetMotion(output), 7U);
    EXPECT_EQ(maskAlone.SetGesture(output), 7U);
    EXPECT_EQ(maskAlone.SetLut(output), 7U);
    RvoCalyrHvqHelper full(Seams());
    EXPECT_EQ(full.SetLut(output), 7U);
    EXPECT_EQ(output.status, 4) << "which is no failure";
}

}  // namespace
}  // namespace inference_tests
