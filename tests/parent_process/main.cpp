#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "platform/command_tail.h"
#include "roles.h"

// The tests start this program again as another process; its command line is then "role" and what follows.
int main(int argumentCount, char** arguments) {
    std::istringstream tail(platform::CommandTail(argumentCount, arguments));
    std::vector<std::string> words;
    for (std::string word; tail >> word;)
        words.push_back(word);
    if (!words.empty() && words[0] == "role") return parent_process_tests::RunRole({words.begin() + 1, words.end()});

    ::testing::InitGoogleMock(&argumentCount, arguments);
    return RUN_ALL_TESTS();
}
