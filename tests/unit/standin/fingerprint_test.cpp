#include "standin/fingerprint.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>

namespace standin {
namespace {

// Cache files outlive a build: digests have to stay what they are.
TEST(Fingerprint, IsTheSameEverywhereAndForEver) {
    EXPECT_EQ(Hex(Fingerprint("")), "0f408bb20c23a8d95063eaa23e21e73d");
    EXPECT_EQ(Hex(Fingerprint("any network")), "b3c7dbadc076a38e88d6f8ea7a21a306");
}

TEST(Fingerprint, ChangesWithEveryBit) {
    std::string text(100, '\0');
    std::set<std::string> seen = {Hex(Fingerprint(text))};
    for (std::size_t i = 0; i < text.size(); ++i) {
        for (int bit = 0; bit < 8; ++bit) {
            text[i] = static_cast<char>(1 << bit);
            EXPECT_TRUE(seen.insert(Hex(Fingerprint(text))).second) << "byte " << i << ", bit " << bit;
            text[i] = 0;
        }
    }
}

TEST(Fingerprint, ChangesWithTheLength) {
    std::set<std::string> seen;
    for (std::size_t length = 0; length < 100; ++length) {
        EXPECT_TRUE(seen.insert(Hex(Fingerprint(std::string(length, '\0')))).second) << length;
    }
}

TEST(Fingerprint, ChangesWithTheOrder) {
    std::string text = "0123456789abcdef";
    const std::string before = Hex(Fingerprint(text));
    std::swap(text[0], text[8]);
    EXPECT_NE(Hex(Fingerprint(text)), before);
    std::swap_ranges(text.begin(), text.begin() + 8, text.begin() + 8);
    EXPECT_NE(Hex(Fingerprint(text)), before);
}

}  // namespace
}  // namespace standin
