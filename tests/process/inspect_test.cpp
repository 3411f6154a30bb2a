// The tool's look at a real link.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "process_fixture.h"
#include "velmo_tool/inspect.h"

namespace process_tests {
namespace {

using ::testing::HasSubstr;

TEST(Inspect, ShowsTheFiveChannelsOfALinkAndLeavesThemAsTheyAre) {
    const std::string id = FreshId();
    Recorder recorder;
    velmo_parent::Link link(id, recorder);
    ASSERT_TRUE(link.Open());
    ASSERT_TRUE(link.StartProcess({ProcessProgram()}));
    ASSERT_TRUE(recorder.AwaitHeartBeats(1));

    std::ostringstream output;
    std::ostringstream error;
    EXPECT_EQ(velmo_tool::Inspect(id, platform::SystemKernelObjects(), output, error), 0) << error.str();

    for (const char* suffix : {"C", "FI", "E", "FO", "L"})
        EXPECT_THAT(output.str(), HasSubstr(id + suffix));
    EXPECT_EQ(error.str(), "");
    EXPECT_TRUE(recorder.AwaitHeartBeats(recorder.HeartBeats() + 1));
    (void)link.Terminate();
    const auto exit = link.WaitForExit(kPatienceMs);
    ASSERT_TRUE(exit);
    EXPECT_EQ(exit->code, 0);
}

TEST(Inspect, SaysWhenThereIsNothing) {
    std::ostringstream output;
    std::ostringstream error;
    EXPECT_EQ(velmo_tool::Inspect(FreshId(), platform::SystemKernelObjects(), output, error), 1);
    EXPECT_THAT(error.str(), HasSubstr("no channel of the id"));
}

}  // namespace
}  // namespace process_tests
