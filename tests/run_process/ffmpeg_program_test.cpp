// `velmo run` of files that ffmpeg has to read, with this program as the ffmpeg that is found, and with none.

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

#include "platform/child_process.h"
#include "run_fixture.h"
#include "velmo_media/path_name.h"

namespace run_process_tests {
namespace {

using testing::HasSubstr;
using testing::SizeIs;

class RunOfAFileForFfmpeg : public VideoRunTest {
 protected:
    // The only folder in which programs are found: this program is there as ffmpeg.
    RunOfAFileForFfmpeg() {
        namespace fs = std::filesystem;
        fs::create_directory(m_folder.Path() / "programs");
        fs::create_directory(m_folder.Path() / "nothing");
        const fs::path self = process_tests::ProgramFolderPath() / RUN_PROCESS_TESTS_PROGRAM;
        const fs::path ffmpeg = m_folder.Path() / "programs" / ("ffmpeg" + self.extension().string());
        std::error_code error;
        fs::create_hard_link(self, ffmpeg, error);
        if (error) fs::copy_file(self, ffmpeg);
        std::ofstream(m_folder.Path() / "3 frames.mp4", std::ios::binary) << "no Y4M stream";
    }

    // Runs `velmo run` on the file, where programs are found in this folder alone; its exit code.
    int RunWithProgramsIn(const std::string& folder) {
        platform::ChildStart start;
        start.program = process_tests::ProgramFolder() + VELMO_PROGRAM;
        start.arguments = {"run",      m_input,  "--masks", At("masks.y4m"), "--model-dir", m_options.modelFolder,
                           "--family", "inhouse"};
        start.environment = {{"PATH", At(folder)}};
        start.standardOutputPath = At("stdout");
        start.standardErrorPath = At("stderr");
        std::string error;
        const auto child = platform::SystemChildProcesses().Start(start, error);
        if (!child) return -1000;
        const auto exit = child->WaitForExit(process_tests::kPatienceMs);
        return exit ? exit->code : -1001;
    }
    std::string Errors() const { return process_tests::FileText(At("stderr")); }

    const std::string m_input = velmo_media::NameOf(m_folder.Path()) + "/3 frames.mp4";
};

TEST_F(RunOfAFileForFfmpeg, TakesTheOneThatIsFound) {
    EXPECT_EQ(RunWithProgramsIn("programs"), 0) << Errors();
    EXPECT_THAT(FramesAt("masks.y4m"), SizeIs(3));
    EXPECT_THAT(Errors(), HasSubstr("frames      3: "));
}

TEST_F(RunOfAFileForFfmpeg, TellsThatThereIsNoneAndWhatToDoWhereItIs) {
    EXPECT_EQ(RunWithProgramsIn("nothing"), 1);
    EXPECT_THAT(Errors(), HasSubstr("velmo: " + m_input +
                                    " is no Y4M stream, and ffmpeg, which reads other files, is not installed. Where "
                                    "it is: ffmpeg -i " +
                                    m_input + " -f yuv4mpegpipe -pix_fmt yuv420p - | velmo run -"));
    EXPECT_FALSE(std::filesystem::exists(m_folder.Path() / "masks.y4m"));
}

}  // namespace
}  // namespace run_process_tests
