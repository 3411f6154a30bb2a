#include <gmock/gmock.h>

#include <algorithm>
#include <string>
#include <vector>

#include "exported_names.h"
#include "standin_support/test_engine.h"

namespace standin_support {
namespace {

using testing::ElementsAreArray;

std::vector<std::string> Names() {
#define HVQ_QUOTE(name) #name,
    return {HVQ_NAMES(HVQ_QUOTE)};
#undef HVQ_QUOTE
}

TEST(Exports, AreTheSixtyNamesAndNoOther) {
    std::vector<std::string> names = Names();
    ASSERT_EQ(names.size(), 60u);
    std::sort(names.begin(), names.end());

    EXPECT_THAT(ExportedNames(ProgramFolder() / "hvq.dll"), ElementsAreArray(names));
}

TEST(Exports, CanAllBeLookedUp) {
    for (const std::string& name : Names())
        EXPECT_NE(Library().Find(name.c_str()), nullptr) << name;

    EXPECT_EQ(Library().Find("hvqDestroy"), nullptr);  // the one with the usual spelling isn't there
}

TEST(Exports, DoNothingForANullEngine) {
    const HvqLibrary& hvq = Library();
    char text[] = "untouched";
    std::int32_t number = 7;
    std::uint64_t size = 7;
    float value = 7;

    hvq.hvqDestory(nullptr);
    hvq.hvqRegisterModelAsInnerIDwithString(nullptr, "a", "b");
    hvq.hvqRegisterModelAsInnerIDwithWString(nullptr, L"a", L"b");
    hvq.hvqUnregisterInnerID(nullptr, "a");
    EXPECT_EQ(hvq.hvqGetSupportEngineNumber(nullptr), 0);
    EXPECT_EQ(hvq.hvqGetSupportEngineLength(nullptr, 0), 0);
    hvq.hvqGetSupportEngine(nullptr, 0, text);
    hvq.hvqSelfVersion(nullptr, &size, text);
    hvq.hvqVersion(nullptr, &size, text);
    EXPECT_EQ(hvq.hvqGetSupportDeviceNumber(nullptr, kEngine), 0);
    EXPECT_EQ(hvq.hvqGetSupportDeviceLength(nullptr, kEngine, 0), 0);
    hvq.hvqGetSupportDevice(nullptr, kEngine, 0, text);
    hvq.hvqCreateNetByBuiltin(nullptr, kEngine, "n", "CPU", "a");
    hvq.hvqCreateNetByFiles(nullptr, kEngine, "n", "CPU", "a", nullptr);
    hvq.hvqCreateNetByFilesWithWstring(nullptr, L"OpenVINO", L"n", L"CPU", L"a", nullptr);
    hvq.hvqCreateNetByBuffers(nullptr, kEngine, "n", "CPU", text, 3, nullptr, 0);
    hvq.hvqRemoveNetwork(nullptr, "n");
    EXPECT_EQ(hvq.hvqGetSupportBuiltinModelNumber(nullptr, kEngine), 0);
    EXPECT_EQ(hvq.hvqGetSupportBuiltinModelLength(nullptr, kEngine, 0), 0);
    hvq.hvqGetSupportBuiltinModelID(nullptr, kEngine, 0, text);
    hvq.hvqSwitchNetwork(nullptr, "n");
    EXPECT_EQ(hvq.hvqGetCreatedNetworkIdentifiersNumber(nullptr), 0);
    EXPECT_EQ(hvq.hvqGetCreatedNetworkIdentifierLength(nullptr, 0), 0);
    hvq.hvqGetCreatedNetworkIdentifier(nullptr, 0, text);
    EXPECT_EQ(hvq.hvqGetNetworkEngineLength(nullptr, "n"), 0);
    hvq.hvqGetNetworkEngine(nullptr, "n", text);
    EXPECT_EQ(hvq.hvqGetNetworkDeviceLength(nullptr, "n"), 0);
    hvq.hvqGetNetworkDevice(nullptr, "n", text);
    EXPECT_EQ(hvq.hvqGetCurrentEngineLength(nullptr), 0);
    hvq.hvqGetCurrentEngine(nullptr, text);
    EXPECT_EQ(hvq.hvqGetCurrentIdentifierLength(nullptr), 0);
    hvq.hvqGetCurrentIdentifier(nullptr, text);
    EXPECT_EQ(hvq.hvqGetCurrentNetworkDeviceLength(nullptr), 0);
    hvq.hvqGetCurrentNetworkDevice(nullptr, text);
    hvq.hvqSetLayerData(nullptr, "input", text, &size, 1);
    EXPECT_EQ(hvq.hvqGetLayerData(nullptr, "input"), nullptr);
    EXPECT_EQ(hvq.hvqGetInputLayerNumber(nullptr), 0);
    EXPECT_EQ(hvq.hvqGetInputLayerLength(nullptr, 0), 0);
    hvq.hvqGetInputLayer(nullptr, 0, text);
    EXPECT_EQ(hvq.hvqGetOutputLayerNumber(nullptr), 0);
    EXPECT_EQ(hvq.hvqGetOutputLayerLength(nullptr, 0), 0);
    hvq.hvqGetOutputLayer(nullptr, 0, text);
    hvq.hvqGetLayerDims(nullptr, "input", nullptr, &size);
    hvq.hvqInfer(nullptr);
    hvq.hvqResetExceptionString(nullptr);
    EXPECT_EQ(hvq.hvqHasException(nullptr), 0);
    hvq.hvqGetExceptionString(nullptr, text);
    hvq.hvqGetEngineMutableProperties(nullptr, &number, 0, &number, text, &number, text, kEngine);
    EXPECT_EQ(hvq.hvqGetDeviceSupportPropertiesNumber(nullptr, kEngine, "CPU"), 0);
    hvq.hvqGetDeviceSupportPropertiesByIndex(nullptr, kEngine, "CPU", 0, &number, text, &number, text);
    EXPECT_EQ(hvq.hvqGetDevicePropertyTypeID(nullptr, kEngine, "CPU", "PROCESSORS"), 0);
    hvq.hvqGetDevicePropertyTypeString(nullptr, kEngine, "CPU", "FULL_DEVICE_NAME", &size, text);
    hvq.hvqGetDevicePropertyTypeUnorderedMap_String_Float(nullptr, kEngine, "CPU", "NETWORK_LOAD_MILLISECONDS", &number,
                                                          0, &number, text, &value);
    hvq.hvqGetDevicePropertyTypeGeneral(nullptr, kEngine, "CPU", "PROCESSORS", &size, text);
    hvq.hvqSetEnginePropertyForNetwork(nullptr, kEngine, "n", "CACHE_DIR", "std::filesystem::path", L"x");
    hvq.hvqGetLayerPrecision(nullptr, "input", &size, text);
    hvq.hvqSetLogCallback(nullptr, nullptr, nullptr);

    EXPECT_STREQ(text, "untouched");
    EXPECT_EQ(number, 7);
    EXPECT_EQ(size, 7u);
    EXPECT_EQ(value, 7);
    hvq.hvqGetExceptionStringLength(nullptr, &size);
    EXPECT_EQ(size, 0u);
}

// Each null pointer in the place of an argument that is needed leaves a text and nothing worse.
TEST(Exports, RefuseNullArgumentsByName) {
    const HvqLibrary& hvq = Library();
    TestEngine engine;
    engine.CreateNetwork("kinds");
    ASSERT_EQ(engine.TakeError(), "");
    const HvqEngine e = engine.Handle();
    const std::uint64_t dims[] = {1, 2, 3};
    std::uint64_t size = 0;

#define EXPECT_REFUSED(call, text)           \
    do {                                     \
        call;                                \
        EXPECT_EQ(engine.TakeError(), text); \
    } while (false)
    EXPECT_REFUSED(hvq.hvqRegisterModelAsInnerIDwithString(e, nullptr, "a"),
                   "hvqRegisterModelAsInnerIDwithString: model_id is null");
    EXPECT_REFUSED(hvq.hvqRegisterModelAsInnerIDwithString(e, "a", nullptr),
                   "hvqRegisterModelAsInnerIDwithString: model_lib_path is null");
    EXPECT_REFUSED(hvq.hvqRegisterModelAsInnerIDwithWString(e, nullptr, L"a"),
                   "hvqRegisterModelAsInnerIDwithWString: model_id is null");
    EXPECT_REFUSED(hvq.hvqRegisterModelAsInnerIDwithWString(e, L"a", nullptr),
                   "hvqRegisterModelAsInnerIDwithWString: model_lib_path is null");
    EXPECT_REFUSED(hvq.hvqUnregisterInnerID(e, nullptr), "hvqUnregisterInnerID: model_id is null");
    EXPECT_REFUSED(hvq.hvqGetSupportEngine(e, 0, nullptr), "hvqGetSupportEngine: buffer is null");
    EXPECT_REFUSED((void)hvq.hvqGetSupportDeviceNumber(e, nullptr), "hvqGetSupportDeviceNumber: engine_name is null");
    EXPECT_REFUSED((void)hvq.hvqGetSupportDeviceLength(e, nullptr, 0),
                   "hvqGetSupportDeviceLength: engine_name is null");
    EXPECT_REFUSED(hvq.hvqGetSupportDevice(e, nullptr, 0, nullptr), "hvqGetSupportDevice: engine_name is null");
    EXPECT_REFUSED(hvq.hvqGetSupportDevice(e, kEngine, 0, nullptr), "hvqGetSupportDevice: buffer is null");
    EXPECT_REFUSED(hvq.hvqCreateNetByBuiltin(e, nullptr, "n", "CPU", "m"),
                   "hvqCreateNetByBuiltin: engine_name is null");
    EXPECT_REFUSED(hvq.hvqCreateNetByBuiltin(e, kEngine, nullptr, "CPU", "m"),
                   "hvqCreateNetByBuiltin: network_id is null");
    EXPECT_REFUSED(hvq.hvqCreateNetByBuiltin(e, kEngine, "n", nullptr, "m"),
                   "hvqCreateNetByBuiltin: device_name is null");
    EXPECT_REFUSED(hvq.hvqCreateNetByBuiltin(e, kEngine, "n", "CPU", nullptr),
                   "hvqCreateNetByBuiltin: model_id is null");
    EXPECT_REFUSED(hvq.hvqCreateNetByFiles(e, kEngine, "n", "CPU", nullptr, nullptr),
                   "hvqCreateNetByFiles: network_path is null");
    EXPECT_REFUSED(hvq.hvqCreateNetByFilesWithWstring(e, L"OpenVINO", L"n", L"CPU", nullptr, nullptr),
                   "hvqCreateNetByFilesWithWstring: network_path is null");
    EXPECT_REFUSED(hvq.hvqCreateNetByFilesWithWstring(e, nullptr, L"n", L"CPU", L"a", nullptr),
                   "hvqCreateNetByFilesWithWstring: engine_name is null");
    EXPECT_REFUSED(hvq.hvqCreateNetByBuffers(e, kEngine, "n", "CPU", nullptr, 3, nullptr, 0),
                   "hvqCreateNetByBuffers: network is null");
    EXPECT_REFUSED(hvq.hvqRemoveNetwork(e, nullptr), "hvqRemoveNetwork: network_id is null");
    EXPECT_REFUSED(hvq.hvqSwitchNetwork(e, nullptr), "hvqSwitchNetwork: network_id is null");
    EXPECT_REFUSED(hvq.hvqGetCreatedNetworkIdentifier(e, 0, nullptr), "hvqGetCreatedNetworkIdentifier: buffer is null");
    EXPECT_REFUSED((void)hvq.hvqGetNetworkEngineLength(e, nullptr), "hvqGetNetworkEngineLength: network_id is null");
    EXPECT_REFUSED(hvq.hvqGetCurrentNetworkDevice(e, nullptr), "hvqGetCurrentNetworkDevice: buffer is null");
    EXPECT_REFUSED(hvq.hvqSetLayerData(e, nullptr, dims, dims, 3), "hvqSetLayerData: layer_name is null");
    EXPECT_REFUSED(hvq.hvqSetLayerData(e, "first", nullptr, dims, 3),
                   "hvqSetLayerData: layer first got a null data pointer");
    EXPECT_REFUSED(hvq.hvqSetLayerData(e, "first", dims, nullptr, 3), "hvqSetLayerData: dims is null");
    EXPECT_REFUSED((void)hvq.hvqGetLayerData(e, nullptr), "hvqGetLayerData: layer_name is null");
    EXPECT_REFUSED(hvq.hvqGetLayerDims(e, nullptr, nullptr, &size), "hvqGetLayerDims: layer_name is null");
    EXPECT_REFUSED(hvq.hvqGetLayerDims(e, "first", nullptr, nullptr), "hvqGetLayerDims: count is null");
    EXPECT_REFUSED(hvq.hvqGetInputLayer(e, 0, nullptr), "hvqGetInputLayer: buffer is null");
    EXPECT_REFUSED(hvq.hvqGetOutputLayer(e, 0, nullptr), "hvqGetOutputLayer: buffer is null");
    EXPECT_REFUSED(hvq.hvqGetLayerPrecision(e, nullptr, &size, nullptr), "hvqGetLayerPrecision: layer_name is null");
    EXPECT_REFUSED(hvq.hvqGetEngineMutableProperties(e, nullptr, 0, nullptr, nullptr, nullptr, nullptr, nullptr),
                   "hvqGetEngineMutableProperties: engine_name is null");
    EXPECT_REFUSED(hvq.hvqSetEnginePropertyForNetwork(e, kEngine, nullptr, "CACHE_DIR", "std::filesystem::path", L"x"),
                   "hvqSetEnginePropertyForNetwork: network_id is null");
    EXPECT_REFUSED(hvq.hvqSetEnginePropertyForNetwork(e, kEngine, "n", nullptr, "std::filesystem::path", L"x"),
                   "hvqSetEnginePropertyForNetwork: property_name is null");
    EXPECT_REFUSED(hvq.hvqSetEnginePropertyForNetwork(e, kEngine, "n", "CACHE_DIR", nullptr, L"x"),
                   "hvqSetEnginePropertyForNetwork: type_name is null");
    EXPECT_REFUSED(hvq.hvqSetEnginePropertyForNetwork(e, kEngine, "n", "CACHE_DIR", "std::filesystem::path", nullptr),
                   "hvqSetEnginePropertyForNetwork: property CACHE_DIR got a null value");
    EXPECT_REFUSED((void)hvq.hvqGetDevicePropertyTypeID(e, kEngine, nullptr, "x"),
                   "hvqGetDevicePropertyTypeID: device_name is null");
    EXPECT_REFUSED((void)hvq.hvqGetDevicePropertyTypeID(e, kEngine, "CPU", nullptr),
                   "hvqGetDevicePropertyTypeID: property_name is null");
#undef EXPECT_REFUSED

    hvq.hvqGetExceptionStringLength(e, nullptr);
    hvq.hvqGetExceptionString(e, nullptr);
    hvq.hvqSelfVersion(e, nullptr, nullptr);
    EXPECT_EQ(hvq.hvqHasException(e), 0);
}

}  // namespace
}  // namespace standin_support
