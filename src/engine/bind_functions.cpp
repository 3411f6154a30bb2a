#include "engine/bind_functions.h"

#include <exception>
#include <string>
#include <utility>

namespace hvq::inference {
namespace {

// Fills the fields of one record, one name after the other.
class Binder {
 public:
    Binder(FunctionHandle& functions, const util::LoaderSeams& seams) : m_functions(functions), m_seams(seams) {}

    template <typename Function>
    void Require(Function& field, const char* name) {
        field = reinterpret_cast<Function>(
            util::get_shared_object_symbol(m_functions.shared_library_handle_object, name, m_seams));
    }

    template <typename Function>
    void Accept(Function& field, const char* name) {
        try {
            Require(field, name);
        } catch (const std::exception& error) {
            const std::string line =
                std::string("This HVQ library no ").append(name).append(" function:").append(error.what());
            m_seams.streams.Write(platform::StandardStream::Error, line + "\n");
        }
    }

 private:
    FunctionHandle& m_functions;
    const util::LoaderSeams& m_seams;
};

}  // namespace

void BindFunctions(std::shared_ptr<FunctionHandle> functionHandle, const util::LoaderSeams& seams) {
    const std::shared_ptr<FunctionHandle> held = std::move(functionHandle);  // and let go at the end
    FunctionHandle& functions = *held;
    Binder binder(functions, seams);
    binder.Require(functions.hvqCreate, "hvqCreate");
    binder.Require(functions.hvqCreateWithLibraryLoader, "hvqCreateWithLibraryLoader");
    binder.Require(functions.hvqDestory, "hvqDestory");
    binder.Require(functions.hvqRegisterModelAsInnerIDwithString, "hvqRegisterModelAsInnerIDwithString");
    binder.Require(functions.hvqRegisterModelAsInnerIDwithWString, "hvqRegisterModelAsInnerIDwithWString");
    binder.Require(functions.hvqUnregisterInnerID, "hvqUnregisterInnerID");
    binder.Require(functions.hvqGetSupportEngineNumber, "hvqGetSupportEngineNumber");
    binder.Require(functions.hvqGetSupportEngineLength, "hvqGetSupportEngineLength");
    binder.Require(functions.hvqGetSupportEngine, "hvqGetSupportEngine");
    binder.Require(functions.hvqSelfVersion, "hvqSelfVersion");
    binder.Require(functions.hvqVersion, "hvqVersion");
    binder.Require(functions.hvqGetSupportDeviceNumber, "hvqGetSupportDeviceNumber");
    binder.Require(functions.hvqGetSupportDeviceLength, "hvqGetSupportDeviceLength");
    binder.Require(functions.hvqGetSupportDevice, "hvqGetSupportDevice");
    binder.Require(functions.hvqCreateNetByFiles, "hvqCreateNetByFiles");
    binder.Require(functions.hvqCreateNetByFilesWithWstring, "hvqCreateNetByFilesWithWstring");
    binder.Require(functions.hvqCreateNetByBuffers, "hvqCreateNetByBuffers");
    binder.Require(functions.hvqRemoveNetwork, "hvqRemoveNetwork");
    binder.Require(functions.hvqGetSupportBuiltinModelNumber, "hvqGetSupportBuiltinModelNumber");
    binder.Require(functions.hvqGetSupportBuiltinModelLength, "hvqGetSupportBuiltinModelLength");
    binder.Require(functions.hvqGetSupportBuiltinModelID, "hvqGetSupportBuiltinModelID");
    binder.Require(functions.hvqCreateNetByBuiltin, "hvqCreateNetByBuiltin");  // behind its place among the fields
    binder.Require(functions.hvqSwitchNetwork, "hvqSwitchNetwork");
    binder.Require(functions.hvqGetCreatedNetworkIdentifiersNumber, "hvqGetCreatedNetworkIdentifiersNumber");
    binder.Require(functions.hvqGetCreatedNetworkIdentifierLength, "hvqGetCreatedNetworkIdentifierLength");
    binder.Require(functions.hvqGetCreatedNetworkIdentifier, "hvqGetCreatedNetworkIdentifier");
    binder.Require(functions.hvqGetNetworkEngineLength, "hvqGetNetworkEngineLength");
    binder.Require(functions.hvqGetNetworkEngine, "hvqGetNetworkEngine");
    binder.Require(functions.hvqGetNetworkDeviceLength, "hvqGetNetworkDeviceLength");
    binder.Require(functions.hvqGetNetworkDevice, "hvqGetNetworkDevice");
    binder.Require(functions.hvqGetCurrentEngineLength, "hvqGetCurrentEngineLength");
    binder.Require(functions.hvqGetCurrentEngine, "hvqGetCurrentEngine");
    binder.Require(functions.hvqGetCurrentIdentifierLength, "hvqGetCurrentIdentifierLength");
    binder.Require(functions.hvqGetCurrentIdentifier, "hvqGetCurrentIdentifier");
    binder.Require(functions.hvqGetCurrentNetworkDeviceLength, "hvqGetCurrentNetworkDeviceLength");
    binder.Require(functions.hvqGetCurrentNetworkDevice, "hvqGetCurrentNetworkDevice");
    binder.Require(functions.hvqSetLayerData, "hvqSetLayerData");
    binder.Require(functions.hvqGetLayerData, "hvqGetLayerData");
    binder.Require(functions.hvqGetInputLayerNumber, "hvqGetInputLayerNumber");
    binder.Require(functions.hvqGetInputLayerLength, "hvqGetInputLayerLength");
    binder.Require(functions.hvqGetInputLayer, "hvqGetInputLayer");
    binder.Require(functions.hvqGetOutputLayerNumber, "hvqGetOutputLayerNumber");
    binder.Require(functions.hvqGetOutputLayerLength, "hvqGetOutputLayerLength");
    binder.Require(functions.hvqGetOutputLayer, "hvqGetOutputLayer");
    binder.Require(functions.hvqGetLayerDims, "hvqGetLayerDims");
    binder.Require(functions.hvqInfer, "hvqInfer");
    binder.Require(functions.hvqHasException, "hvqHasException");
    binder.Require(functions.hvqGetExceptionStringLength, "hvqGetExceptionStringLength");
    binder.Require(functions.hvqGetExceptionString, "hvqGetExceptionString");
    binder.Require(functions.hvqResetExceptionString, "hvqResetExceptionString");
    binder.Require(functions.hvqGetEngineMutableProperties, "hvqGetEngineMutableProperties");
    binder.Require(functions.hvqGetDeviceSupportPropertiesNumber, "hvqGetDeviceSupportPropertiesNumber");
    binder.Require(functions.hvqGetDeviceSupportPropertiesByIndex, "hvqGetDeviceSupportPropertiesByIndex");
    binder.Require(functions.hvqGetDevicePropertyTypeID, "hvqGetDevicePropertyTypeID");
    binder.Require(functions.hvqGetDevicePropertyTypeString, "hvqGetDevicePropertyTypeString");
    binder.Require(functions.hvqGetDevicePropertyTypeUnorderedMap_String_Float,
                   "hvqGetDevicePropertyTypeUnorderedMap_String_Float");
    binder.Require(functions.hvqGetDevicePropertyTypeGeneral, "hvqGetDevicePropertyTypeGeneral");
    binder.Require(functions.hvqSetEnginePropertyForNetwork, "hvqSetEnginePropertyForNetwork");

    binder.Accept(functions.hvqGetLayerPrecision, "hvqGetLayerPrecision");
    binder.Accept(functions.hvqSetLogCallback, "hvqSetLogCallback");
}

void BindVersionFunctions(FunctionHandle& functions, const util::LoaderSeams& seams) {
    Binder binder(functions, seams);
    binder.Require(functions.hvqSelfVersion, "hvqSelfVersion");
    binder.Require(functions.hvqCreateWithLibraryLoader, "hvqCreateWithLibraryLoader");
    binder.Require(functions.hvqDestory, "hvqDestory");
}

}  // namespace hvq::inference
