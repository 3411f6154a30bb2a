#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "network_check_tool/sample.h"
#include "reference_models.h"

namespace {

using networks_tests::Model;

// The sample that lies with the tests: it was taken on Linux.
std::string Expected(const std::string& name) {
    std::ifstream file(network_check::OwnFolder() / "network_samples" / (name + ".pgm"), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

class NetworkSample : public testing::TestWithParam<std::string> {};

TEST_P(NetworkSample, IsTheSameOnEverySystemWithinAGreyLevel) {
    const std::string sameAs = "calyr" + GetParam().substr(GetParam().rfind('_'));
    const std::string expected = Expected(sameAs);

    const std::string sample = network_check::SampleMask(Model(GetParam()));

    ASSERT_EQ(sample.size(), expected.size());
    int varied = 0;
    for (std::size_t i = 0; i < sample.size(); ++i) {
        const int level = static_cast<std::uint8_t>(sample[i]);
        const int expectedLevel = static_cast<std::uint8_t>(expected[i]);
        ASSERT_LE(std::abs(level - expectedLevel), 1) << "byte " << i;
        varied += level > 128 ? 1 : 0;
    }
    EXPECT_GT(varied, 1000);  // a mask with nothing in it would say nothing
}

// They share their weights, and what a family has besides must not touch the mask.
TEST_P(NetworkSample, IsThatOfTheOtherFamilies) {
    const std::string sameAs = "calyr" + GetParam().substr(GetParam().rfind('_'));
    EXPECT_TRUE(network_check::SampleMask(Model(GetParam())) == network_check::SampleMask(Model(sameAs)));
}

INSTANTIATE_TEST_SUITE_P(Reference, NetworkSample, testing::ValuesIn(networks_tests::kModels),
                         [](const auto& each) { return each.param; });

}  // namespace
