// The program itself: what it says to a command line that can't be right, and to one that asks for help.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "platform/child_process.h"
#include "scripted_double/scripted_library.h"
#include "velmo_program.h"
#include "velmo_tool/path_text.h"

namespace velmo_tool {
namespace {

using testing::HasSubstr;

using Words = std::vector<std::string>;

class CommandLine : public testing::TestWithParam<Words> {
 protected:
    // Runs `velmo` with these words; gives its exit code.
    int Run(const Words& words) {
        constexpr std::uint32_t kPatienceMs = 60'000;
        std::unique_ptr<platform::ChildPipe> pipe;
        platform::ChildStart start;
        start.program = VelmoProgram();
        start.arguments = words;
        start.standardErrorPath = PathToUtf8(m_scratch.Folder() / "errors");
        start.standardOutputPipe = &pipe;
        std::string error;
        const auto child = platform::SystemChildProcesses().Start(start, error);
        EXPECT_NE(child, nullptr) << error;
        if (!child) return -1000;
        std::array<char, 4096> buffer{};
        while (const std::size_t count = pipe->Read(buffer.data(), buffer.size()))
            m_out.append(buffer.data(), count);
        const auto exit = child->WaitForExit(kPatienceMs);
        std::ifstream errors(m_scratch.Folder() / "errors", std::ios::binary);
        m_errors.assign(std::istreambuf_iterator<char>(errors), {});
        return exit ? exit->code : -1001;
    }

    scripted_double::ScratchLibrary m_scratch;
    std::string m_out;
    std::string m_errors;
};

using WrongCommandLine = CommandLine;

TEST_P(WrongCommandLine, EndsWithTwoAndAWordOnStandardErrorAlone) {
    EXPECT_EQ(Run(GetParam()), 2);
    EXPECT_EQ(m_out, "");
    EXPECT_NE(m_errors, "");
}

INSTANTIATE_TEST_SUITE_P(Any, WrongCommandLine,
                         testing::Values(Words{}, Words{"--bogus"}, Words{"bogus"}, Words{"probe", "--bogus"},
                                         Words{"probe", "bogus"}, Words{"inspect"}, Words{"inspect", "id", "another"},
                                         Words{"inspect", "id", "--bogus"}, Words{"check-engine"},
                                         Words{"check-engine", "hvq.dll", "--model"},
                                         Words{"check-engine", "hvq.dll", "--timeout", "0"},
                                         Words{"check-engine", "hvq.dll", "--timeout", "86401"},
                                         Words{"check-engine", "hvq.dll", "--timeout", "soon"}, Words{"run"},
                                         Words{"run", "-", "--bogus"}));

using CallForHelp = CommandLine;

TEST_P(CallForHelp, IsAnsweredOnStandardOutputWithTheExitCodes) {
    EXPECT_EQ(Run(GetParam()), 0) << m_errors;
    EXPECT_THAT(m_out, HasSubstr("Exit code: "));
    EXPECT_EQ(m_errors, "");
}

INSTANTIATE_TEST_SUITE_P(Any, CallForHelp,
                         testing::Values(Words{"--help"}, Words{"-h"}, Words{"inspect", "--help"},
                                         Words{"check-engine", "--help"}, Words{"probe", "--help"},
                                         Words{"run", "--help"}));

TEST_F(CommandLine, ThatCanBeRightHasTheSubcommandsExitCode) {
    EXPECT_EQ(Run({"inspect", "no process has this id"}), 1);
    EXPECT_EQ(Run({"check-engine", PathToUtf8(m_scratch.Path())}), 0) << m_errors;
    EXPECT_EQ(Run({"probe"}), 0) << m_errors;
}

}  // namespace
}  // namespace velmo_tool
