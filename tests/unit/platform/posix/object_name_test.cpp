#include "platform/posix/object_name.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <string>

namespace {

using platform::posix::ObjectKind;

std::string FileName(ObjectKind kind, const std::string& name) {
    int error = -1;
    std::string result = platform::posix::ObjectFileName(kind, name, error);
    EXPECT_EQ(error, 0);
    return result;
}

int Refusal(const std::string& name) {
    int error = 0;
    EXPECT_EQ(platform::posix::ObjectFileName(ObjectKind::Mapping, name, error), "");
    return error;
}

TEST(ObjectFileName, KeepsTheKindsApart) {
    EXPECT_EQ(FileName(ObjectKind::Event, "idC_evt_avl"), "velmoml-e.idC_evt_avl");
    EXPECT_EQ(FileName(ObjectKind::Mapping, "idC_shm"), "velmoml-m.idC_shm");
}

TEST(ObjectFileName, WritesOddBytesAsHexadecimalDigits) {
    EXPECT_EQ(FileName(ObjectKind::Event, "AZaz09_.-"), "velmoml-e.AZaz09_.-");
    EXPECT_EQ(FileName(ObjectKind::Event, "a/b c%\n\xC3\xA9\x7F="), "velmoml-e.a%2Fb%20c%25%0A%C3%A9%7F%3D");
    EXPECT_EQ(FileName(ObjectKind::Event, ".."), "velmoml-e...");
}

TEST(ObjectFileName, DropsTheNamespacePrefixes) {
    EXPECT_EQ(FileName(ObjectKind::Event, "Global\\x"), "velmoml-e.x");
    EXPECT_EQ(FileName(ObjectKind::Event, "Local\\x"), "velmoml-e.x");
}

TEST(ObjectFileName, TakesTheLongestNameThatFitsAsItIs) {
    EXPECT_EQ(FileName(ObjectKind::Event, std::string(245, 'a')), "velmoml-e." + std::string(245, 'a'));
}

TEST(ObjectFileName, EndsWhatDoesNotFitInAHashOfTheWholeName) {
    EXPECT_EQ(FileName(ObjectKind::Event, std::string(246, 'a')),
              "velmoml-e." + std::string(212, 'a') + "=F8FC1ECB5B8A26D630FE00F0E8FAA09B");

    const std::string longest = FileName(ObjectKind::Mapping, std::string(259, '/'));
    EXPECT_EQ(longest.size(), 255U);
    EXPECT_THAT(longest, testing::EndsWith("=2FDB7259AA0EBBFEAD2548E451313004"));
}

TEST(ObjectFileName, SaysWhyANameIsRefused) {
    EXPECT_EQ(Refusal(""), EINVAL);
    EXPECT_EQ(Refusal("Local\\"), EINVAL);
    EXPECT_EQ(Refusal(std::string("a\0b", 3)), EINVAL);
    EXPECT_EQ(Refusal(std::string(260, 'a')), ENAMETOOLONG);
    EXPECT_EQ(Refusal("a\\b"), ENOENT);
    EXPECT_EQ(Refusal("\\a"), ENOENT);
    EXPECT_EQ(Refusal("global\\a"), ENOENT);
    EXPECT_EQ(Refusal("Local\\Local\\a"), ENOENT);
}

}  // namespace
