#pragma once

#include <any>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

#include "engine/function_handle.h"
#include "engine/shared_library.h"

namespace hvq::inference {

using List = std::vector<std::string>;                                    // in the library's order
using Dims = std::vector<std::uint64_t>;                                  // the outermost dimension first
using MutablePropertyMap = std::unordered_map<std::string, std::string>;  // name to type name
using PropertyMap = std::unordered_map<std::string, std::any>;            // name to a path or a narrow string

// One engine of the inference library, loaded from a path. Turns the library's pending texts into exceptions and its
// texts and lists into strings and vectors, and checks names before the library sees them. Layer, engine and property
// names are the user's; nothing here knows what an engine computes.
//
// Use: Create, then CreateNetwork, then for each frame SetLayerData, Infer, GetLayerData. There is no way back: for
// another engine make another object. After a Create that threw, the object is good for destruction only.
//
// Every failure is thrown: std::runtime_error unless said otherwise, with the library's own text for what the library
// complains of. A length that the library can't mean is std::length_error. All operations also throw std::bad_alloc.
// Nothing is rolled back, nothing is logged.
//
// Thread: an operation that takes the lock for its whole length never overlaps with another one of these. Those that
// say "Lock: for the exception check only" call the library without it, so they belong before the object is shared.
class PluginEngine {
 public:
    // What `seams` refers to outlives the object.
    explicit PluginEngine(const util::LoaderSeams& seams = {});
    PluginEngine(const PluginEngine&) = delete;
    PluginEngine& operator=(const PluginEngine&) = delete;

    // Loads the library and makes an engine. The library is loaded twice: once to ask for its version, which needs an
    // engine of its own, and then for good. The two pointers are the library's business and may be null.
    // Throws std::filesystem::filesystem_error when the file system can't say whether the file is there.
    // Lock: whole length.
    void Create(const std::filesystem::path& libraryPath, void* loaderFirst, void* loaderSecond);

    // The version text of the library. Lock: whole length.
    std::string GetSelfVersion();

    // The engines that the library offers. Lock: for the exception check only.
    List GetSupportEngines();

    // Throws when `engineName` is empty or not offered; the text then names those that are. Lock: whole length.
    void CheckEngine(const std::string& engineName);

    // The devices that an engine offers. Lock: for the exception check only.
    List GetSupportDevices(const std::string& engineName);

    // The ids of the models that an engine knows, registered ones included. Lock: whole length.
    List GetSupportBuiltinModels(const std::string& engineName);

    // Whether an engine knows a model; with an empty `engineName`, whether any does. Lock: whole length.
    bool HasInnerModel(const std::string& modelId, const std::string& engineName);

    // Makes the model file known under an id that no engine has yet. Lock: for the exception check only.
    void RegisterModel(const std::string& modelId, const std::string& modelLibPath);

    // The properties that may be set before the network is made. Empty, without an exception, as long as there is no
    // engine. Lock: for the exception check only.
    MutablePropertyMap GetEngineMutableProperties(const std::string& engineName);

    // Sets `properties` and makes the network. Each name must be a mutable property, and its value of the property's
    // type; a property of a type that is neither a path nor a string is passed over. Lock: whole length.
    void CreateNetwork(const std::string& engineName, const std::string& networkId, const std::string& deviceName,
                       const std::string& modelId, const PropertyMap& properties);

    // The device that the network really runs on. Lock: whole length.
    std::string GetCurrentNetworkDevice();

    // The shape of a layer. Lock: whole length.
    Dims GetLayerDims(const std::string& layerName);

    // Hands a layer's data over: 32-bit floats of the shape `dims`. They stay the caller's and have to be there until
    // the next Infer has returned. Lock: whole length.
    void SetLayerData(const std::string& layerName, const void* data, const Dims& dims);

    // A layer's data: its elements, of 4 bytes each, the library's own, good until the next Infer. Null when the
    // library has none. Lock: whole length.
    const void* GetLayerData(const std::string& layerName);

    // Runs the network. Only after a Create that succeeded: whether there is an engine is not tested. Lock: whole
    // length.
    void Infer();

    // Throws the text that is pending in the library, if one is, and clears it there first. Only after a Create that
    // succeeded. Lock: whole length.
    void CheckException();

 private:
    std::string QueryLibraryVersion(const std::wstring& path, void* loaderFirst, void* loaderSecond) const;
    void WarnOfOtherVersion() const;
    bool TryNarrowPath(const std::filesystem::path& path, void* loaderFirst, void* loaderSecond);
    void CreateEngine(const std::string& path, void* loaderFirst, void* loaderSecond);
    void CreateEngine(const std::wstring& path, void* loaderFirst, void* loaderSecond);
    template <typename Load>
    void CreateEngineFrom(const Load& load, const std::string& tag, void* loaderFirst, void* loaderSecond);

    bool HasEngine() const;
    void RequireEngine() const;
    void SetProperty(const std::string& engineName, const std::string& networkId,
                     const MutablePropertyMap& mutableProperties, const std::string& name, const std::any& value);

    util::LoaderSeams m_seams;                         // the library's deleter works on what it refers to
    std::shared_ptr<FunctionHandle> m_functionHandle;  // holds the library; before the engine, so it goes after it
    std::shared_ptr<void> m_engineHandle;              // its deleter calls hvqDestory, while the library is still there
    std::recursive_mutex m_mutex;  // recursive: operations that hold it call others that take it. Guards the engine
    std::string m_libraryVersion;  // what the library said during Create
};

}  // namespace hvq::inference
