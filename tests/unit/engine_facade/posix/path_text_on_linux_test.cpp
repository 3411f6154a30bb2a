#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "engine/path_text.h"

namespace hvq::inference {
namespace {

TEST(PathTextOnLinux, FindsItsWayBackFromBytesThatAreNoText) {
    const std::filesystem::path path("a\xFF");
    platform::TextConversion& conversion = platform::SystemTextConversion();

    const std::wstring wide = WidePathText(path, conversion);

    EXPECT_EQ(wide.size(), 2u);
    char bytes[8] = {};
    EXPECT_EQ(conversion.WideToBytes(platform::CodePage::ThreadAnsi, wide.c_str(), bytes, sizeof(bytes)), 3);
    EXPECT_STREQ(bytes, "a\xFF");
}

}  // namespace
}  // namespace hvq::inference
