#include "engine/plugin_engine.h"

#include <algorithm>
#include <cstddef>
#include <stdexcept>
#include <utility>

#include "engine/bind_functions.h"
#include "engine/file_exists.h"
#include "engine/hvq_header_version.h"
#include "engine/path_text.h"
#include "engine/two_step_text.h"

namespace hvq::inference {
namespace {

constexpr char kPathType[] = "std::filesystem::path";
constexpr char kStringType[] = "std::string";

// No layer has more dimensions. A count beyond it is damage, and no reason to ask for memory without end.
constexpr std::uint64_t kMostDims = 65536;

bool Contains(const List& list, const std::string& text) {
    return std::find(list.begin(), list.end(), text) != list.end();
}

// An indexed list: fetch(i) gives one text.
template <typename Fetch>
List FetchList(std::int32_t number, const Fetch& fetch) {
    List list;
    for (std::int32_t index = 0; index < number; ++index)
        list.push_back(fetch(index));
    return list;
}

}  // namespace

PluginEngine::PluginEngine(const util::LoaderSeams& seams) : m_seams(seams) {}

void PluginEngine::Create(const std::filesystem::path& libraryPath, void* loaderFirst, void* loaderSecond) {
    const std::lock_guard lock(m_mutex);
    if (!util::PathExists(libraryPath, m_seams)) {
        throw std::runtime_error(QuotedPathText(libraryPath, m_seams.conversion) + " not exists.");
    }
    const std::wstring widePath = WidePathText(libraryPath, m_seams.conversion);
    m_libraryVersion = QueryLibraryVersion(widePath, loaderFirst, loaderSecond);
    WarnOfOtherVersion();
    if (!TryNarrowPath(libraryPath, loaderFirst, loaderSecond)) CreateEngine(widePath, loaderFirst, loaderSecond);
}

std::string PluginEngine::GetSelfVersion() {
    const std::lock_guard lock(m_mutex);
    RequireEngine();
    const auto askLength = [this] {
        std::uint64_t length = 0;
        m_functionHandle->hvqSelfVersion(m_engineHandle.get(), &length, nullptr);
        return length;
    };
    const auto fill = [this](char* buffer) { m_functionHandle->hvqSelfVersion(m_engineHandle.get(), nullptr, buffer); };
    return FetchText(askLength, fill, [this] { CheckException(); });
}

List PluginEngine::GetSupportEngines() {
    RequireEngine();
    void* const engine = m_engineHandle.get();
    const std::int32_t number = m_functionHandle->hvqGetSupportEngineNumber(engine);
    CheckException();
    return FetchList(number, [&](std::int32_t index) {
        return FetchText([&] { return m_functionHandle->hvqGetSupportEngineLength(engine, index); },
                         [&](char* buffer) { m_functionHandle->hvqGetSupportEngine(engine, index, buffer); },
                         [this] { CheckException(); });
    });
}

void PluginEngine::CheckEngine(const std::string& engineName) {
    const std::lock_guard lock(m_mutex);
    if (engineName.empty()) throw std::runtime_error("engine_name argument is a empty string. please check!");
    const List engines = GetSupportEngines();
    if (Contains(engines, engineName)) return;

    std::string text = "[" + engineName + "] is not a supported Engine.\n";
    if (engines.empty()) {
        text += "This library Not Supported any Engine.";
    } else {
        text += "Supported Engines: ";
        for (const std::string& engine : engines)
            text.append(engine).append(" ");
    }
    throw std::runtime_error(text);
}

List PluginEngine::GetSupportDevices(const std::string& engineName) {
    RequireEngine();
    CheckEngine(engineName);
    void* const engine = m_engineHandle.get();
    const char* const name = engineName.c_str();
    const std::int32_t number = m_functionHandle->hvqGetSupportDeviceNumber(engine, name);
    CheckException();
    return FetchList(number, [&](std::int32_t index) {
        return FetchText([&] { return m_functionHandle->hvqGetSupportDeviceLength(engine, name, index); },
                         [&](char* buffer) { m_functionHandle->hvqGetSupportDevice(engine, name, index, buffer); },
                         [this] { CheckException(); });
    });
}

List PluginEngine::GetSupportBuiltinModels(const std::string& engineName) {
    const std::lock_guard lock(m_mutex);
    RequireEngine();
    CheckEngine(engineName);
    void* const engine = m_engineHandle.get();
    const char* const name = engineName.c_str();
    const std::int32_t number = m_functionHandle->hvqGetSupportBuiltinModelNumber(engine, name);
    CheckException();
    return FetchList(number, [&](std::int32_t index) {
        return FetchText(
            [&] { return m_functionHandle->hvqGetSupportBuiltinModelLength(engine, name, index); },
            [&](char* buffer) { m_functionHandle->hvqGetSupportBuiltinModelID(engine, name, index, buffer); },
            [this] { CheckException(); });
    });
}

bool PluginEngine::HasInnerModel(const std::string& modelId, const std::string& engineName) {
    const std::lock_guard lock(m_mutex);
    if (modelId.empty()) throw std::runtime_error("model_id argument is a empty string. please check!");
    if (!engineName.empty()) {
        CheckEngine(engineName);
        return Contains(GetSupportBuiltinModels(engineName), modelId);
    }
    for (const std::string& engine : GetSupportEngines()) {
        if (Contains(GetSupportBuiltinModels(engine), modelId)) return true;
    }
    return false;
}

void PluginEngine::RegisterModel(const std::string& modelId, const std::string& modelLibPath) {
    if (!HasEngine()) throw std::runtime_error("Please use hvq library path create dynamic load handle!");
    if (modelLibPath.empty()) throw std::runtime_error("model_lib_path argument is a empty string. please check!");
    if (!util::FileExists(modelLibPath, m_seams)) throw std::runtime_error(modelLibPath + " not exists.");
    if (HasInnerModel(modelId, "")) {
        throw std::runtime_error("Model id[" + modelId + "] is existed! Please use another one.");
    }
    m_functionHandle->hvqRegisterModelAsInnerIDwithString(m_engineHandle.get(), modelId.c_str(), modelLibPath.c_str());
    CheckException();
}

MutablePropertyMap PluginEngine::GetEngineMutableProperties(const std::string& engineName) {
    if (!HasEngine()) return {};
    CheckEngine(engineName);
    const auto ask = m_functionHandle->hvqGetEngineMutableProperties;
    void* const engine = m_engineHandle.get();
    const char* const nameOfEngine = engineName.c_str();

    std::int32_t count = -1;
    ask(engine, &count, -1, nullptr, nullptr, nullptr, nullptr, nameOfEngine);
    CheckException();
    MutablePropertyMap properties;
    for (std::int32_t index = 0; index < count; ++index) {
        std::int32_t nameLength = -1;
        std::int32_t typeLength = -1;
        ask(engine, nullptr, index, &nameLength, nullptr, &typeLength, nullptr, nameOfEngine);
        CheckException();
        std::string name = ZeroText(nameLength);
        std::string type = ZeroText(typeLength);
        ask(engine, nullptr, index, nullptr, name.data(), nullptr, type.data(), nameOfEngine);
        CheckException();
        properties.insert_or_assign(std::move(name), std::move(type));
    }
    return properties;
}

void PluginEngine::CreateNetwork(const std::string& engineName, const std::string& networkId,
                                 const std::string& deviceName, const std::string& modelId,
                                 const PropertyMap& properties) {
    const std::lock_guard lock(m_mutex);
    RequireEngine();
    if (!HasInnerModel(modelId, engineName)) {
        throw std::runtime_error(engineName + " no [" + modelId + "] inner model! Please check.");
    }
    if (!properties.empty()) {
        const MutablePropertyMap mutableProperties = GetEngineMutableProperties(engineName);
        for (const auto& [name, value] : properties)
            SetProperty(engineName, networkId, mutableProperties, name, value);
    }
    m_functionHandle->hvqCreateNetByBuiltin(m_engineHandle.get(), engineName.c_str(), networkId.c_str(),
                                            deviceName.c_str(), modelId.c_str());
    CheckException();  // of the properties too, which have no check of their own
}

std::string PluginEngine::GetCurrentNetworkDevice() {
    const std::lock_guard lock(m_mutex);
    RequireEngine();
    void* const engine = m_engineHandle.get();
    return FetchText([&] { return m_functionHandle->hvqGetCurrentNetworkDeviceLength(engine); },
                     [&](char* buffer) { m_functionHandle->hvqGetCurrentNetworkDevice(engine, buffer); },
                     [this] { CheckException(); });
}

Dims PluginEngine::GetLayerDims(const std::string& layerName) {
    const std::lock_guard lock(m_mutex);
    RequireEngine();
    std::uint64_t count = 0;
    m_functionHandle->hvqGetLayerDims(m_engineHandle.get(), layerName.c_str(), nullptr, &count);
    CheckException();
    if (count > kMostDims) throw std::length_error("vector too long");
    Dims dims(static_cast<std::size_t>(count), 0);
    m_functionHandle->hvqGetLayerDims(m_engineHandle.get(), layerName.c_str(), dims.empty() ? nullptr : dims.data(),
                                      &count);
    CheckException();
    return dims;
}

void PluginEngine::SetLayerData(const std::string& layerName, const void* data, const Dims& dims) {
    const std::lock_guard lock(m_mutex);
    RequireEngine();
    m_functionHandle->hvqSetLayerData(m_engineHandle.get(), layerName.c_str(), data, dims.data(), dims.size());
    CheckException();
}

const void* PluginEngine::GetLayerData(const std::string& layerName) {
    const std::lock_guard lock(m_mutex);
    RequireEngine();
    const void* const data = m_functionHandle->hvqGetLayerData(m_engineHandle.get(), layerName.c_str());
    CheckException();
    return data;
}

void PluginEngine::Infer() {
    const std::lock_guard lock(m_mutex);
    m_functionHandle->hvqInfer(m_engineHandle.get());
    CheckException();
}

void PluginEngine::CheckException() {
    const std::lock_guard lock(m_mutex);
    void* const engine = m_engineHandle.get();  // null when its creation has just failed; the library answers for that
    if (m_functionHandle->hvqHasException(engine) == 0) return;
    std::uint64_t length = 0;
    m_functionHandle->hvqGetExceptionStringLength(engine, &length);
    std::string text = ZeroText(length);
    m_functionHandle->hvqGetExceptionString(engine, text.data());
    m_functionHandle->hvqResetExceptionString(engine);  // before the throw, so that the next call starts clean
    throw std::runtime_error(text);
}

std::string PluginEngine::QueryLibraryVersion(const std::wstring& path, void* loaderFirst, void* loaderSecond) const {
    FunctionHandle functions;  // declared before the engine, so that the library goes after it
    functions.shared_library_handle_object = util::load_shared_object(path, nullptr, m_seams);
    if (!functions.shared_library_handle_object) {
        throw std::runtime_error("Dynamic load hvq library failed, please check!");
    }
    BindVersionFunctions(functions, m_seams);

    // Destroyed even when it is null, unlike the engine that stays.
    const auto destroy = [&functions](void* engine) { functions.hvqDestory(engine); };
    const std::shared_ptr<void> engine(functions.hvqCreateWithLibraryLoader(loaderFirst, loaderSecond), destroy);
    if (!engine) throw std::runtime_error("Create hvq engine failed, please check!");
    const auto askLength = [&] {
        std::uint64_t length = 0;
        functions.hvqSelfVersion(engine.get(), &length, nullptr);
        return length;
    };
    const auto fill = [&](char* buffer) { functions.hvqSelfVersion(engine.get(), nullptr, buffer); };
    return FetchText(askLength, fill, [] {});  // nothing asks for exceptions here: that function isn't even bound
}

void PluginEngine::WarnOfOtherVersion() const {
    if (m_libraryVersion == HVQ_HEADER_VERSION) return;
    const std::string warning = std::string("[HVQ Warning] Program build with HVQ header version(") +
                                HVQ_HEADER_VERSION + "), not match current use HVQ dynamic library version(" +
                                m_libraryVersion +
                                "). If init() there have any issue, please make two versions same first.\n";
    m_seams.streams.Write(platform::StandardStream::Error, warning + "\n");
}

// False when that failed, for whatever reason: the wide path is tried next, and tells what is wrong.
bool PluginEngine::TryNarrowPath(const std::filesystem::path& path, void* loaderFirst, void* loaderSecond) {
    try {
        CreateEngine(NarrowPathText(path, m_seams), loaderFirst, loaderSecond);
        return true;
    } catch (...) {
        return false;
    }
}

void PluginEngine::CreateEngine(const std::string& path, void* loaderFirst, void* loaderSecond) {
    CreateEngineFrom([&] { return util::load_shared_object(path, m_seams); }, "[string]", loaderFirst, loaderSecond);
}

void PluginEngine::CreateEngine(const std::wstring& path, void* loaderFirst, void* loaderSecond) {
    CreateEngineFrom([&] { return util::load_shared_object(path, nullptr, m_seams); }, "[wstring]", loaderFirst,
                     loaderSecond);
}

template <typename Load>
void PluginEngine::CreateEngineFrom(const Load& load, const std::string& tag, void* loaderFirst, void* loaderSecond) {
    const std::lock_guard lock(m_mutex);
    m_functionHandle = std::make_shared<FunctionHandle>();
    m_functionHandle->shared_library_handle_object = load();
    if (!m_functionHandle->shared_library_handle_object) {
        throw std::runtime_error(tag + " Dynamic load hvq library failed, please check!");
    }
    BindFunctions(m_functionHandle, m_seams);

    // The deleter's own reference keeps the library until hvqDestory has returned, whatever becomes of the member.
    const auto destroy = [functions = m_functionHandle](void* engine) {
        if (engine != nullptr) functions->hvqDestory(engine);
    };
    m_engineHandle =
        std::shared_ptr<void>(m_functionHandle->hvqCreateWithLibraryLoader(loaderFirst, loaderSecond), destroy);
    CheckException();  // with a null engine too: the library answers for the last failed creation
    if (!m_engineHandle) throw std::runtime_error(tag + " Create hvq engine failed, please check!");
}

bool PluginEngine::HasEngine() const {
    return m_functionHandle && m_engineHandle;
}

void PluginEngine::RequireEngine() const {
    if (!HasEngine()) throw std::runtime_error("Please create hvq library handle first of all!");
}

void PluginEngine::SetProperty(const std::string& engineName, const std::string& networkId,
                               const MutablePropertyMap& mutableProperties, const std::string& name,
                               const std::any& value) {
    const auto found = mutableProperties.find(name);
    if (found == mutableProperties.end()) {
        throw std::runtime_error(engineName + " no " + name + " property! Please check.");
    }
    const std::string& typeName = found->second;
    const auto refuse = [&] {
        throw std::runtime_error(name + " need " + typeName + " type, but the property_value is not! Please check.");
    };
    const auto set = [&](const void* text) {
        m_functionHandle->hvqSetEnginePropertyForNetwork(m_engineHandle.get(), engineName.c_str(), networkId.c_str(),
                                                         name.c_str(), typeName.c_str(), text);
    };
    if (typeName == kPathType) {
        const auto* const path = std::any_cast<std::filesystem::path>(&value);
        if (path == nullptr) refuse();
        set(WidePathText(*path, m_seams.conversion).c_str());
    } else if (typeName == kStringType) {
        const auto* const text = std::any_cast<std::string>(&value);
        if (text == nullptr) refuse();
        set(text->c_str());
    }
    // Any other type is one that this program can't make: the library keeps its own value.
}

}  // namespace hvq::inference
