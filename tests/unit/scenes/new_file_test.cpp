#include "draw_scenes_tool/new_file.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <iterator>
#include <random>

namespace draw_scenes {
namespace {

class NewFiles : public testing::Test {
 protected:
    NewFiles()
        : m_path(std::filesystem::temp_directory_path() / ("new_file_" + std::to_string(std::random_device()()))) {}
    ~NewFiles() override {
        std::error_code ignored;
        std::filesystem::remove(m_path, ignored);
    }
    std::string Path() const { return m_path.string(); }
    std::string Content() const {
        std::ifstream stream(m_path, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    }
    void Write(const std::string& bytes, IfThere ifThere) {
        auto file = NewFile::Open(Path(), ifThere);
        ASSERT_TRUE(file);
        EXPECT_TRUE(file->Take(bytes));
    }

 private:
    std::filesystem::path m_path;
};

TEST_F(NewFiles, HoldEveryByteAsItIs) {
    Write("a\nb\r\n\x1A", IfThere::Keep);

    EXPECT_EQ(Content(), "a\nb\r\n\x1A");
}

TEST_F(NewFiles, AreNotOpenedOverAFileThatIsThere) {
    Write("first", IfThere::Keep);

    EXPECT_FALSE(NewFile::Open(Path(), IfThere::Keep));

    EXPECT_EQ(Content(), "first");
}

TEST_F(NewFiles, ReplaceOneWhenAskedTo) {
    Write("first", IfThere::Keep);
    Write("2", IfThere::Overwrite);

    EXPECT_EQ(Content(), "2");
}

TEST_F(NewFiles, AreNotMadeInAFolderThatIsNotThere) {
    EXPECT_FALSE(NewFile::Open(Path() + "/no/file", IfThere::Overwrite));
}

}  // namespace
}  // namespace draw_scenes
