#include "helpers/engine_bring_up.h"

#include <algorithm>
#include <any>
#include <array>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <string>
#include <type_traits>

#include "engine/file_exists.h"
#include "helpers/model_tables.h"
#include "infra/log_line.h"
#include "infra/module_directory.h"
#include "infra/steady_clock.h"
#include "infra/wide_text.h"

namespace rvo_calyr {
namespace {

using hvq::inference::PluginEngine;

constexpr char kLibraryName[] = "hvq.dll";
constexpr char kCacheProperty[] = "CACHE_DIR";
constexpr char kThreadsProperty[] = "INFERENCE_THREADS_NUMBER";
constexpr char kStreamsProperty[] = "RUNTIME_STREAMS_NUMBER";
constexpr std::int32_t kProcessorDevice = 1;  // index of kDeviceNames
constexpr std::int32_t kGraphicsDevice = 2;

// A text field ends at its first NUL or with its last byte.
std::string TextOf(const char (&field)[kPathBytes]) {
    return {field, std::find(field, field + kPathBytes, '\0')};
}

// Where a path is made of bytes, it takes the text's as they stand.
std::filesystem::path PathOf(const std::string& text, platform::CodePage codePage,
                             platform::TextConversion& conversion) {
    if constexpr (std::is_same_v<std::filesystem::path::value_type, char>) {
        return text;
    } else {
        std::wstring wide = infra::Utf8ToWide(text, codePage, conversion);
        if (!wide.empty()) wide.pop_back();  // the terminator, which the conversion counts in
        return wide;
    }
}

template <class List>
bool Contains(const List& list, const std::string& text) {
    return std::find(list.begin(), list.end(), text) != list.end();
}

// Where library and model lie.
struct Paths {
    std::string engine;
    std::string model;
    std::string cache;
};

// One bring-up, with what its steps share.
class BringUp {
 public:
    BringUp(const BringUpRequest& request, const HelperSeams& seams)
        : m_request(request),
          m_seams(seams),
          m_startNs(infra::NowNs(seams.clock)),
          m_device(kDeviceNames[request.option.deviceType]),
          m_paths{TextOf(request.option.enginePath), TextOf(request.option.modelPath),
                  TextOf(request.option.gpuCachePath)} {}

    std::unique_ptr<PluginEngine> Run() {
        CompletePaths();
        const std::filesystem::path library = PathOf(m_paths.engine, platform::CodePage::Utf8, m_seams.conversion);
        LogLine("RvoHvqHelper::InitHvq()")
            .Value("deviceType", m_device)
            .Value("modelQuality", m_request.option.modelQuality)
            .Value("enginePath", m_paths.engine)
            .Value("modelPath", m_paths.model)
            .Value("gpuCachePath", m_paths.cache)
            .This(m_request.helper)
            .Log(kInfoLevel);
        if (!hvq::util::PathExists(library, m_seams.loader)) {
            LogLine("RvoHvqHelper::InitHvq(), hvq lib not exists").This(m_request.helper).Log(kErrorLevel);
            return nullptr;
        }
        std::unique_ptr<PluginEngine> engine;
        try {
            engine = std::make_unique<PluginEngine>(m_seams.loader);
            if (!CreateEngine(*engine, library) || !ChooseDevice(*engine)) return nullptr;
            CreateNetwork(*engine);
            return engine;
        } catch (const std::exception& error) {
            engine.reset();  // before the line, so that whoever reads it finds the library unloaded
            LogFailure(error);
            return nullptr;
        }
    }

 private:
    // An empty folder is the program's own.
    void CompletePaths() {
        static const char kHere = 0;
        std::array<char, kPathBytes> folder{};
        const std::int32_t code = infra::GetModuleDirectory(&kHere, folder.data(), folder.size(), m_seams.moduleFiles);
        if (code != 0) {
            LogLine("RvoHvqHelper::InitHvq(), get module path failed")
                .Value("ret", code)
                .This(m_request.helper)
                .Log(kInfoLevel);
        }
        if (m_paths.engine.empty()) m_paths.engine = folder.data();
        m_paths.engine.append(infra::g_pathSeparator).append(kLibraryName);
        if (m_paths.model.empty()) m_paths.model = folder.data();
        m_paths.model.append(infra::g_pathSeparator).append(m_request.modelName);
    }

