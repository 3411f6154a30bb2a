#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "child_roles.h"

// The tests start this program again as the other process. The command line's tail is then "role" and its words, which
// arrive as one argument on Linux and as several on Windows.
int main(int argumentCount, char** arguments) {
    std::string tail;
    for (int i = 1; i < argumentCount; ++i)
        tail += std::string(i > 1 ? " " : "") + arguments[i];
    std::istringstream stream(tail);
    std::vector<std::string> words;
    for (std::string word; stream >> word;)
        words.push_back(word);
    if (!words.empty() && words[0] == "role") return process_tests::RunRole({words.begin() + 1, words.end()});

    ::testing::InitGoogleMock(&argumentCount, arguments);
    return RUN_ALL_TESTS();
}
