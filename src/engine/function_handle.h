#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "engine/shared_library.h"
#include "platform/module_loader.h"

// The functions of the inference library, looked up by name at run time: there is no import library for it.
namespace hvq::inference {

using EngineAddress = void*;  // an engine as the library knows it; opaque, null is none

// A function that is looked up, since a library without it is refused, but never called: its arguments are unknown.
using NeverCalled = platform::SymbolAddress;

// One loaded library and its 60 exported functions; every field is named like the export it holds. Filled once by
// BindFunctions and not changed afterwards, so it is read without a lock.
//
// Texts are zero-terminated. The library allocates nothing for its caller: a text is asked for its length, without
// terminator, and then written to the caller's buffer. No result tells of a failure: the library keeps a pending text
// for each engine, which hvqHasException asks for. The engine may be null for it, for the three functions about the
// text, which are then about the latest creation on the thread, and for hvqDestory.
struct FunctionHandle {
    // Declared first, so it goes last: the library stays loaded while anybody can call it.
    std::shared_ptr<util::SharedLibraryHandle_t> shared_library_handle_object;

    NeverCalled hvqCreate = nullptr;
    // Null is failure. What the two pointers mean is the library's; both may be null.
    EngineAddress (*hvqCreateWithLibraryLoader)(void* loaderFirst, void* loaderSecond) = nullptr;
    void (*hvqDestory)(EngineAddress engine) = nullptr;  // the library spells it so

    void (*hvqRegisterModelAsInnerIDwithString)(EngineAddress engine, const char* modelId,
                                                const char* modelLibPath) = nullptr;
    NeverCalled hvqRegisterModelAsInnerIDwithWString = nullptr;
    NeverCalled hvqUnregisterInnerID = nullptr;

    std::int32_t (*hvqGetSupportEngineNumber)(EngineAddress engine) = nullptr;
    std::int32_t (*hvqGetSupportEngineLength)(EngineAddress engine, std::int32_t index) = nullptr;
    void (*hvqGetSupportEngine)(EngineAddress engine, std::int32_t index, char* buffer) = nullptr;
    // Writes to each of the two that is not null.
    void (*hvqSelfVersion)(EngineAddress engine, std::uint64_t* lengthOut, char* buffer) = nullptr;
    NeverCalled hvqVersion = nullptr;

    std::int32_t (*hvqGetSupportDeviceNumber)(EngineAddress engine, const char* engineName) = nullptr;
    std::int32_t (*hvqGetSupportDeviceLength)(EngineAddress engine, const char* engineName,
                                              std::int32_t index) = nullptr;
    void (*hvqGetSupportDevice)(EngineAddress engine, const char* engineName, std::int32_t index,
                                char* buffer) = nullptr;

    void (*hvqCreateNetByBuiltin)(EngineAddress engine, const char* engineName, const char* networkId,
                                  const char* deviceName, const char* modelId) = nullptr;
    NeverCalled hvqCreateNetByFiles = nullptr;
    NeverCalled hvqCreateNetByFilesWithWstring = nullptr;
    NeverCalled hvqCreateNetByBuffers = nullptr;
    NeverCalled hvqRemoveNetwork = nullptr;

    std::int32_t (*hvqGetSupportBuiltinModelNumber)(EngineAddress engine, const char* engineName) = nullptr;
    std::int32_t (*hvqGetSupportBuiltinModelLength)(EngineAddress engine, const char* engineName,
                                                    std::int32_t index) = nullptr;
    void (*hvqGetSupportBuiltinModelID)(EngineAddress engine, const char* engineName, std::int32_t index,
                                        char* buffer) = nullptr;