    // False, with a line, when the library does not have the engine.
    bool CreateEngine(PluginEngine& engine, const std::filesystem::path& library) {
        engine.Create(library, nullptr, nullptr);
        LogLine("RvoHvqHelper::InitHvq(), hvq engine")
            .Value("version", engine.GetSelfVersion())
            .Value("engineName", m_request.engineName)
            .Value("duration", infra::ElapsedMs(m_startNs, m_seams.clock))
            .This(m_request.helper)
            .Log(kInfoLevel);
        if (Contains(engine.GetSupportEngines(), m_request.engineName)) return true;
        LogLine("RvoHvqHelper::InitHvq(), not support engine")
            .Value("m_engineName", m_request.engineName)
            .This(m_request.helper)
            .Log(kErrorLevel);
        return false;
    }

    // A missing graphics device alone falls back, to the processor; any other missing device is an error, the neural
    // processor too. False, with a line, when there is no device to run on.
    bool ChooseDevice(PluginEngine& engine) {
        const hvq::inference::List devices = engine.GetSupportDevices(m_request.engineName);
        if (Contains(devices, m_device)) return true;
        if (m_request.option.deviceType == kGraphicsDevice) {
            LogLine("RvoHvqHelper::InitHvq(), not support device")
                .Value("deviceType", m_device)
                .Text(", fallback to CPU")
                .This(m_request.helper)
                .Log(kWarningLevel);
            m_device = kDeviceNames[kProcessorDevice];
            if (Contains(devices, m_device)) return true;
        }
        LogLine("RvoHvqHelper::InitHvq(), not support device")
            .Value("deviceType", m_device)
            .This(m_request.helper)
            .Log(kErrorLevel);
        return false;
    }

    void CreateNetwork(PluginEngine& engine) {
        const std::string modelId = m_request.pluginId + "_" + m_request.engineName;
        const std::string networkId = modelId + "_" + m_device;
        if (!Contains(engine.GetSupportBuiltinModels(m_request.engineName), modelId)) {
            engine.RegisterModel(modelId, m_paths.model);
        }
        const hvq::inference::PropertyMap properties =
            Properties(engine.GetEngineMutableProperties(m_request.engineName));
        engine.CreateNetwork(m_request.engineName, networkId, m_device, modelId, properties);
        LogLine("RvoHvqHelper::InitHvq(), create engine success")
            .Value("m_engineName", m_request.engineName)
            .Value("networkId", networkId)
            .Value("deviceType", engine.GetCurrentNetworkDevice())
            .Value("duration", infra::ElapsedMs(m_startNs, m_seams.clock))
            .This(m_request.helper)
            .Log(kInfoLevel);
    }

    // What is set, of what the engine offers. The rest of it is passed over in silence.
    hvq::inference::PropertyMap Properties(const hvq::inference::MutablePropertyMap& offered) {
        hvq::inference::PropertyMap properties;
        if (!m_paths.cache.empty() && offered.contains(kCacheProperty)) {
            // By the file system's code page, like the model's path, which goes to the library as it stands.
            properties[kCacheProperty] = PathOf(m_paths.cache, platform::CodePage::System, m_seams.conversion);
        }
        if (m_device == kDeviceNames[kProcessorDevice]) {
            // One thread: the engine runs beside video encoding and all the rest that the parent does.
            LimitToOne(kThreadsProperty, "RvoHvqHelper::InitHvq(), CPU device, limiting inference threads to 1",
                       offered, properties);
            LimitToOne(kStreamsProperty, "RvoHvqHelper::InitHvq(), CPU device, limiting runtime streams to 1", offered,
                       properties);
        }
        return properties;
    }

    void LimitToOne(const char* property, const char* message, const hvq::inference::MutablePropertyMap& offered,
                    hvq::inference::PropertyMap& properties) const {
        if (!offered.contains(property)) return;
        properties[property] = std::string("1");
        LogLine(message).This(m_request.helper).Log(kInfoLevel);
    }

    void LogFailure(const std::exception& error) const {
        LogLine("RvoHvqHelper::InitHvq(), failed, error=")
            .Text(error.what())
            .Value("m_engineName", m_request.engineName)
            .Value("deviceType", m_device)
            .Value("modelPath", m_paths.model)
            .This(m_request.helper)
            .Log(kErrorLevel);
    }

    const BringUpRequest& m_request;
    const HelperSeams& m_seams;
    const std::int64_t m_startNs;
    std::string m_device;  // may fall back
    Paths m_paths;
};

}  // namespace

std::unique_ptr<PluginEngine> BringUpEngine(const BringUpRequest& request, const HelperSeams& seams) {
    return BringUp(request, seams).Run();
}

}  // namespace rvo_calyr
