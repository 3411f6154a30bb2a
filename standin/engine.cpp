#include "standin/engine.h"

#include <algorithm>
#include <stdexcept>

#include "standin/texts.h"

namespace standin {
namespace {

template <typename List, typename Id>
auto Position(List& list, std::string_view id, Id idOf) {
    return std::find_if(list.begin(), list.end(), [&](const auto& entry) { return idOf(entry) == id; });
}

std::string_view IdOf(const Model& model) {
    return model.id;
}
std::string_view IdOfNetwork(const std::unique_ptr<NamedNetwork>& network) {
    return network->id;
}

}  // namespace

Engine::Engine() : m_runtime(Runtime::Instance()) {}

void Engine::CheckEngineName(std::string_view engineName) {
    if (engineName != kEngineNames[0]) {
        throw std::runtime_error("there is no engine " + std::string(engineName) + ", only " +
                                 std::string(kEngineNames[0]));
    }
}

void Engine::CheckDevice(std::string_view engineName, std::string_view deviceName) {
    CheckEngineName(engineName);
    if (std::find(std::begin(kDeviceNames), std::end(kDeviceNames), deviceName) == std::end(kDeviceNames)) {
        std::string text = "engine " + std::string(engineName) + " has no device " + std::string(deviceName) + ", only";
        for (const std::string_view name : kDeviceNames)
            text += " " + std::string(name);
        throw std::runtime_error(text);
    }
}

void Engine::RegisterModel(std::string_view id, const std::filesystem::path& file) {
    if (id.empty()) throw std::runtime_error("the model id is empty");
    const auto known = Position(m_models, id, IdOf);
    if (known != m_models.end()) {
        throw std::runtime_error("model id " + std::string(id) + " is taken by " + Utf8(known->file));
    }
    if (!std::filesystem::exists(file)) throw std::runtime_error(Utf8(file) + ": there is no such file");
    if (std::filesystem::is_directory(file)) throw std::runtime_error(Utf8(file) + ": it is a folder");
    m_models.push_back({std::string(id), file});
}

void Engine::UnregisterModel(std::string_view id) {
    (void)FindModel(id);
    m_models.erase(Position(m_models, id, IdOf));
}

const Model& Engine::FindModel(std::string_view id) const {
    const auto found = Position(m_models, id, IdOf);
    if (found == m_models.end()) throw std::runtime_error("no model is registered as " + std::string(id));
    return *found;
}

void Engine::SetProperty(std::string_view engineName, std::string_view networkId, std::string_view name,
                         std::string_view typeName, const void* value) {
    CheckEngineName(engineName);
    if (networkId.empty()) throw std::runtime_error("the network id is empty");
    if (Position(m_networks, networkId, IdOfNetwork) != m_networks.end()) {
        throw std::runtime_error("network " + std::string(networkId) + " exists already: property " +
                                 std::string(name) + " has to be set before");
    }
    auto known = m_settings.find(networkId);
    NetworkSettings settings = known == m_settings.end() ? NetworkSettings() : known->second;
    standin::SetProperty(settings, name, typeName, value);
    m_settings[std::string(networkId)] = settings;
}

void Engine::CheckNewNetwork(std::string_view engineName, std::string_view networkId,
                             std::string_view deviceName) const {
    CheckDevice(engineName, deviceName);
    if (networkId.empty()) throw std::runtime_error("the network id is empty");
    if (Position(m_networks, networkId, IdOfNetwork) != m_networks.end()) {
        throw std::runtime_error("there is a network " + std::string(networkId) + " already");
    }
}

void Engine::CreateNetwork(std::string_view engineName, std::string_view networkId, std::string_view deviceName,
                           const Bytes& bytes, const std::string& source) {
    CheckNewNetwork(engineName, networkId, deviceName);
    const auto known = m_settings.find(networkId);
    const NetworkSettings settings = known == m_settings.end() ? NetworkSettings() : known->second;
    auto network = std::make_unique<NamedNetwork>(
        NamedNetwork{std::string(networkId), std::string(engineName), std::string(kDeviceInUse),
                     std::make_unique<Network>(m_runtime, bytes, source, settings, m_remarks)});
    m_networks.push_back(std::move(network));
    m_current = m_networks.back().get();
}

void Engine::RemoveNetwork(std::string_view id) {
    const NamedNetwork& network = FindNetwork(id);
    if (m_current == &network) m_current = nullptr;
    if (const auto settings = m_settings.find(id); settings != m_settings.end()) m_settings.erase(settings);
    m_networks.erase(Position(m_networks, id, IdOfNetwork));
}

void Engine::SwitchNetwork(std::string_view id) {
    (void)FindNetwork(id);
    m_current = Position(m_networks, id, IdOfNetwork)->get();
}

const NamedNetwork& Engine::FindNetwork(std::string_view id) const {
    const auto found = Position(m_networks, id, IdOfNetwork);
    if (found == m_networks.end()) throw std::runtime_error("there is no network " + std::string(id));
    return **found;
}

const NamedNetwork& Engine::Current() const {
    if (m_current == nullptr) throw std::runtime_error("there is no current network");
    return *m_current;
}

}  // namespace standin
