#include "draw_scenes_tool/training_stream.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <limits>
#include <vector>

#include "draw_scenes_tool/sheet.h"
#include "velmo_scenes/scene.h"
#include "velmo_scenes/seeds.h"

namespace draw_scenes {
namespace {

using testing::HasSubstr;

class Pieces final : public ByteSink {
 public:
    explicit Pieces(std::size_t room = 1000) : m_room(room) {}
    bool Take(const std::string& bytes) override {
        if (all.size() == m_room) return false;
        all.push_back(bytes);
        return true;
    }
    std::vector<std::string> all;

 private:
    std::size_t m_room;
};

float FloatAt(const std::string& bytes, std::size_t at) {
    std::uint32_t bits = 0;
    for (std::size_t i = 4; i > 0; --i)
        bits = bits << 8 | static_cast<std::uint8_t>(bytes[at + i - 1]);
    return std::bit_cast<float>(bits);
}

scenes::Frame SmallFrame() {
    scenes::Frame frame;
    frame.width = 2;
    frame.height = 1;
    frame.rgb = {1, 2, 3, 4, 5, 6};
    frame.mask = {7, 255};
    frame.people = 2;
    frame.persons[0] = {true, 10.5F, 11.0F, 3.0F, 4.0F};
    frame.persons[1] = {false, -1.0F, 12.0F, 2.0F, 2.5F};
    frame.arms = {scenes::ArmState::Raised, scenes::ArmState::Out};
    return frame;
}

TEST(TrainingFrame, HasPictureMaskAndSixteenNumbers) {
    std::string bytes = "x";

    AppendFrame(SmallFrame(), true, bytes);

    ASSERT_EQ(bytes.size(), 1U + 6U + 2U + 64U);
    EXPECT_EQ(bytes.substr(0, 9), std::string("x\1\2\3\4\5\6\7\xFF"));
    const std::array<float, 16> expected{2.0F,  1.0F, 10.5F, 11.0F, 3.0F, 4.0F, 0.0F, -1.0F,
                                         12.0F, 2.0F, 2.5F,  2.0F,  1.0F, 1.0F, 0.0F, 0.0F};
    for (std::size_t i = 0; i < expected.size(); ++i)
        EXPECT_EQ(FloatAt(bytes, 9 + 4 * i), expected[i]) << i;
}

TEST(TrainingFrame, NumbersAreLittleEndian) {
    std::string bytes;

    AppendFrame(SmallFrame(), false, bytes);

    EXPECT_EQ(bytes.substr(8, 4), std::string("\0\0\0\x40", 4));  // 2.0
}

TrainingOptions Small() {
    TrainingOptions options;
    options.size = {32, 18};
    options.sequences = 3;
    options.framesPerSequence = 2;
    return options;
}

constexpr std::size_t kFrameBytes = 32U * 18U * 4U + 64U;

TEST(TrainingStream, HasEachSequenceInOnePiece) {
    Pieces pieces;

    EXPECT_TRUE(DrawTrainingStream(Small(), pieces));

    ASSERT_EQ(pieces.all.size(), 3U);
    EXPECT_EQ(pieces.all[0].size(), 2U * kFrameBytes);
    EXPECT_NE(pieces.all[0], pieces.all[1]);
}

TEST(TrainingStream, ALaterSeedStartsAtALaterSequence) {
    Pieces all;
    Pieces second;
    TrainingOptions options = Small();
    DrawTrainingStream(options, all);
    options.seed = 1;
    options.sequences = 1;

    DrawTrainingStream(options, second);

    EXPECT_EQ(second.all.at(0), all.all.at(1));
}

TEST(TrainingStream, HeldOutScenesAreOthers) {
    Pieces training;
    Pieces heldOut;
    TrainingOptions options = Small();
    options.sequences = 1;
    DrawTrainingStream(options, training);
    options.scenes = WhichScenes::HeldOut;

    DrawTrainingStream(options, heldOut);

    EXPECT_NE(heldOut.all.at(0), training.all.at(0));
}

TEST(TrainingStream, HeldOutSeedsAreCountedFromTheirFirst) {
    Pieces third;
    TrainingOptions options = Small();
    options.scenes = WhichScenes::HeldOut;
    options.seed = 2;
    options.sequences = 1;
    options.stillShare = 1.0;  // so that its mask is the same at every time
    scenes::Scene scene(scenes::kFirstHeldOutSeed + 2, {.still = true});
    scenes::Frame frame;
    scene.Draw(0.0, 32, 18, frame);

    DrawTrainingStream(options, third);

    const std::string mask(frame.mask.begin(), frame.mask.end());
    EXPECT_EQ(third.all.at(0).substr(32U * 18U * 3U, 32U * 18U), mask);
}

TEST(TrainingStream, NoTrainingSeedReachesThoseThatAreHeldOut) {
    TrainingOptions options;
    options.seed = scenes::kFirstHeldOutSeed - 2;
    options.sequences = 2;
    EXPECT_EQ(WhyNot(options), "");
    options.sequences = 3;
    EXPECT_THAT(WhyNot(options), HasSubstr("held out"));
    options.sequences = std::numeric_limits<std::uint64_t>::max();
    EXPECT_THAT(WhyNot(options), HasSubstr("held out"));
    options.seed = scenes::kFirstHeldOutSeed + 5;
    options.sequences = 1;
    EXPECT_THAT(WhyNot(options), HasSubstr("held out"));
}

TEST(TrainingStream, NoHeldOutSeedRunsOverIntoThoseOfTraining) {
    TrainingOptions options;
    options.scenes = WhichScenes::HeldOut;
    options.seed = std::numeric_limits<std::uint64_t>::max() - scenes::kFirstHeldOutSeed;  // the last one
    options.sequences = 1;
    EXPECT_EQ(WhyNot(options), "");
    options.sequences = 2;
    EXPECT_THAT(WhyNot(options), HasSubstr("seeds"));
    ++options.seed;
    options.sequences = 1;
    EXPECT_THAT(WhyNot(options), HasSubstr("seeds"));
}

TEST(TrainingStream, NoFrameIsLaterThanASceneLasts) {
    TrainingOptions options;
    options.stepMs = 1000.0;
    options.framesPerSequence = 99988;  // the latest start is at 12 seconds
    EXPECT_EQ(WhyNot(options), "");
    ++options.framesPerSequence;
    EXPECT_THAT(WhyNot(options), HasSubstr("100000 seconds"));
    options.framesPerSequence = 100000;
    options.stepMs = 999.88;
    EXPECT_EQ(WhyNot(options), "");
    options.stepMs = 60000.0;
    EXPECT_THAT(WhyNot(options), HasSubstr("100000 seconds"));
}

TEST(TrainingStream, MarksStillSequencesAndKeepsTheirMask) {
    Pieces pieces;
    TrainingOptions options = Small();
    options.stillShare = 1.0;
    options.stepMs = 700.0;

    DrawTrainingStream(options, pieces);

    for (const std::string& sequence : pieces.all) {
        EXPECT_EQ(FloatAt(sequence, kFrameBytes - 64 + 13 * 4), 1.0F);
        EXPECT_EQ(FloatAt(sequence, 2 * kFrameBytes - 64 + 13 * 4), 1.0F);
        const std::size_t mask = 32U * 18U * 3U;
        EXPECT_EQ(sequence.substr(mask, 32U * 18U), sequence.substr(kFrameBytes + mask, 32U * 18U));
    }
}

TEST(TrainingStream, EndsWhenNothingMoreIsTaken) {
    Pieces pieces(1);

    EXPECT_FALSE(DrawTrainingStream(Small(), pieces));

    EXPECT_EQ(pieces.all.size(), 1U);
}

TEST(PictureSizes, AreTwoNumbersWithACrossBetween) {
    const auto size = ReadPictureSize("256x144");
    ASSERT_TRUE(size);
    EXPECT_EQ(size->width, 256);
    EXPECT_EQ(size->height, 144);
    EXPECT_TRUE(ReadPictureSize("1x4096"));
    for (const char* text :
         {"", "x", "256", "256x", "x144", "0x144", "256x0", "256x4097", "-1x5", "256x144 ", "2 56x1", "1x2x3"}) {
        EXPECT_FALSE(ReadPictureSize(text)) << text;
    }
}

TEST(Sheets, ShowEveryScenesPictureAndMask) {
    SheetOptions options;
    options.size = {16, 9};
    options.columns = 2;
    options.rows = 3;

    const std::string ppm = DrawSheet(options);

    const std::string header = "P6\n64 27\n255\n";
    EXPECT_EQ(ppm.substr(0, header.size()), header);
    EXPECT_EQ(ppm.size(), header.size() + 64U * 27U * 3U);
}

}  // namespace
}  // namespace draw_scenes
