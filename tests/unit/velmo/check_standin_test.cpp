// The command on the stand-in library with real networks: both hold to the contract that the process needs.

#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "infra/module_directory.h"
#include "platform/child_process.h"
#include "velmo_tool/check_engine.h"

namespace velmo_tool {
namespace {

std::string BesideThisProgram(const std::string& name) {
    static const int kHere = 0;
    char folder[1024];
    EXPECT_EQ(infra::GetModuleDirectory(&kHere, folder, sizeof(folder)), 0);
    return std::string(folder).append(infra::g_pathSeparator) + name;
}

CheckEngineOptions ForNetwork(const std::string& network) {
    CheckEngineOptions options;
    options.program = BesideThisProgram(VELMO_PROGRAM);
    options.request.libraryPath = BesideThisProgram("hvq.dll");
    options.request.modelPath = BesideThisProgram("networks" + std::string(infra::g_pathSeparator) + network);
    return options;
}

class StandInNetworks : public testing::TestWithParam<const char*> {};

TEST_P(StandInNetworks, HoldsAllThatTheProcessNeeds) {
    std::ostringstream out;
    std::ostringstream errors;
    EXPECT_EQ(CheckEngine(ForNetwork(GetParam()), platform::SystemChildProcesses(), out, errors), 0)
        << out.str() << errors.str();
}

INSTANTIATE_TEST_SUITE_P(Families, StandInNetworks,
                         testing::Values("family0_256x144.onnx", "family1_640x360.onnx", "family2_256x144.onnx"));

TEST(StandInUnderCheck, NamesTheFileThatIsNoNetwork) {
    CheckEngineOptions options = ForNetwork("family0_256x144.onnx");
    options.request.modelPath = options.request.libraryPath;  // a file, and no network
    std::ostringstream out;
    std::ostringstream errors;
    EXPECT_EQ(CheckEngine(options, platform::SystemChildProcesses(), out, errors), 2);
    EXPECT_NE(out.str().find("FAILS"), std::string::npos);
    EXPECT_NE(out.str().find(options.request.modelPath), std::string::npos) << out.str();
}

}  // namespace
}  // namespace velmo_tool
