#include "platform/standard_streams.h"

#include <gmock/gmock.h>

#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "child_roles.h"
#include "contract/own_child.h"
#include "output_of.h"

namespace {

using contract::OwnChild;
using contract::OwnProgram;
using platform::ChildStart;
using platform::StandardStream;
using platform::SystemStandardStreams;

constexpr int kWriters = 4;
constexpr int kTexts = 200;

std::string Line(int writer, int number) {
    return std::to_string(writer) + "." + std::to_string(number) + std::string(300, 'x') + ".";
}

// The line end that a text stream writes.
std::string LineEnd() {
    return contract::OnWindows() ? "\r\n" : "\n";
}

const roles::Registered g_both("both", [](const auto&) -> int {
    SystemStandardStreams().Write(StandardStream::Output, "out %s\n");
    SystemStandardStreams().Write(StandardStream::Error, "err");
    SystemStandardStreams().Write(StandardStream::Output, "");
    SystemStandardStreams().Write(StandardStream::Output, "more");
    std::_Exit(0);  // nothing is flushed on this way out
});

const roles::Registered g_many("many", [](const auto&) {
    std::vector<std::thread> writers;
    for (int writer = 0; writer < kWriters; ++writer) {
        writers.emplace_back([writer] {
            for (int number = 0; number < kTexts; ++number) {
                SystemStandardStreams().Write(StandardStream::Output, Line(writer, number) + "\n");
            }
        });
    }
    for (std::thread& writer : writers)
        writer.join();
    return 0;
});

TEST(StandardStreams, TakeTextAsItStandsAndFlushIt) {
    const TemporaryFile output;
    const TemporaryFile error;
    OwnChild child(ChildStart{OwnProgram(), "both:", {}, output.Path(), error.Path()});

    EXPECT_EQ(child.EndCode(), 0);

    EXPECT_EQ(output.Content(), "out %s" + LineEnd() + "more");
    EXPECT_EQ(error.Content(), "err");
}

TEST(StandardStreams, BothGoToOneFileInTheirOrder) {
    const TemporaryFile file;
    OwnChild child(ChildStart{OwnProgram(), "both:", {}, file.Path(), file.Path()});

    EXPECT_EQ(child.EndCode(), 0);

    EXPECT_EQ(file.Content(), "out %s" + LineEnd() + "errmore");
}

TEST(StandardStreams, ReplaceWhatWasInTheFile) {
    const TemporaryFile output;
    const TemporaryFile file;
    std::ofstream(file.Path()) << "something much longer than what comes now";
    OwnChild child(ChildStart{OwnProgram(), "both:", {}, output.Path(), file.Path()});

    EXPECT_EQ(child.EndCode(), 0);

    EXPECT_EQ(file.Content(), "err");
}

TEST(StandardStreams, KeepTextsOfSeveralThreadsWhole) {
    std::istringstream lines(OutputOf("many:"));
    std::set<std::string> seen;
    for (std::string line; std::getline(lines, line);) {
        if (contract::OnWindows()) line.pop_back();
        EXPECT_TRUE(seen.insert(line).second) << line;
    }

    for (int writer = 0; writer < kWriters; ++writer) {
        for (int number = 0; number < kTexts; ++number)
            EXPECT_EQ(seen.count(Line(writer, number)), 1U);
    }
    EXPECT_EQ(seen.size(), static_cast<std::size_t>(kWriters * kTexts));
}

}  // namespace
