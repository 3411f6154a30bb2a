#include <gmock/gmock.h>

#include <fstream>
#include <iostream>

#include "child_roles.h"
#include "contract/own_child.h"
#include "output_of.h"
#include "platform/child_process.h"
#include "platform/find_program.h"
#include "platform/standard_streams.h"

namespace {

using contract::OwnChild;
using contract::OwnProgram;
using platform::ChildPipe;
using platform::ChildStart;

// Copies standard input to standard output.
const roles::Registered g_copy("copy", [](const std::string& /*rest*/) {
    platform::SetBinaryStandardStreams();
    std::cout << std::cin.rdbuf() << std::flush;
    return std::cout.good() ? 0 : 1;
});
// Writes so many bytes that no pipe holds them.
const roles::Registered g_flood("flood", [](const std::string& bytes) {
    platform::SetBinaryStandardStreams();
    std::cout << std::string(std::stoul(bytes), 'x') << std::flush;
    return std::cout.good() ? 5 : 1;
});

// Starts a child with a pipe, and reads all of it.
std::string PipedFrom(ChildStart start, int& code) {
    std::unique_ptr<ChildPipe> pipe;
    start.program = OwnProgram();
    start.standardOutputPipe = &pipe;
    OwnChild child(start);
    std::string text;
    std::vector<char> buffer(1000);
    for (std::size_t count = pipe->Read(buffer.data(), buffer.size()); count > 0;
         count = pipe->Read(buffer.data(), buffer.size()))
        text.append(buffer.data(), count);
    code = child.EndCode();
    return text;
}

TEST(ChildArguments, ArriveOneByOneWhateverIsInThem) {
    const std::vector<std::string> arguments = {"plain",   "with blank", "",          "say \"hi\"", "back\\slash",
                                                "end\\",   "\\\"",       "\\\\\"x y", "tab\there",  "a\\\\b",
                                                "$HOME *", "%PATH%",     "-x"};
    ChildStart start;
    start.commandTail = "arguments:";
    start.arguments = arguments;
    int code = -1;
    const std::string text = PipedFrom(start, code);
    EXPECT_EQ(code, 0);
    std::string expected;
    for (const std::string& argument : arguments)
        expected += "[" + argument + "]\n";
    EXPECT_EQ(text, expected);
}

TEST(ChildPipeTest, GivesEveryByteOfAChildThatWritesMuch) {
    int code = -1;
    ChildStart start;
    start.commandTail = "flood:1000000";
    EXPECT_EQ(PipedFrom(start, code), std::string(1'000'000, 'x'));
    EXPECT_EQ(code, 5);
}

TEST(ChildPipeTest, LetsAChildEndWhoseReaderHasGone) {
    std::unique_ptr<ChildPipe> pipe;
    ChildStart start;
    start.program = OwnProgram();
    start.commandTail = "flood:10000000";
    start.standardOutputPipe = &pipe;
    OwnChild child(start);
    char one = 0;
    EXPECT_EQ(pipe->Read(&one, 1), 1u);
    pipe.reset();
    const auto exit = child.End();
    ASSERT_TRUE(exit.has_value());
    EXPECT_NE(exit->code, 5) << "it can't have written all";
}

TEST(ChildInput, ComesFromAFileByteByByte) {
    const TemporaryFile file;
    const std::string bytes("line\r\nend\x1A\0rest\n", 16);
    std::ofstream(file.Path(), std::ios::binary) << bytes;
    ChildStart start;
    start.commandTail = "copy:";
    start.standardInputPath = file.Path();
    int code = -1;
    EXPECT_EQ(PipedFrom(start, code), bytes);
    EXPECT_EQ(code, 0);
}

TEST(ChildInput, FromAFileThatIsNotThereIsNoChild) {
    ChildStart start;
    start.program = OwnProgram();
    start.commandTail = "copy:";
    start.standardInputPath = OwnProgram() + ".nowhere";
    std::string error;
    EXPECT_EQ(platform::SystemChildProcesses().Start(start, error), nullptr);
    EXPECT_NE(error, "");
}

TEST(FindProgram, FindsWhatTheSystemWouldRunAndNothingElse) {
    const std::string name = contract::OnWindows() ? "cmd" : "sh";
    const auto found = platform::FindProgram(name);
    ASSERT_TRUE(found.has_value());
    EXPECT_GT(found->size(), name.size());
    EXPECT_EQ(platform::FindProgram("no program has this name"), std::nullopt);
}

const roles::Registered g_terminal("terminal", [](const std::string& /*rest*/) {
    return platform::IsTerminal(platform::StandardStream::Output) ? 1 : 0;
});

TEST(StandardStreams, ThatLeadToAFileAreNoTerminal) {
    EXPECT_EQ(OutputOf("terminal:"), "");  // which expects the exit code 0 as well
}

}  // namespace
