#include "platform/posix/image_problem.h"

#include <elf.h>
#include <gmock/gmock.h>

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <filesystem>
#include <string>

#include "contract/temporary_folder.h"
#include "contract/test_libraries.h"

namespace {

using contract::TemporaryFolder;
using platform::posix::ImageProblem;

// A file of `bytes` bytes whose headers speak of one segment.
std::string FileWithSegment(std::size_t bytes, Elf64_Off offset, Elf64_Xword size, Elf64_Word type = PT_LOAD) {
    Elf64_Ehdr header{};
    std::memcpy(header.e_ident, ELFMAG, SELFMAG);
    header.e_ident[EI_CLASS] = ELFCLASS64;
    header.e_phoff = sizeof header;
    header.e_phentsize = sizeof(Elf64_Phdr);
    header.e_phnum = 1;
    Elf64_Phdr segment{};
    segment.p_type = type;
    segment.p_offset = offset;
    segment.p_filesz = size;
    std::string file(bytes, '\0');
    std::memcpy(file.data(), &header, sizeof header);
    std::memcpy(file.data() + sizeof header, &segment, sizeof segment);
    return file;
}

int ProblemOf(const std::string& content) {
    const TemporaryFolder folder;
    return ImageProblem(folder.Write("library", content).string());
}

TEST(ImageProblem, IsNoneInAWholeLibrary) {
    EXPECT_EQ(ImageProblem(contract::CountingLibrary().string()), 0);
}

TEST(ImageProblem, IsASegmentThatEndsBehindTheFile) {
    EXPECT_EQ(ProblemOf(FileWithSegment(1000, 200, 800)), 0);
    EXPECT_EQ(ProblemOf(FileWithSegment(1000, 200, 801)), ENOEXEC);
    EXPECT_EQ(ProblemOf(FileWithSegment(1000, 201, 800)), ENOEXEC);
    EXPECT_EQ(ProblemOf(FileWithSegment(1000, 1000, 0)), 0);
    EXPECT_EQ(ProblemOf(FileWithSegment(1000, 1001, 0)), ENOEXEC);
}

TEST(ImageProblem, IsASegmentThatWouldWrapAround) {
    EXPECT_EQ(ProblemOf(FileWithSegment(1000, 200, ~Elf64_Xword{0})), ENOEXEC);
    EXPECT_EQ(ProblemOf(FileWithSegment(1000, ~Elf64_Off{0}, 200)), ENOEXEC);
}

TEST(ImageProblem, IsNoneInASegmentThatIsNotLoaded) {
    EXPECT_EQ(ProblemOf(FileWithSegment(1000, 200, 801, PT_NOTE)), 0);
}

TEST(ImageProblem, IsLeftToTheLoaderInWhatIsNoElfFileOfThisWidth) {
    std::string narrow = FileWithSegment(1000, 200, 801);
    narrow[EI_CLASS] = ELFCLASS32;
    EXPECT_EQ(ProblemOf(narrow), 0);
    EXPECT_EQ(ProblemOf(""), 0);
    EXPECT_EQ(ProblemOf(std::string(1000, 'x')), 0);
    EXPECT_EQ(ProblemOf(FileWithSegment(1000, 200, 801).substr(0, 63)), 0);
}

TEST(ImageProblem, IsLeftToTheLoaderInAFileWithoutItsTable) {
    EXPECT_EQ(ProblemOf(FileWithSegment(1000, 200, 801).substr(0, 64 + 55)), 0);
    EXPECT_EQ(ProblemOf(FileWithSegment(1000, 200, 801).substr(0, 64 + 56)), ENOEXEC);
    std::string strange = FileWithSegment(1000, 200, 801);
    strange[54] = 32;  // bytes of one entry
    EXPECT_EQ(ProblemOf(strange), 0);
}

TEST(ImageProblem, IsThatOfOpeningTheFile) {
    const TemporaryFolder folder;
    const std::filesystem::path file = folder.Write("file", "");
    EXPECT_EQ(ImageProblem((folder.Path() / "missing").string()), ENOENT);
    EXPECT_EQ(ImageProblem((file / "below").string()), ENOTDIR);
}

TEST(ImageProblem, IsLeftToTheLoaderInWhatCannotBeRead) {
    const TemporaryFolder folder;
    EXPECT_EQ(ImageProblem(folder.Path().string()), 0);
}

}  // namespace
