// Clips whose masks are known, through the real process with the real stand-in.

#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "run_fixture.h"
#include "velmo_media/blend.h"
#include "velmo_media/png_folder.h"

namespace run_process_tests {
namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::SizeIs;

// The networks reckon in floats and cut off what is behind the point; what is expected here is exact.
constexpr int kTolerance = 1;

// How far two pictures are apart where they differ most; 256 when they have not the same size.
int Distance(const Grey& left, const Grey& right) {
    if (left.size() != right.size()) return 256;
    int most = 0;
    for (std::size_t at = 0; at < left.size(); ++at)
        most = std::max(most, std::abs(left[at] - right[at]));
    return most;
}

// The test networks' rule, for a grey picture.
Grey MaskOf(const Grey& picture, const Grey& previous) {
    Grey mask(picture.size());
    for (std::size_t at = 0; at < mask.size(); ++at)
        mask[at] = static_cast<std::uint8_t>((3 * picture[at] + previous[at]) / 4);
    return mask;
}

// All rows of a CSV, cut at their commas.
std::vector<std::vector<std::string>> RowsOf(const std::string& csv) {
    std::vector<std::vector<std::string>> rows;
    std::istringstream lines(csv);
    for (std::string line; std::getline(lines, line);) {
        std::vector<std::string> row(1);
        for (const char one : line) {
            if (one == ',')
                row.emplace_back();
            else
                row.back() += one;
        }
        rows.push_back(row);
    }
    return rows;
}

class RunMasks : public VideoRunTest {
 protected:
    void ExpectMasksOfChangingHalves(const std::vector<Grey>& masks, std::size_t count) {
        ASSERT_THAT(masks, SizeIs(count));
        Grey expected(std::size_t{kWidth} * kHeight, 0);
        for (std::size_t frame = 0; frame < count; ++frame) {
            expected = MaskOf(Changing(frame), expected);
            EXPECT_LE(Distance(masks[frame], expected), kTolerance) << "frame " << frame;
        }
    }
};

// Standard output that counts how often it is flushed.
class CountedFlushes final : public std::stringbuf {
 public:
    int Count() const { return m_count; }

 protected:
    int sync() override {
        ++m_count;
        return 0;
    }

