#include "draw_scenes_tool/draw_command.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <new>
#include <random>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace draw_scenes {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;

class Output final : public ByteSink {
 public:
    bool Take(const std::string& piece) override {
        bytes += piece;
        return onTake();
    }
    std::string bytes;
    std::function<bool()> onTake = [] { return true; };
};

class DrawCommand : public testing::Test {
 protected:
    int Run(std::vector<const char*> words) {
        words.insert(words.begin(), "draw_scenes");
        return RunDrawScenes(static_cast<int>(words.size()), words.data(), m_output, m_texts, m_errors);
    }

    Output m_output;
    std::ostringstream m_texts;
    std::ostringstream m_errors;
};

TEST_F(DrawCommand, DrawsAStreamASheetAndAClipIntoItsOutput) {
    EXPECT_EQ(Run({"train", "--size", "16x9", "--sequences", "2"}), 0);
    EXPECT_EQ(m_output.bytes.size(), 2U * (16U * 9U * 4U + 64U));
    m_output.bytes.clear();
    EXPECT_EQ(Run({"sheet", "--size", "16x9", "--rows", "1", "--columns", "1", "--no-masks"}), 0);
    EXPECT_EQ(m_output.bytes.substr(0, 8), "P6\n16 9\n");
    m_output.bytes.clear();
    EXPECT_EQ(Run({"clip", "--size", "16x10", "--seconds", "0.1"}), 0);
    EXPECT_EQ(m_output.bytes.substr(0, 9), "YUV4MPEG2");
    EXPECT_THAT(m_errors.str(), IsEmpty());
}

TEST_F(DrawCommand, HeldOutScenesAreOthers) {
    Run({"train", "--size", "16x9"});
    const std::string training = m_output.bytes;
    m_output.bytes.clear();

    EXPECT_EQ(Run({"train", "--size", "16x9", "--held-out"}), 0);

    EXPECT_EQ(m_output.bytes.size(), training.size());
    EXPECT_NE(m_output.bytes, training);
}

TEST_F(DrawCommand, RefusesWhatCanNotBeDrawn) {
    EXPECT_EQ(Run({"train", "--seed", "4294967295", "--sequences", "2"}), kNotBegun);
    EXPECT_THAT(m_errors.str(), HasSubstr("held out"));
    EXPECT_EQ(Run({"train", "--frames", "100000", "--step-ms", "60000"}), kNotBegun);
    EXPECT_THAT(m_errors.str(), HasSubstr("100000 seconds"));
    EXPECT_EQ(Run({"train", "--size", "16"}), kNotBegun);
    EXPECT_THAT(m_errors.str(), HasSubstr("no size"));
    EXPECT_EQ(Run({}), kNotBegun);
    EXPECT_THAT(m_output.bytes, IsEmpty());
}

TEST_F(DrawCommand, ShowsItsHelpAndSucceeds) {
    EXPECT_EQ(Run({"--help"}), 0);
    EXPECT_THAT(m_texts.str(), HasSubstr("sheet"));
    EXPECT_THAT(m_errors.str(), IsEmpty());
}

TEST_F(DrawCommand, TellsWhenItsOutputTakesNoMore) {
    m_output.onTake = [] { return false; };
    for (const char* const what : {"train", "sheet", "clip"}) {
        m_errors.str("");
        EXPECT_EQ(Run({what, "--size", "16x9"}), kDrawingFailed);
        EXPECT_EQ(m_errors.str(), "draw_scenes: the standard output takes no more\n");
    }
}

TEST_F(DrawCommand, TellsOfAnythingThatIsThrown) {
    m_output.onTake = []() -> bool { throw std::bad_alloc(); };
    EXPECT_EQ(Run({"train", "--size", "16x9"}), kDrawingFailed);
    EXPECT_EQ(m_errors.str(), "draw_scenes: there is not enough memory\n");

    m_errors.str("");
    m_output.onTake = []() -> bool { throw std::runtime_error("the disk is wet"); };
    EXPECT_EQ(Run({"train", "--size", "16x9"}), kDrawingFailed);
    EXPECT_EQ(m_errors.str(), "draw_scenes: the disk is wet\n");

    m_errors.str("");
    m_output.onTake = []() -> bool { throw 5; };
    EXPECT_EQ(Run({"train", "--size", "16x9"}), kDrawingFailed);
    EXPECT_EQ(m_errors.str(), "draw_scenes: something unknown was thrown\n");
}

TEST_F(DrawCommand, WritesAClipToANewFileOnly) {
    const std::filesystem::path path =
        std::filesystem::temp_directory_path() / ("draw_command_" + std::to_string(std::random_device()()));
    const std::string file = path.string();
    const std::vector<const char*> words{"clip", "--size", "16x10", "--seconds", "0.1", "-o", file.c_str()};

    EXPECT_EQ(Run(words), 0);
    EXPECT_EQ(Run(words), kNotBegun);

    EXPECT_THAT(m_errors.str(), HasSubstr("is there already"));
    EXPECT_THAT(m_output.bytes, IsEmpty());
    std::filesystem::remove(path);
}

}  // namespace
}  // namespace draw_scenes
