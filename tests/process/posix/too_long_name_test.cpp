// A library's path with a name that is longer than any can be: the file system does not say that it is missing, it
// can't tell. Windows says that it is missing.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include "inferring_process.h"
#include "process_fixture.h"
#include "scripted_double/scripted_library.h"

namespace process_tests {
namespace {

using ::testing::Contains;
using ::testing::HasSubstr;

class TooLongName : public InferringProcess {
 protected:
    TooLongName() { m_library.Put(kModelFiles[0][0], "a network"); }
    ~TooLongName() override {
        m_link.Kill();
        m_link.Close();  // before the library's folder goes
    }

    std::int32_t InitWithEngineIn(const std::string& folder, std::int32_t device) {
        return Init(0, 0, device, folder, m_library.Folder().string());
    }
    std::int32_t InitGood() { return InitWithEngineIn(m_library.Folder().string(), kCpu); }
    std::int32_t InitBad() { return InitWithEngineIn("/" + std::string(300, 'a'), kGpu); }

    scripted_double::ScratchLibrary m_library;
    const std::vector<std::uint8_t> m_planes = std::vector<std::uint8_t>(3 * kSizes[0].Pixels(), 7);
};

TEST_F(TooLongName, InTheFirstInitIsAnsweredWithThreeAndTheProcessStays) {
    ASSERT_NO_FATAL_FAILURE(StartProcess());

    EXPECT_EQ(InitBad(), 3);

    EXPECT_EQ(InitGood(), 0);
    ASSERT_NO_FATAL_FAILURE(Submit(m_planes, kSizes[0], Skipping::Off));
    ASSERT_TRUE(m_recorder.AwaitResults(1));
    EXPECT_EQ(m_recorder.ResultAt(0).status, 0);
    ExpectAGoodEnd();
    EXPECT_THAT(LogTexts(), Contains(HasSubstr("RvoCalyrMlHost::Init() fail, error=")));
}

// Nobody catches what a job could not, by design: the frame that finds it ends the process.
TEST_F(TooLongName, InAJobEndsTheProcessWithSeventyAndALine) {
    ASSERT_NO_FATAL_FAILURE(StartProcess());
    ASSERT_EQ(InitGood(), 0);

    EXPECT_EQ(InitBad(), 0) << "the job is only started";

    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(kPatienceMs);
    while (!m_link.WaitForExit(1) && std::chrono::steady_clock::now() < end)
        (void)TrySubmit(m_planes, kSizes[0], Skipping::Off);
    ExpectExit(70);
    EXPECT_THAT(m_error.Text(), HasSubstr("velmoml ends: uncaught exception: "));
}

}  // namespace
}  // namespace process_tests
