#include <algorithm>
#include <any>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "facade_fixture.h"

namespace facade_tests {
namespace {

using hvq::inference::PropertyMap;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr char kCreateNet[] = "hvqCreateNetByBuiltin 2 \"OpenVINO\" \"n\" \"CPU\" \"m\"";

// An engine that has the model "m".
class Network : public testing::Test {
 protected:
    void SetUp() override {
        facade.library.Add("models OpenVINO m");
        facade.Create();
    }

    void Create(const PropertyMap& properties) { facade.engine.CreateNetwork("OpenVINO", "n", "CPU", "m", properties); }

    std::vector<std::string> PropertyCalls() const {
        std::vector<std::string> calls = facade.library.CallTexts();
        std::erase_if(calls,
                      [](const std::string& call) { return !call.starts_with("hvqSetEnginePropertyForNetwork "); });
        return calls;
    }

    Facade facade;
};

TEST_F(Network, IsMadeWithoutAskingForPropertiesWhenThereAreNone) {
    Create({});

    EXPECT_EQ(facade.library.CallTexts().back(), kCreateNet);
    EXPECT_EQ(facade.library.Count("hvqGetEngineMutableProperties"), 0);
    EXPECT_EQ(facade.library.Calls().back().text, "hvqHasException 2");
}

TEST_F(Network, GetsPathsAsWideAndStringsAsNarrowText) {
    const std::filesystem::path folder(u8"c\u6f22che");

    Create({{"CACHE_DIR", folder}, {"RUNTIME_STREAMS_NUMBER", std::string("1")}});

    EXPECT_THAT(PropertyCalls(),
                testing::UnorderedElementsAre(
                    "hvqSetEnginePropertyForNetwork 2 \"OpenVINO\" \"n\" \"CACHE_DIR\" \"std::filesystem::path\" "
                    "\"c\xE6\xBC\xA2"
                    "che\"",
                    "hvqSetEnginePropertyForNetwork 2 \"OpenVINO\" \"n\" \"RUNTIME_STREAMS_NUMBER\" \"std::string\" "
                    "\"1\""));
    EXPECT_EQ(facade.library.CallTexts().back(), kCreateNet) << "the properties go before the network";
}

TEST_F(Network, AsksForNoExceptionAfterAProperty) {
    Create({{"CACHE_DIR", std::filesystem::path("c")}});

    const std::vector<scripted_double::Call> calls = facade.library.Calls();
    ASSERT_GE(calls.size(), 3u);
    EXPECT_TRUE(calls[calls.size() - 3].text.starts_with("hvqSetEnginePropertyForNetwork"));
    EXPECT_EQ(calls[calls.size() - 2].text, kCreateNet);
}

TEST_F(Network, ReportsAFailingPropertyOnlyAfterItWasMade) {
    facade.library.Add("fail hvqSetEnginePropertyForNetwork 1 \"no such folder\"");

    EXPECT_EQ(TextThrownBy([&] { Create({{"CACHE_DIR", std::filesystem::path("c")}}); }), "no such folder");
    EXPECT_THAT(facade.library.CallTexts(), Contains(kCreateNet));
}

TEST_F(Network, PassesOverPropertiesOfOtherTypes) {
    facade.library.Add("properties OpenVINO LEVEL int");

    Create({{"LEVEL", 3}});

    EXPECT_THAT(PropertyCalls(), IsEmpty());
    EXPECT_EQ(facade.library.CallTexts().back(), kCreateNet);
}

TEST_F(Network, RefusesAPropertyThatTheEngineDoesNotHave) {
    EXPECT_EQ(TextThrownBy([&] {
                  Create({{"SPEED", std::string("1")}});
              }),
              "OpenVINO no SPEED property! Please check.");
    EXPECT_EQ(facade.library.Count("hvqCreateNetByBuiltin"), 0);
}

TEST_F(Network, RefusesValuesOfAnotherTypeThanTheProperty) {
    const std::string path = "CACHE_DIR need std::filesystem::path type, but the property_value is not! Please check.";
    const std::string text =
        "RUNTIME_STREAMS_NUMBER need std::string type, but the property_value is not! Please check.";

    EXPECT_EQ(TextThrownBy([&] { Create({{"CACHE_DIR", std::string("c")}}); }), path);
    EXPECT_EQ(TextThrownBy([&] { Create({{"CACHE_DIR", std::any()}}); }), path) << "a value that holds nothing";
    EXPECT_EQ(TextThrownBy([&] { Create({{"RUNTIME_STREAMS_NUMBER", std::filesystem::path("1")}}); }), text);
    EXPECT_EQ(TextThrownBy([&] { Create({{"RUNTIME_STREAMS_NUMBER", std::any()}}); }), text);
    EXPECT_EQ(TextThrownBy([&] { Create({{"RUNTIME_STREAMS_NUMBER", 1}}); }), text);
    EXPECT_THAT(PropertyCalls(), IsEmpty());
    EXPECT_EQ(facade.library.Count("hvqCreateNetByBuiltin"), 0);
}

// Nothing is taken back: the library has no way to. In which order the properties go is not told, so each name is tried
// as the refused one; behind it nothing is set any more.
TEST_F(Network, LeavesPropertiesThatAreSetWhenALaterOneIsRefused) {
    const PropertyMap good = {{"CACHE_DIR", std::filesystem::path("c")},
                              {"INFERENCE_THREADS_NUMBER", std::string("1")},
                              {"RUNTIME_STREAMS_NUMBER", std::string("1")}};
    std::vector<std::size_t> settings;
    for (const auto& [refused, ignored] : good) {
        PropertyMap properties = good;
        properties[refused] = 1;
        facade.library.ForgetCalls();

        EXPECT_THAT(TextThrownBy([&] { Create(properties); }), testing::StartsWith(refused + " need "));

        const std::vector<std::string> calls = PropertyCalls();
        settings.push_back(calls.size());
        if (!calls.empty()) {
            EXPECT_EQ(facade.library.CallTexts().back(), calls.back()) << "nothing comes behind";
        }
    }
    EXPECT_THAT(settings, testing::UnorderedElementsAre(0, 1, 2));
    EXPECT_EQ(facade.library.Count("hvqCreateNetByBuiltin"), 0);
}

TEST_F(Network, RefusesAModelThatTheEngineDoesNotKnow) {
    EXPECT_EQ(TextThrownBy([&] { facade.engine.CreateNetwork("OpenVINO", "n", "CPU", "x", {}); }),
              "OpenVINO no [x] inner model! Please check.");
    EXPECT_EQ(facade.library.Count("hvqCreateNetByBuiltin"), 0);
}

// An empty engine name passes the search, which then goes through all engines.
TEST_F(Network, LeavesAnEmptyEngineNameToTheLibrary) {
    EXPECT_EQ(TextThrownBy([&] { facade.engine.CreateNetwork("", "n", "CPU", "m", {}); }), "There is no engine .");
    EXPECT_EQ(TextThrownBy([&] { facade.engine.CreateNetwork("", "n", "CPU", "x", {}); }),
              " no [x] inner model! Please check.");
}

TEST_F(Network, RefusesAnEmptyModelId) {
    EXPECT_EQ(TextThrownBy([&] { facade.engine.CreateNetwork("OpenVINO", "n", "CPU", "", {}); }),
              "model_id argument is a empty string. please check!");
}

TEST_F(Network, PassesOnWhatTheLibraryComplainsOf) {
    EXPECT_EQ(TextThrownBy([&] { facade.engine.CreateNetwork("OpenVINO", "n", "NPU", "m", {}); }),
              "There is no device NPU.");
}

TEST_F(Network, NeedsAnEngine) {
    hvq::inference::PluginEngine engine;

    EXPECT_EQ(TextThrownBy([&] { engine.CreateNetwork("", "", "", "", {}); }), kNotCreated);
}

TEST_F(Network, TellsTheDeviceThatItRunsOn) {
    Create({});
    facade.library.ForgetCalls();

    EXPECT_EQ(facade.engine.GetCurrentNetworkDevice(), "CPU");

    std::vector<std::string> calls;
    for (const scripted_double::Call& call : facade.library.Calls())
        calls.push_back(call.text);
    EXPECT_THAT(calls, ElementsAre("hvqGetCurrentNetworkDeviceLength 2", "hvqHasException 2",
                                   "hvqGetCurrentNetworkDevice 2 set", "hvqHasException 2"));
    facade.library.Add("current-device \"GPU.1\"");
    EXPECT_EQ(facade.engine.GetCurrentNetworkDevice(), "GPU.1");
}

TEST_F(Network, TellsNoDeviceOfANegativeLength) {
    Create({});
    facade.library.Add("answer hvqGetCurrentNetworkDeviceLength * -2147483648");

    EXPECT_THROW((void)facade.engine.GetCurrentNetworkDevice(), std::length_error);
}

TEST(EngineVersion, IsFetchedInTwoCallsOfOneFunction) {
    Facade facade("version 7");
    facade.Create();

    EXPECT_EQ(facade.engine.GetSelfVersion(), "7");

    std::vector<std::string> calls;
    for (const scripted_double::Call& call : facade.library.Calls())
        calls.push_back(call.text);
    EXPECT_THAT(calls, ElementsAre("hvqSelfVersion 2 set null", "hvqHasException 2", "hvqSelfVersion 2 null set",
                                   "hvqHasException 2"));
}

TEST(EngineVersion, NeedsAnEngine) {
    hvq::inference::PluginEngine engine;

    EXPECT_EQ(TextThrownBy([&] { (void)engine.GetSelfVersion(); }), kNotCreated);
    EXPECT_EQ(TextThrownBy([&] { (void)engine.GetCurrentNetworkDevice(); }), kNotCreated);
}

TEST(EngineVersion, PassesOnWhatTheLibraryComplainsOf) {
    Facade facade;
    facade.Create();
    facade.library.Add("fail hvqSelfVersion next \"no version\"");

    EXPECT_EQ(TextThrownBy([&] { (void)facade.engine.GetSelfVersion(); }), "no version");
}

}  // namespace
}  // namespace facade_tests
