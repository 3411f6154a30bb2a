#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "standin_support/test_engine.h"

namespace standin_support {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

class Engine : public testing::Test {
 protected:
    const HvqLibrary& hvq = Library();
    TestEngine engine;
    HvqEngine e = engine.Handle();

    std::vector<std::string> Models() {
        std::vector<std::string> models;
        for (std::int32_t i = 0; i < hvq.hvqGetSupportBuiltinModelNumber(e, kEngine); ++i) {
            models.push_back(TwoSteps(hvq.hvqGetSupportBuiltinModelLength(e, kEngine, i),
                                      [&](char* text) { hvq.hvqGetSupportBuiltinModelID(e, kEngine, i, text); }));
        }
        return models;
    }
};

TEST_F(Engine, TellsTheVersionThatProgramsExpect) {
    std::uint64_t length = 0;
    hvq.hvqSelfVersion(e, &length, nullptr);
    ASSERT_EQ(length, 24u);

    EXPECT_EQ(TwoSteps(length, [&](char* text) { hvq.hvqSelfVersion(e, nullptr, text); }), "2026.03.18-1bca487a(x64)");
}

TEST_F(Engine, TellsWhoItReallyIs) {
    std::uint64_t length = 0;
    hvq.hvqVersion(e, &length, nullptr);

    EXPECT_EQ(TwoSteps(length, [&](char* text) { hvq.hvqVersion(e, nullptr, text); }),
              "velmoml stand-in 0.1, ONNX Runtime 1.30.0");
}

TEST_F(Engine, OffersOneEngine) {
    ASSERT_EQ(hvq.hvqGetSupportEngineNumber(e), 1);

    EXPECT_EQ(TwoSteps(hvq.hvqGetSupportEngineLength(e, 0), [&](char* text) { hvq.hvqGetSupportEngine(e, 0, text); }),
              "OpenVINO");
    EXPECT_EQ(engine.TakeError(), "");
}

TEST_F(Engine, RefusesIndicesOutsideAList) {
    EXPECT_EQ(hvq.hvqGetSupportEngineLength(e, 1), 0);
    EXPECT_EQ(engine.TakeError(), "hvqGetSupportEngineLength: index 1 is outside the list of engines, which has 1");
    EXPECT_EQ(hvq.hvqGetSupportEngineLength(e, -1), 0);
    EXPECT_EQ(engine.TakeError(), "hvqGetSupportEngineLength: index -1 is outside the list of engines, which has 1");
    EXPECT_EQ(hvq.hvqGetSupportDeviceLength(e, kEngine, 2), 0);
    EXPECT_EQ(engine.TakeError(), "hvqGetSupportDeviceLength: index 2 is outside the list of devices, which has 2");
    EXPECT_EQ(hvq.hvqGetSupportBuiltinModelLength(e, kEngine, 0), 0);
    EXPECT_EQ(engine.TakeError(),
              "hvqGetSupportBuiltinModelLength: index 0 is outside the list of models, which has 0");
    EXPECT_EQ(hvq.hvqGetCreatedNetworkIdentifierLength(e, 0), 0);
    EXPECT_EQ(engine.TakeError(),
              "hvqGetCreatedNetworkIdentifierLength: index 0 is outside the list of networks, which has 0");
}

TEST_F(Engine, OffersTwoDevices) {
    std::vector<std::string> devices;
    for (std::int32_t i = 0; i < hvq.hvqGetSupportDeviceNumber(e, kEngine); ++i) {
        devices.push_back(TwoSteps(hvq.hvqGetSupportDeviceLength(e, kEngine, i),
                                   [&](char* text) { hvq.hvqGetSupportDevice(e, kEngine, i, text); }));
    }

    EXPECT_THAT(devices, ElementsAre("AUTO", "CPU"));
    EXPECT_EQ(engine.TakeError(), "");
}

TEST_F(Engine, KnowsNoOtherEngine) {
    EXPECT_EQ(hvq.hvqGetSupportDeviceNumber(e, "openvino"), 0);
    EXPECT_EQ(engine.TakeError(), "hvqGetSupportDeviceNumber: there is no engine openvino, only OpenVINO");
    EXPECT_EQ(hvq.hvqGetSupportBuiltinModelNumber(e, ""), 0);
    EXPECT_EQ(engine.TakeError(), "hvqGetSupportBuiltinModelNumber: there is no engine , only OpenVINO");
}

TEST_F(Engine, ListsModelsByAge) {
    EXPECT_THAT(Models(), IsEmpty());

    hvq.hvqRegisterModelAsInnerIDwithString(e, "b", NarrowName(NetworkFile("family0_256x144")).c_str());
    hvq.hvqRegisterModelAsInnerIDwithWString(e, L"a \x00E4", WideName(NetworkFile("family1_256x144")).c_str());

    EXPECT_EQ(engine.TakeError(), "");
    EXPECT_THAT(Models(), ElementsAre("b", "a \xC3\xA4"));

    hvq.hvqUnregisterInnerID(e, "b");
    EXPECT_THAT(Models(), ElementsAre("a \xC3\xA4"));
    hvq.hvqRegisterModelAsInnerIDwithString(e, "b", NarrowName(NetworkFile("family0_256x144")).c_str());
    EXPECT_THAT(Models(), ElementsAre("a \xC3\xA4", "b"));
    EXPECT_EQ(engine.TakeError(), "");
}

TEST_F(Engine, RefusesAModelIdThatIsTakenEmptyOrUnknown) {
    const std::string file = NarrowName(NetworkFile("family0_256x144"));
    hvq.hvqRegisterModelAsInnerIDwithString(e, "a", file.c_str());
    ASSERT_EQ(engine.TakeError(), "");

    hvq.hvqRegisterModelAsInnerIDwithString(e, "a", file.c_str());
    EXPECT_THAT(engine.TakeError(), StartsWith("hvqRegisterModelAsInnerIDwithString: model id a is taken by "));
    hvq.hvqRegisterModelAsInnerIDwithString(e, "", file.c_str());
    EXPECT_EQ(engine.TakeError(), "hvqRegisterModelAsInnerIDwithString: the model id is empty");
    hvq.hvqUnregisterInnerID(e, "c");
    EXPECT_EQ(engine.TakeError(), "hvqUnregisterInnerID: no model is registered as c");
    EXPECT_THAT(Models(), ElementsAre("a"));
}

TEST_F(Engine, RefusesAModelWithoutAFile) {
    const std::string missing = NarrowName(ProgramFolder() / "networks" / "none.onnx");
    hvq.hvqRegisterModelAsInnerIDwithString(e, "a", missing.c_str());
    EXPECT_EQ(engine.TakeError(), "hvqRegisterModelAsInnerIDwithString: " + missing + ": there is no such file");

    const std::string folder = NarrowName(ProgramFolder() / "networks");
    hvq.hvqRegisterModelAsInnerIDwithString(e, "a", folder.c_str());
    EXPECT_EQ(engine.TakeError(), "hvqRegisterModelAsInnerIDwithString: " + folder + ": it is a folder");
    EXPECT_THAT(Models(), IsEmpty());
}

TEST_F(Engine, KeepsTheFirstOfSeveralErrors) {
    hvq.hvqRemoveNetwork(e, "first");
    hvq.hvqRemoveNetwork(e, "second");

    EXPECT_EQ(hvq.hvqHasException(e), 1);
    EXPECT_EQ(engine.TakeError(), "hvqRemoveNetwork: there is no network first");
    EXPECT_EQ(hvq.hvqHasException(e), 0);
}

TEST_F(Engine, KeepsItsErrorsFromOtherEngines) {
    TestEngine other;

    hvq.hvqRemoveNetwork(e, "none");

    EXPECT_EQ(other.TakeError(), "");
    EXPECT_EQ(hvq.hvqHasException(nullptr), 0);
    EXPECT_NE(engine.TakeError(), "");
}

TEST_F(Engine, HasNoTextWhenNothingIsPending) {
    std::uint64_t length = 7;
    hvq.hvqGetExceptionStringLength(e, &length);
    char text[] = "untouched";
    hvq.hvqGetExceptionString(e, text);

    EXPECT_EQ(length, 0u);
    EXPECT_STREQ(text, "untouched");
}

TEST_F(Engine, TellsOfItsDevices) {
    std::vector<std::string> properties;
    for (std::int32_t i = 0; i < hvq.hvqGetDeviceSupportPropertiesNumber(e, kEngine, "AUTO"); ++i) {
        std::int32_t name = 0;
        std::int32_t type = 0;
        hvq.hvqGetDeviceSupportPropertiesByIndex(e, kEngine, "AUTO", i, &name, nullptr, &type, nullptr);
        const std::string nameText = TwoSteps(name, [&](char* text) {
            hvq.hvqGetDeviceSupportPropertiesByIndex(e, kEngine, "AUTO", i, nullptr, text, nullptr, nullptr);
        });
        const std::string typeText = TwoSteps(type, [&](char* text) {
            hvq.hvqGetDeviceSupportPropertiesByIndex(e, kEngine, "AUTO", i, nullptr, nullptr, nullptr, text);
        });
        properties.push_back(std::to_string(hvq.hvqGetDevicePropertyTypeID(e, kEngine, "AUTO", nameText.c_str())) +
                             " " + nameText + " " + typeText);
    }

    EXPECT_THAT(properties, ElementsAre("1 FULL_DEVICE_NAME std::string", "1 RUNTIME_VERSION std::string",
                                        "2 NETWORK_LOAD_MILLISECONDS std::unordered_map<std::string, float>",
                                        "3 PROCESSORS uint32_t"));
    EXPECT_EQ(engine.TakeError(), "");
}

TEST_F(Engine, GivesTheValuesOfDeviceProperties) {
    engine.CreateNetwork("kinds");
    const auto text = [&](const char* name) {
        std::uint64_t length = 0;
        hvq.hvqGetDevicePropertyTypeString(e, kEngine, "CPU", name, &length, nullptr);
        return TwoSteps(length, [&](char* buffer) {
            hvq.hvqGetDevicePropertyTypeString(e, kEngine, "CPU", name, nullptr, buffer);
        });
    };
    EXPECT_EQ(text("FULL_DEVICE_NAME"), "Processor, by ONNX Runtime 1.30.0");
    EXPECT_EQ(text("RUNTIME_VERSION"), "1.30.0");

    std::int32_t count = 0;
    const char* const loads = "NETWORK_LOAD_MILLISECONDS";
    hvq.hvqGetDevicePropertyTypeUnorderedMap_String_Float(e, kEngine, "CPU", loads, &count, -1, nullptr, nullptr,
                                                          nullptr);
    ASSERT_EQ(count, 1);
    std::int32_t length = 0;
    float milliseconds = 0;
    hvq.hvqGetDevicePropertyTypeUnorderedMap_String_Float(e, kEngine, "CPU", loads, nullptr, 0, &length, nullptr,
                                                          &milliseconds);
    EXPECT_GT(milliseconds, 0.0f);
    EXPECT_EQ(TwoSteps(length,
                       [&](char* buffer) {
                           hvq.hvqGetDevicePropertyTypeUnorderedMap_String_Float(e, kEngine, "CPU", loads, nullptr, 0,
                                                                                 nullptr, buffer, nullptr);
                       }),
              "kinds");

    std::uint64_t size = 0;
    std::uint32_t processors = 0;
    hvq.hvqGetDevicePropertyTypeGeneral(e, kEngine, "CPU", "PROCESSORS", &size, nullptr);
    ASSERT_EQ(size, sizeof(processors));
    hvq.hvqGetDevicePropertyTypeGeneral(e, kEngine, "CPU", "PROCESSORS", nullptr, &processors);
    EXPECT_GE(processors, 1u);
    EXPECT_EQ(engine.TakeError(), "");
}

TEST_F(Engine, RefusesDevicePropertiesThatThereAreNotAndOtherTypes) {
    std::uint64_t size = 0;
    EXPECT_EQ(hvq.hvqGetDeviceSupportPropertiesNumber(e, kEngine, "GPU"), 0);
    EXPECT_EQ(engine.TakeError(),
              "hvqGetDeviceSupportPropertiesNumber: engine OpenVINO has no device GPU, only AUTO CPU");
    EXPECT_EQ(hvq.hvqGetDevicePropertyTypeID(e, kEngine, "CPU", "COLOUR"), 0);
    EXPECT_EQ(engine.TakeError(), "hvqGetDevicePropertyTypeID: device CPU has no property COLOUR");
    hvq.hvqGetDevicePropertyTypeString(e, kEngine, "CPU", "PROCESSORS", &size, nullptr);
    EXPECT_EQ(engine.TakeError(),
              "hvqGetDevicePropertyTypeString: property PROCESSORS is a uint32_t, not a std::string");
    hvq.hvqGetDevicePropertyTypeGeneral(e, kEngine, "CPU", "RUNTIME_VERSION", &size, nullptr);
    EXPECT_THAT(engine.TakeError(), HasSubstr("is a std::string, not a uint32_t"));
    float value = 0;
    hvq.hvqGetDevicePropertyTypeUnorderedMap_String_Float(e, kEngine, "CPU", "NETWORK_LOAD_MILLISECONDS", nullptr, 0,
                                                          nullptr, nullptr, &value);
    EXPECT_THAT(engine.TakeError(), HasSubstr("index 0 is outside the list of networks, which has 0"));
    hvq.hvqGetDeviceSupportPropertiesByIndex(e, kEngine, "CPU", 4, nullptr, nullptr, nullptr, nullptr);
    EXPECT_THAT(engine.TakeError(), HasSubstr("index 4 is outside the list of device properties, which has 4"));
}

}  // namespace
}  // namespace standin_support