 private:
    int m_count = 0;
};

TEST_F(RunMasks, AreFlushedByTheThreadThatWritesThemAndByNoOther) {
    CountedFlushes flushes;
    m_output = &flushes;
    m_options.masks = "-";
    EXPECT_EQ(RunFrames(2, Still), 0);
    EXPECT_EQ(flushes.Count(), 1) << "only at their end, and not whenever something is read or said";
    EXPECT_THAT(FramesOf(flushes.str()), SizeIs(2));
}

TEST_F(RunMasks, AreThoseOfTheNetworkAndMakeTheComposite) {
    constexpr std::uint64_t kFrames = 12;
    m_options.output = "-";
    m_options.masks = At("masks.y4m");
    m_options.background = "#ffffff";
    m_options.csv = At("rows.csv");
    m_options.json = At("run.json");
    m_options.report = At("run.html");

    ASSERT_EQ(RunFrames(kFrames, Changing), 0) << m_talk.Text();

    const auto masks = FramesAt("masks.y4m");
    ASSERT_NO_FATAL_FAILURE(ExpectMasksOfChangingHalves(masks, kFrames));
    const auto composites = FramesOf(m_written.str());
    ASSERT_THAT(composites, SizeIs(kFrames));
    for (std::size_t frame = 0; frame < kFrames; ++frame) {
        Grey expected(masks[frame].size());
        velmo_media::Blend(Changing(frame), Grey(expected.size(), 255), masks[frame], expected);
        EXPECT_EQ(Distance(composites[frame], expected), 0) << "frame " << frame;
    }
    EXPECT_THAT(m_written.str(), testing::StartsWith("YUV4MPEG2 W256 H144 F30000:1001 Ip A1:1 Cmono"));

    const json report = JsonAt("run.json");
    EXPECT_EQ(report.at("state"), "complete");
    EXPECT_EQ(report.at("frames").at("written"), kFrames);
    EXPECT_EQ(report.at("frames").at("noMask"), 0);
    EXPECT_EQ(report.at("frames").at("lost"), 0);
    EXPECT_EQ(report.at("device"), "CPU");
    EXPECT_THAT(report.at("contactSheet"), SizeIs(8));
    const auto rows = RowsOf(process_tests::FileText(At("rows.csv")));
    ASSERT_THAT(rows, SizeIs(kFrames + 1));
    double most = 0;
    for (std::size_t frame = 0; frame < kFrames; ++frame) {
        const auto& row = rows[frame + 1];
        ASSERT_THAT(row, SizeIs(7));
        EXPECT_EQ(row[0], std::to_string(frame));
        most = std::max(most, std::stod(row[6]));
        if (row[1] == "inferred") {
            EXPECT_NEAR(std::stod(row[4]) + std::stod(row[5]), std::stod(row[6]), 0.002);
        }
    }
    EXPECT_NEAR(report.at("latencyMs").at("max").get<double>(), most, 0.001);
    EXPECT_THAT(process_tests::FileText(At("run.html")), HasSubstr("</html>"));
    EXPECT_THAT(m_talk.Text(), HasSubstr("frames      12: "));
}

class RunInFlight : public RunMasks, public testing::WithParamInterface<std::uint32_t> {};

TEST_P(RunInFlight, GetsTheSameMasks) {
    m_options.framesInFlight = GetParam();
    m_options.masks = "-";
    ASSERT_EQ(RunFrames(20, Changing), 0) << m_talk.Text();
    ExpectMasksOfChangingHalves(FramesOf(m_written.str()), 20);
}

INSTANTIATE_TEST_SUITE_P(Fewest, RunInFlight, testing::Values(1U));
INSTANTIATE_TEST_SUITE_P(Most, RunInFlight, testing::Values(5U));

TEST_F(RunMasks, AreReusedWhereNothingMovesAndNotWhenThatIsForbidden) {
    m_options.json = At("still.json");
    ASSERT_EQ(RunFrames(30, Still), 0) << m_talk.Text();
    EXPECT_GE(JsonAt("still.json").at("frames").at("reused"), 25);

    m_options.mayReuseMasks = false;
    m_options.framesInFlight = 1;
    m_options.json = At("each.json");
    m_options.masks = At("each.y4m");
    ASSERT_EQ(RunFrames(30, Still), 0) << m_talk.Text();
    EXPECT_EQ(JsonAt("each.json").at("frames").at("written"), 30);
    const auto masks = FramesAt("each.y4m");
    ASSERT_THAT(masks, SizeIs(30));
    // Frames that may not be skipped leave no mask behind for the next one.
    const Grey expected = MaskOf(Still(0), Grey(masks[0].size(), 0));
    for (std::size_t frame = 0; frame < masks.size(); ++frame)
        EXPECT_LE(Distance(masks[frame], expected), kTolerance) << "frame " << frame;
}

TEST_F(RunMasks, ComeInThePicturesSizeAlsoWhereThatIsOdd) {
    constexpr std::uint32_t kOddWidth = 511;
    constexpr std::uint32_t kOddHeight = 383;
    m_options.masks = "-";
    m_options.family = velmo_parent::ModelFamily::Inhouse;
    m_options.quality = velmo_parent::ModelQuality::High;
    FrameFeed feed(kOddWidth, kOddHeight, [](std::uint64_t frame) {
        return frame < 2 ? Halves(kOddWidth, kOddHeight, kBright, kDark) : Grey();
    });
    ASSERT_EQ(RunStream(feed), 0) << m_talk.Text();

    const auto masks = FramesOf(m_written.str());
    ASSERT_THAT(masks, SizeIs(2));
    ASSERT_THAT(masks[0], SizeIs(std::size_t{kOddWidth} * kOddHeight));
    // Beside the line between the halves, where scaling mixes them.
    for (std::size_t at = 0; at < masks[0].size(); ++at) {
        const std::size_t x = at % kOddWidth;
        if (x >= kOddWidth / 2 - 3 && x <= kOddWidth / 2 + 3) continue;
        const int expected = x < kOddWidth / 2 ? 180 : 15;
        ASSERT_NEAR(masks[0][at], expected, kTolerance) << "pixel " << at;
    }
}

TEST_F(RunMasks, OfAFolderOfPicturesKeepTheirNames) {
    const std::filesystem::path folder = m_folder.Path() / "in";
    velmo_media::PngFolderSink sink(folder, velmo_media::Overwriting::Refused);
    for (const std::uint64_t frame : {std::uint64_t{0}, std::uint64_t{1}}) {
        velmo_media::Picture picture({velmo_media::ColourModel::Grey, 0, 0, velmo_media::ColourRange::Full},
                                     {kWidth, kHeight});
        std::ranges::copy(Changing(frame), picture.Bytes().begin());
        sink.Write(picture, frame == 0 ? "one.png" : "two.png");
    }
    m_options.input = At("in");
    m_options.output = At("out");
    m_options.masks = At("masks");
    m_options.background = "black";
    m_options.family = velmo_parent::ModelFamily::CalyrRe;

    ASSERT_EQ(Run(), 0) << m_talk.Text();

    const auto mask = velmo_media::ReadPngFile(m_folder.Path() / "masks" / "one.png");
    EXPECT_NEAR(mask.Plane(0)[0], 129, kTolerance);
    const auto composite = velmo_media::ReadPngFile(m_folder.Path() / "out" / "two.png");
    // A picture of 184 by a mask of (3 * 184 + 129) / 4 = 170, before black.
    EXPECT_NEAR(composite.Plane(1)[0], 184 * 170 / 255, kTolerance);
}

TEST_F(RunMasks, StopAfterTheFramesThatWereAskedFor) {
    m_options.frames = 3;
    m_options.masks = "-";
    ASSERT_EQ(RunFeed(Changing), 0) << m_talk.Text();
    EXPECT_THAT(FramesOf(m_written.str()), SizeIs(3));
}

TEST_F(RunMasks, ComeNoFasterThanTheirPace) {
    m_options.fps = 50;
    m_options.json = At("run.json");
    ASSERT_EQ(RunFrames(16, Still), 0) << m_talk.Text();
    const json report = JsonAt("run.json");
    EXPECT_GE(report.at("seconds").get<double>(), 0.3);  // the last one is due 15 / 50 s behind the first
    EXPECT_EQ(report.at("frames").at("written"), 16);
}

TEST_F(RunMasks, ComeFromAnotherEngineBehindASwap) {
    m_options.swaps = {{2, velmo_parent::Device::Cpu}};
    m_options.json = At("run.json");
    // The new engine is brought up beside the frames, so a run has to be long enough for it.
    for (std::uint64_t frames = 40; frames <= 40'000; frames *= 10) {
        m_options.force = true;
        ASSERT_EQ(RunFrames(frames, Changing), 0) << m_talk.Text();
        const json report = JsonAt("run.json");
        ASSERT_THAT(report.at("swapRequests"), SizeIs(1));
        EXPECT_EQ(report.at("swapRequests").at(0).at("frame"), 2);
        EXPECT_EQ(report.at("swapRequests").at(0).at("device"), "CPU");
        EXPECT_EQ(report.at("frames").at("noMask"), 0);
        if (!report.at("swaps").empty()) {
            EXPECT_GE(report.at("swaps").at(0).at("frame"), 1);
            return;
        }
    }
    FAIL() << "the engine was not swapped in 40,000 frames: " << m_talk.Text();
}

}  // namespace
}  // namespace run_process_tests
