#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "standin/network.h"
#include "standin/pending_error.h"
#include "standin/remarks.h"

namespace standin {

// A registered model: an id for a file.
struct Model {
    std::string id;
    std::filesystem::path file;
};

// A network with what the interface calls it.
struct NamedNetwork {
    std::string id;
    std::string engineName;
    std::string deviceName;  // the one in use
    std::unique_ptr<Network> network;
};

// The one engine on offer, and its devices; "AUTO" comes to the processor.
inline constexpr std::string_view kEngineNames[] = {"OpenVINO"};
inline constexpr std::string_view kDeviceNames[] = {"AUTO", "CPU"};
inline constexpr std::string_view kDeviceInUse = "CPU";

// What one engine handle stands for. Operations throw std::runtime_error with a text that names what was wrong, and
// std::bad_alloc. Lock: the caller holds Mutex() throughout.
class Engine {
 public:
    // Throws what Runtime::Instance does.
    Engine();

    [[nodiscard]] std::mutex& Mutex() { return m_mutex; }
    [[nodiscard]] PendingError& Pending() { return m_pending; }
    [[nodiscard]] Remarks& GetRemarks() { return m_remarks; }
    [[nodiscard]] const Runtime& GetRuntime() const { return m_runtime; }

    static void CheckEngineName(std::string_view engineName);
    static void CheckDevice(std::string_view engineName, std::string_view deviceName);

    void RegisterModel(std::string_view id, const std::filesystem::path& file);
    void UnregisterModel(std::string_view id);
    [[nodiscard]] const std::vector<Model>& Models() const { return m_models; }
    [[nodiscard]] const Model& FindModel(std::string_view id) const;

    void SetProperty(std::string_view engineName, std::string_view networkId, std::string_view name,
                     std::string_view typeName, const void* value);

    // Makes a network of bytes and makes it the current one. `source` names the bytes in texts.
    void CreateNetwork(std::string_view engineName, std::string_view networkId, std::string_view deviceName,
                       const Bytes& bytes, const std::string& source);

    // What CreateNetwork would refuse before it looks at the bytes.
    void CheckNewNetwork(std::string_view engineName, std::string_view networkId, std::string_view deviceName) const;

    void RemoveNetwork(std::string_view id);
    void SwitchNetwork(std::string_view id);
    [[nodiscard]] const std::vector<std::unique_ptr<NamedNetwork>>& Networks() const { return m_networks; }
    [[nodiscard]] const NamedNetwork& FindNetwork(std::string_view id) const;
    [[nodiscard]] const NamedNetwork& Current() const;

 private:
    std::mutex m_mutex;
    PendingError m_pending;
    const Runtime& m_runtime;
    Remarks m_remarks;  // before the networks, which speak to it to their end
    std::vector<Model> m_models;
    std::map<std::string, NetworkSettings, std::less<>> m_settings;  // by network id
    std::vector<std::unique_ptr<NamedNetwork>> m_networks;           // by age
    NamedNetwork* m_current = nullptr;                               // one of m_networks
};

}  // namespace standin
