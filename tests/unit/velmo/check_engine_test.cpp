// The command with the real program as the child that loads the library.

#include "velmo_tool/check_engine.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <string_view>

#include "scripted_double/scripted_library.h"
#include "velmo_program.h"
#include "velmo_tool/path_text.h"

namespace velmo_tool {
namespace {

using scripted_double::ScratchLibrary;
using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

class CheckEngineCommand : public testing::Test {
 protected:
    CheckEngineCommand() {
        m_options.program = VelmoProgram();
        m_options.request.libraryPath = PathToUtf8(m_library.Path());
    }

    int Run() { return CheckEngine(m_options, platform::SystemChildProcesses(), m_out, m_errors); }
    void Script(std::string_view text) { (void)m_library.Put("hvq.script", text); }

    ScratchLibrary m_library;
    CheckEngineOptions m_options;
    std::ostringstream m_out;
    std::ostringstream m_errors;
};

TEST_F(CheckEngineCommand, ShowsATableAndSucceeds) {
    EXPECT_EQ(Run(), 0) << m_out.str() << m_errors.str();
    EXPECT_THAT(m_out.str(), AllOf(StartsWith(m_options.request.libraryPath + "\n"), HasSubstr("exports the 58 names"),
                                   EndsWith("all required points hold\n")));
}

TEST_F(CheckEngineCommand, RunsTheModelAndPrintsJson) {
    m_options.request.modelPath = PathToUtf8(m_library.Put("model.onnx", "a model"));
    m_options.form = ReportForm::Json;
    EXPECT_EQ(Run(), 0) << m_errors.str();
    const auto json = nlohmann::json::parse(m_out.str());
    EXPECT_EQ(json.at("good"), true);
    EXPECT_EQ(json.at("model"), m_options.request.modelPath);
    EXPECT_EQ(json.at("points").back().at("name"), "unloads");
}

TEST_F(CheckEngineCommand, FailsWithTheNumberOfPoints) {
    Script("engines Other");
    EXPECT_EQ(Run(), 2);
    EXPECT_THAT(m_out.str(), HasSubstr(" points fail that the process needs\n"));
}

TEST_F(CheckEngineCommand, SurvivesALibraryThatEndsTheProcess) {
    Script("exit hvqSelfVersion 1 9");
    EXPECT_EQ(Run(), 2);
    EXPECT_THAT(m_out.str(), HasSubstr("FAILS  tells its version"));
    EXPECT_THAT(m_out.str(), HasSubstr("the library ended the process with exit code 9"));
}

TEST_F(CheckEngineCommand, GivesUpALibraryThatHangs) {
    Script("gate hvqGetSupportEngineNumber 1 never");
    m_options.timeoutMs = 8000;  // long enough for any child to come so far
    EXPECT_EQ(Run(), 2);
    EXPECT_THAT(m_out.str(), HasSubstr("FAILS  lists its engines"));
    EXPECT_THAT(m_out.str(), HasSubstr("the library did not come back"));
}

TEST_F(CheckEngineCommand, SaysWhenTheChildCannotStart) {
    m_options.program = "no-such-program";
    EXPECT_EQ(Run(), 1);
    EXPECT_EQ(m_out.str(), "");
    EXPECT_THAT(m_errors.str(), StartsWith("velmo: can't start no-such-program"));
}

TEST_F(CheckEngineCommand, TakesAnEmptyPathForAFileThatIsNotThere) {
    m_options.request.libraryPath = "";
    EXPECT_EQ(Run(), 2);
    EXPECT_THAT(m_out.str(), HasSubstr("FAILS  is a library that this system loads   not exists."));
}

TEST_F(CheckEngineCommand, LoadsIntoThisProcessWhenAsked) {
    m_options.place = CheckPlace::ThisProcess;
    m_options.program = "no-such-program";
    EXPECT_EQ(Run(), 0) << m_out.str();
}

}  // namespace
}  // namespace velmo_tool
