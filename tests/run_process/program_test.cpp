// The program itself: its command line, its streams, its exit codes; and ffmpeg, played by this program.

#include <gmock/gmock.h>

#include <fstream>

#include "platform/child_process.h"
#include "roles.h"
#include "run_fixture.h"
#include "velmo_media/ffmpeg_source.h"
#include "velmo_media/media_error.h"

namespace run_process_tests {
namespace {

using testing::HasSubstr;
using testing::SizeIs;

class Program : public VideoRunTest {
 protected:
    // Runs `velmo` with these words; gives its exit code.
    int RunProgram(const std::vector<std::string>& words, const std::string& input = "") {
        std::ofstream(m_folder.Path() / "stdin", std::ios::binary) << input;
        std::unique_ptr<platform::ChildPipe> pipe;
        platform::ChildStart start;
        start.program = process_tests::ProgramFolder() + VELMO_PROGRAM;
        start.arguments = words;
        start.standardInputPath = At("stdin");
        start.standardErrorPath = At("stderr");
        start.standardOutputPipe = &pipe;
        std::string error;
        const auto child = platform::SystemChildProcesses().Start(start, error);
        if (!child) return -1000;
        std::vector<char> buffer(1 << 16);
        m_out.clear();
        for (std::size_t count = pipe->Read(buffer.data(), buffer.size()); count > 0;
             count = pipe->Read(buffer.data(), buffer.size()))
            m_out.append(buffer.data(), count);
        const auto exit = child->WaitForExit(process_tests::kPatienceMs);
        return exit ? exit->code : -1001;
    }
    std::string Errors() const { return process_tests::FileText(At("stderr")); }

    std::string m_out;
};

TEST_F(Program, TakesAVideoFromStandardInputToStandardOutput) {
    std::string clip = "YUV4MPEG2 W256 H144 F25:1 Cmono XCOLORRANGE=FULL\n";
    const Grey picture = Halves(kWidth, kHeight, 240, 20);
    constexpr std::size_t kFrames = 60;
    for (std::size_t frame = 0; frame < kFrames; ++frame)
        clip.append("FRAME\n").append(picture.begin(), picture.end());
    EXPECT_EQ(RunProgram({"run", "--masks", "-", "--model-dir", m_options.modelFolder, "--family", "inhouse", "--json",
                          At("run.json"), "--fps", "100000/1001", "--swap-at", "1:cpu", "--swap-at", "2:auto", "-"},
                         clip),
              0)
        << Errors();
    const auto masks = FramesOf(m_out);
    ASSERT_THAT(masks, SizeIs(kFrames));
    for (const Grey& mask : masks) {
        // 180 in the first mask, and towards 240 in those after it.
        ASSERT_GE(mask[0], 179);
        ASSERT_LE(mask[0], 240);
    }
    EXPECT_THAT(Errors(), HasSubstr("frames      60: "));
    EXPECT_THAT(JsonAt("run.json").at("settings").dump(), HasSubstr("99.900 frames per second"));
}

TEST_F(Program, KeepsWhatItsProcessPrintsOutOfTheVideo) {
    EXPECT_EQ(RunProgram(
                  {"run", "--masks", "-", "--process", process_tests::ProgramFolder() + RUN_PROCESS_TESTS_PROGRAM, "-"},
                  "YUV4MPEG2 W2 H2 F25:1 Cmono\nFRAME\nabcd"),
              1);
    EXPECT_EQ(m_out, "");
    EXPECT_THAT(Errors(), HasSubstr(kChatter));
}

TEST_F(Program, TellsACommandLineThatCannotBeRight) {
    for (const std::vector<std::string>& words : {std::vector<std::string>{"run"},
                                                  {"run", "-", "--bogus"},
                                                  {"run", "-", "--family", "3"},
                                                  {"run", "-", "--quality", "720"},
                                                  {"run", "-", "--frames-in-flight", "6"},
                                                  {"run", "-", "--fps", "0"},
                                                  {"run", "-", "--fps", "1/0"},
                                                  {"run", "-", "--swap-at", "cpu"},
                                                  {"run", "-", "--swap-at", "3:tpu"},
                                                  {"run", "-", "--frames", "0"},
                                                  {"run", "-", "--temporal", "maybe"}}) {
        EXPECT_EQ(RunProgram(words), 2) << words.back();
        EXPECT_EQ(m_out, "") << words.back();
        EXPECT_NE(Errors(), "") << words.back();
    }
}

TEST_F(Program, ExplainsItself) {
    EXPECT_EQ(RunProgram({"run", "--help"}), 0);
    for (const char* word : {"--output", "--masks", "--background", "--report", "--json", "--csv", "--sheet", "--force",
                             "--family", "--quality", "--device", "--temporal", "--engine-dir", "--model-dir",
                             "--frames-in-flight", "--fps", "--swap-at", "--frames", "Exit code"})
        EXPECT_THAT(m_out, HasSubstr(word));
}

// Where this program plays ffmpeg; see roles.h.
class Ffmpeg : public testing::Test {
 protected:
    static std::string FramesOf(const std::string& input) {
        std::uint64_t frames = 0;
        try {
            velmo_media::FfmpegSource source(process_tests::ProgramFolder() + RUN_PROCESS_TESTS_PROGRAM, input,
                                             platform::SystemChildProcesses());
            velmo_media::Picture picture;
            while (frames < 1000 && source.Next(picture))
                ++frames;
        } catch (const velmo_media::MediaError& error) {
            return std::to_string(frames) + " frames, then: " + error.what();
        }
        return std::to_string(frames) + " frames";
    }
};

TEST_F(Ffmpeg, MakesAVideoOfAFile) {
    EXPECT_EQ(FramesOf("3 frames \"of\" a\\file\\"), "3 frames");
}

TEST_F(Ffmpeg, IsNotWaitedForOnceNobodyWantsMore) {
    EXPECT_EQ(FramesOf("1000000 frames"), "1000 frames");
}

TEST_F(Ffmpeg, TellsThatItFailed) {
    EXPECT_EQ(FramesOf("nothing"),
              "0 frames, then: nothing: ffmpeg made no video of it (nothing: the stream is empty)");
    EXPECT_EQ(FramesOf("2 frames and fail"), "2 frames, then: 2 frames and fail: ffmpeg failed with exit code 8");
}

TEST_F(Ffmpeg, ThatIsNotThereIsTold) {
    try {
        velmo_media::FfmpegSource source(process_tests::ProgramFolder() + "no-such-program", "a.mp4",
                                         platform::SystemChildProcesses());
        FAIL() << "it was started";
    } catch (const velmo_media::MediaError& error) {
        EXPECT_THAT(error.what(), HasSubstr("can't start "));
    }
}

}  // namespace
}  // namespace run_process_tests