    NeverCalled hvqSwitchNetwork = nullptr;
    NeverCalled hvqGetCreatedNetworkIdentifiersNumber = nullptr;
    NeverCalled hvqGetCreatedNetworkIdentifierLength = nullptr;
    NeverCalled hvqGetCreatedNetworkIdentifier = nullptr;
    NeverCalled hvqGetNetworkEngineLength = nullptr;
    NeverCalled hvqGetNetworkEngine = nullptr;
    NeverCalled hvqGetNetworkDeviceLength = nullptr;
    NeverCalled hvqGetNetworkDevice = nullptr;
    NeverCalled hvqGetCurrentEngineLength = nullptr;
    NeverCalled hvqGetCurrentEngine = nullptr;
    NeverCalled hvqGetCurrentIdentifierLength = nullptr;
    NeverCalled hvqGetCurrentIdentifier = nullptr;
    std::int32_t (*hvqGetCurrentNetworkDeviceLength)(EngineAddress engine) = nullptr;
    void (*hvqGetCurrentNetworkDevice)(EngineAddress engine, char* buffer) = nullptr;

    // The data stays the caller's: 32-bit floats of the shape `dims`.
    void (*hvqSetLayerData)(EngineAddress engine, const char* layerName, const void* data, const std::uint64_t* dims,
                            std::uint64_t dimsCount) = nullptr;
    // The data is the library's, good until the next hvqInfer. Null when there is none.
    const void* (*hvqGetLayerData)(EngineAddress engine, const char* layerName) = nullptr;
    NeverCalled hvqGetInputLayerNumber = nullptr;
    NeverCalled hvqGetInputLayerLength = nullptr;
    NeverCalled hvqGetInputLayer = nullptr;
    NeverCalled hvqGetOutputLayerNumber = nullptr;
    NeverCalled hvqGetOutputLayerLength = nullptr;
    NeverCalled hvqGetOutputLayer = nullptr;
    // With null dims only counts.
    void (*hvqGetLayerDims)(EngineAddress engine, const char* layerName, std::uint64_t* dims,
                            std::uint64_t* count) = nullptr;
    void (*hvqInfer)(EngineAddress engine) = nullptr;

    // Not zero when a text is pending.
    std::uint8_t (*hvqHasException)(EngineAddress engine) = nullptr;
    void (*hvqGetExceptionStringLength)(EngineAddress engine, std::uint64_t* lengthOut) = nullptr;
    void (*hvqGetExceptionString)(EngineAddress engine, char* buffer) = nullptr;
    void (*hvqResetExceptionString)(EngineAddress engine) = nullptr;

    // Three forms: the count, with index -1 and all else null; the two lengths; the two texts.
    void (*hvqGetEngineMutableProperties)(EngineAddress engine, std::int32_t* countOut, std::int32_t index,
                                          std::int32_t* nameLengthOut, char* name, std::int32_t* typeLengthOut,
                                          char* type, const char* engineName) = nullptr;
    NeverCalled hvqGetDeviceSupportPropertiesNumber = nullptr;
    NeverCalled hvqGetDeviceSupportPropertiesByIndex = nullptr;
    NeverCalled hvqGetDevicePropertyTypeID = nullptr;
    NeverCalled hvqGetDevicePropertyTypeString = nullptr;
    NeverCalled hvqGetDevicePropertyTypeUnorderedMap_String_Float = nullptr;
    NeverCalled hvqGetDevicePropertyTypeGeneral = nullptr;
    // The value is a wide text for the type "std::filesystem::path", a narrow one for "std::string".
    void (*hvqSetEnginePropertyForNetwork)(EngineAddress engine, const char* engineName, const char* networkId,
                                           const char* propertyName, const char* typeName, const void* value) = nullptr;

    NeverCalled hvqGetLayerPrecision = nullptr;  // null when the library lacks it
    NeverCalled hvqSetLogCallback = nullptr;     // null when the library lacks it
};

inline constexpr std::size_t kFunctionCount = 60;
static_assert(sizeof(FunctionHandle) ==
                  sizeof(FunctionHandle::shared_library_handle_object) + kFunctionCount * sizeof(NeverCalled),
              "every export has one pointer, and nothing else stands between them");

}  // namespace hvq::inference
