#include "engine/absolute_path.h"

#include <gmock/gmock.h>

#include <string>

#include "faked_system.h"

namespace {

using hvq::util::GetAbsoluteFilePath;
using hvq::util::GetAbsoluteFilePathW;
using testing::ElementsAre;
using testing::IsEmpty;

// The name of a file whose absolute path in the current folder is `length` characters long.
std::string NameForLength(const FakedSystem& system, std::size_t length) {
    return std::string(length - system.Absolute("").size(), 'n');
}

std::wstring Wide(const std::string& text) {
    return {text.begin(), text.end()};
}

TEST(AbsolutePath, IsAskedForOnceWhereItFits) {
    FakedSystem system;

    EXPECT_EQ(GetAbsoluteFilePath("hvq.dll", system.Seams()), system.Absolute("hvq.dll"));
    EXPECT_EQ(GetAbsoluteFilePathW(L"hvq.dll", system.Seams()), Wide(system.Absolute("hvq.dll")));

    EXPECT_THAT(system.modules.Calls(), ElementsAre("FullPathA 260", "FullPathW 260"));
    EXPECT_THAT(system.Errors(), IsEmpty());
}

TEST(AbsolutePath, OfTheLongestThatFitsIsAskedForOnce) {
    FakedSystem system;
    const std::string name = NameForLength(system, 259);

    EXPECT_EQ(GetAbsoluteFilePath(name, system.Seams()), system.Absolute(name));

    EXPECT_THAT(system.modules.Calls(), ElementsAre("FullPathA 260"));
}

TEST(AbsolutePath, ThatIsLongerIsAskedForAgainWithExactlyTheRoomItNeeds) {
    FakedSystem system;
    const std::string name = NameForLength(system, 260);

    EXPECT_EQ(GetAbsoluteFilePath(name, system.Seams()), system.Absolute(name));
    EXPECT_EQ(GetAbsoluteFilePathW(Wide(name), system.Seams()), Wide(system.Absolute(name)));

    EXPECT_THAT(system.modules.Calls(),
                ElementsAre("FullPathA 260", "FullPathA 261", "FullPathW 260", "FullPathW 261"));
}

TEST(AbsolutePath, MayBeVeryLong) {
    FakedSystem system;
    const std::string name = NameForLength(system, 20000);

    EXPECT_EQ(GetAbsoluteFilePath(name, system.Seams()), system.Absolute(name));
    EXPECT_EQ(GetAbsoluteFilePathW(Wide(name), system.Seams()), Wide(system.Absolute(name)));
}

TEST(AbsolutePath, HasAsManyCharactersAsTheSystemAnswers) {
    FakedSystem system;
    system.modules.AnswerFullPath({260, 3});

    EXPECT_EQ(GetAbsoluteFilePath("hvq.dll", system.Seams()), std::string(260, '\0'));  // nobody wrote to the buffer
    EXPECT_EQ(GetAbsoluteFilePathW(L"hvq.dll", system.Seams()), std::wstring(3, L'\0'));

    EXPECT_THAT(system.modules.Calls(), ElementsAre("FullPathA 260", "FullPathW 260"));
}

TEST(AbsolutePath, IsEmptyWithALineWhenTheSystemFails) {
    FakedSystem system;
    system.modules.FailFullPath(5);
    EXPECT_EQ(GetAbsoluteFilePath("hvq.dll", system.Seams()), "");
    system.modules.FailFullPath(4294967295);
    EXPECT_EQ(GetAbsoluteFilePathW(L"hvq.dll", system.Seams()), L"");

    EXPECT_THAT(system.Errors(), ElementsAre("GetFullPathNameA failed with error code: 5\n",
                                             "GetFullPathNameW failed with error code: 4294967295\n"));
    EXPECT_THAT(system.modules.Calls(), ElementsAre("FullPathA 260", "LastError", "FullPathW 260", "LastError"));
}

TEST(AbsolutePath, IsEmptyWithALineWhenTheSecondCallFails) {
    FakedSystem system;
    system.modules.SetLastError(8);
    system.modules.AnswerFullPath({300, 0});

    EXPECT_EQ(GetAbsoluteFilePath("hvq.dll", system.Seams()), "");

    EXPECT_THAT(system.modules.Calls(), ElementsAre("FullPathA 260", "FullPathA 300", "LastError"));
    EXPECT_THAT(system.Errors(), ElementsAre("GetFullPathNameA failed with error code: 8\n"));
}

// Another thread has changed the current folder between the two calls.
TEST(AbsolutePath, IsEmptyWhenItHasGrownBetweenTheCalls) {
    FakedSystem system;
    system.modules.SetLastError(122);
    system.modules.AnswerFullPath({300, 301});

    EXPECT_EQ(GetAbsoluteFilePathW(L"hvq.dll", system.Seams()), L"");

    EXPECT_THAT(system.Errors(), ElementsAre("GetFullPathNameW failed with error code: 122\n"));
}

}  // namespace
