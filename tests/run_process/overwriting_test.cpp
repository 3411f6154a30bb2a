// What is there already is looked at before a run begins anything.

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>

#include "run_fixture.h"

namespace run_process_tests {
namespace {

using testing::HasSubstr;
using testing::Not;

using RunBesideOldPictures = VideoRunTest;

TEST_F(RunBesideOldPictures, BeginsNoOutputWhenAFolderHoldsSome) {
    std::filesystem::create_directory(m_folder.Path() / "masks");
    std::ofstream(m_folder.Path() / "masks" / "000000.png") << "mine";
    m_options.output = At("out");
    m_options.masks = At("masks");
    EXPECT_EQ(RunFrames(2, Still), 1);
    EXPECT_THAT(m_talk.Text(),
                HasSubstr("there are PNG files in " + At("masks") + " already; --force overwrites them"));
    EXPECT_THAT(m_talk.Text(), Not(HasSubstr(" is ready on "))) << "a process was started";
    EXPECT_FALSE(std::filesystem::exists(m_folder.Path() / "out"));
    EXPECT_EQ(process_tests::FileText(At("masks/000000.png")), "mine");

    m_options.force = true;
    EXPECT_EQ(RunFrames(2, Still), 0) << m_talk.Text();
    EXPECT_THAT(process_tests::FileText(At("masks/000000.png")), testing::StartsWith("\x89PNG"));
    EXPECT_TRUE(std::filesystem::exists(m_folder.Path() / "out" / "000001.png"));
}

}  // namespace
}  // namespace run_process_tests
