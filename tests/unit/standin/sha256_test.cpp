#include "standin/sha256.h"

#include <gtest/gtest.h>

#include <string>

namespace standin {
namespace {

std::string Of(const std::string& text) {
    return Hex(Sha256().Add(text).Finish());
}

// The published examples of the algorithm.
TEST(Sha256, GivesThePublishedDigests) {
    EXPECT_EQ(Of(""), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
    EXPECT_EQ(Of("abc"), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
    EXPECT_EQ(Of("abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq"),
              "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1");
    EXPECT_EQ(Of(std::string(1000000, 'a')), "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0");
}

TEST(Sha256, DoesNotDependOnTheSizeOfThePieces) {
    const std::string text(300, 'x');
    for (std::size_t length = 0; length <= text.size(); ++length) {
        const std::string whole = text.substr(0, length);
        for (const std::size_t piece : {std::size_t{1}, std::size_t{55}, std::size_t{64}, std::size_t{65}}) {
            Sha256 digest;
            for (std::size_t at = 0; at < length; at += piece)
                digest.Add(whole.substr(at, piece));
            ASSERT_EQ(Hex(digest.Finish()), Of(whole)) << length << " by " << piece;
        }
    }
}

}  // namespace
}  // namespace standin
