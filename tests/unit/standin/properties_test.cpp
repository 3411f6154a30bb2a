#include <gmock/gmock.h>

#include <string>
#include <utility>
#include <vector>

#include "standin_support/test_engine.h"
#include "thread_count.h"

namespace standin_support {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Pair;

class Properties : public testing::Test {
 protected:
    const HvqLibrary& hvq = Library();
    TestEngine engine;
    HvqEngine e = engine.Handle();

    std::string ErrorOf(const std::string& name, const std::string& value) {
        engine.SetProperty("n", name, value);
        return engine.TakeError();
    }
};

// In the three forms that programs use.
TEST_F(Properties, AreThreeThatCanBeSet) {
    std::int32_t count = -1;
    hvq.hvqGetEngineMutableProperties(e, &count, -1, nullptr, nullptr, nullptr, nullptr, kEngine);
    std::vector<std::pair<std::string, std::string>> properties;
    for (std::int32_t i = 0; i < count; ++i) {
        std::int32_t name = -1;
        std::int32_t type = -1;
        hvq.hvqGetEngineMutableProperties(e, nullptr, i, &name, nullptr, &type, nullptr, kEngine);
        ASSERT_GT(name, 0);
        ASSERT_GT(type, 0);
        std::string nameText(static_cast<std::size_t>(name), '\0');
        std::string typeText(static_cast<std::size_t>(type), '\0');
        hvq.hvqGetEngineMutableProperties(e, nullptr, i, nullptr, nameText.data(), nullptr, typeText.data(), kEngine);
        properties.emplace_back(nameText, typeText);
    }

    EXPECT_EQ(engine.TakeError(), "");
    EXPECT_THAT(properties,
                ElementsAre(Pair("CACHE_DIR", "std::filesystem::path"), Pair("INFERENCE_THREADS_NUMBER", "std::string"),
                            Pair("RUNTIME_STREAMS_NUMBER", "std::string")));
}

TEST_F(Properties, AreListedForAKnownEngineAndIndexOnly) {
    std::int32_t count = -1;
    std::int32_t length = -1;
    hvq.hvqGetEngineMutableProperties(e, &count, -1, nullptr, nullptr, nullptr, nullptr, "TensorRT");
    EXPECT_EQ(engine.TakeError(), "hvqGetEngineMutableProperties: there is no engine TensorRT, only OpenVINO");
    EXPECT_EQ(count, -1);
    for (const std::int32_t index : {-1, 3}) {
        hvq.hvqGetEngineMutableProperties(e, nullptr, index, &length, nullptr, nullptr, nullptr, kEngine);
        EXPECT_THAT(engine.TakeError(), HasSubstr("is outside the list of properties, which has 3"));
    }
    EXPECT_EQ(length, -1);
}

TEST_F(Properties, TakeWholeNumbersInTheirRange) {
    for (const char* const name : {"INFERENCE_THREADS_NUMBER", "RUNTIME_STREAMS_NUMBER"}) {
        EXPECT_EQ(ErrorOf(name, "1"), "");
        EXPECT_EQ(ErrorOf(name, "256"), "");
        for (const char* const bad : {"", "0", "257", "-1", "+1", " 1", "1 ", "1.0", "two", "99999999999999999999"}) {
            EXPECT_EQ(ErrorOf(name, bad), "hvqSetEnginePropertyForNetwork: property " + std::string(name) +
                                              " can't be \"" + bad + "\": a whole number from 1 to 256 is needed");
        }
    }
}

TEST_F(Properties, RefuseUnknownNamesTypesAndEngines) {
    EXPECT_EQ(ErrorOf("COLOUR", "1"), "hvqSetEnginePropertyForNetwork: there is no property COLOUR");
    EXPECT_EQ(ErrorOf("CACHE_DIR", "x"),
              "hvqSetEnginePropertyForNetwork: property CACHE_DIR is a std::filesystem::path, not a std::string");
    hvq.hvqSetEnginePropertyForNetwork(e, kEngine, "n", "INFERENCE_THREADS_NUMBER", "std::filesystem::path", L"1");
    EXPECT_THAT(engine.TakeError(), HasSubstr("is a std::string, not a std::filesystem::path"));
    hvq.hvqSetEnginePropertyForNetwork(e, "TensorRT", "n", "INFERENCE_THREADS_NUMBER", "std::string", "1");
    EXPECT_THAT(engine.TakeError(), HasSubstr("there is no engine TensorRT"));
    hvq.hvqSetEnginePropertyForNetwork(e, kEngine, "", "INFERENCE_THREADS_NUMBER", "std::string", "1");
    EXPECT_THAT(engine.TakeError(), HasSubstr("the network id is empty"));
}

TEST_F(Properties, ThatFailedAreStillPendingBehindTheNetworksCreation) {
    engine.SetProperty("kinds", "INFERENCE_THREADS_NUMBER", "many");

    engine.CreateNetwork("kinds");

    EXPECT_THAT(engine.TakeError(), HasSubstr("INFERENCE_THREADS_NUMBER can't be \"many\""));
}

TEST_F(Properties, AreSetBeforeTheNetworkExistsAndGoWithIt) {
    engine.CreateNetwork("kinds");
    engine.SetProperty("kinds", "INFERENCE_THREADS_NUMBER", "2");
    EXPECT_EQ(engine.TakeError(),
              "hvqSetEnginePropertyForNetwork: network kinds exists already: property "
              "INFERENCE_THREADS_NUMBER has to be set before");
    hvq.hvqRemoveNetwork(e, "kinds");
    engine.SetProperty("kinds", "INFERENCE_THREADS_NUMBER", "2");
    engine.CreateNetwork("kinds");
    EXPECT_EQ(engine.TakeError(), "");
}

TEST_F(Properties, SetTheNumberOfThreads) {
    const std::ptrdiff_t before = ThreadCount();
    engine.CreateNetwork("family0_256x144");
    EXPECT_EQ(ThreadCount(), before);  // the caller's alone
    engine.SetProperty("family1_256x144", "INFERENCE_THREADS_NUMBER", "3");

    engine.CreateNetwork("family1_256x144");

    EXPECT_EQ(engine.TakeError(), "");
    EXPECT_EQ(ThreadCount(), before + 2);
    hvq.hvqRemoveNetwork(e, "family1_256x144");
    EXPECT_EQ(ThreadCount(), before);
}

TEST_F(Properties, SetTheNumberOfStreams) {
    const std::ptrdiff_t before = ThreadCount();
    engine.SetProperty("kinds", "RUNTIME_STREAMS_NUMBER", "1");
    engine.CreateNetwork("kinds");
    EXPECT_EQ(ThreadCount(), before);
    engine.SetProperty("family1_256x144", "RUNTIME_STREAMS_NUMBER", "4");

    engine.CreateNetwork("family1_256x144");

    EXPECT_EQ(engine.TakeError(), "");
    EXPECT_GT(ThreadCount(), before);
}

TEST_F(Properties, DoNotChangeTheNumbers) {
    const std::vector<float> planes = Planes(256, 144);
    engine.CreateNetwork("reference_256x144");
    engine.SetLayer("input", planes.data());
    hvq.hvqInfer(e);
    const float* const mask = engine.Floats("segmentation");
    const std::vector<float> expected(mask, mask + 256 * 144);
    TestEngine other;
    other.SetProperty("reference_256x144", "INFERENCE_THREADS_NUMBER", "2");
    other.SetProperty("reference_256x144", "RUNTIME_STREAMS_NUMBER", "2");

    other.CreateNetwork("reference_256x144");
    other.SetLayer("input", planes.data());
    hvq.hvqInfer(other.Handle());

    EXPECT_EQ(other.TakeError(), "");
    const float* const otherMask = other.Floats("segmentation");
    EXPECT_EQ(std::vector<float>(otherMask, otherMask + 256 * 144), expected);
}

}  // namespace
}  // namespace standin_support
