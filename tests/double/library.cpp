#include "library.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <iterator>
#include <sstream>
#include <string_view>
#include <system_error>
#include <utility>

#include "infra/module_directory.h"

namespace hvq_double {
namespace {

// Nobody waits longer, so that a test that goes wrong ends.
constexpr std::chrono::minutes kPatience(2);

// Where this library lies: with a test's own copy, in the test's own folder.
std::filesystem::path OwnFolder() {
    static const int kHere = 0;
    char folder[1024] = {};
    if (infra::GetModuleDirectory(&kHere, folder, sizeof(folder)) != 0) return {};
    const std::string_view bytes = folder;
    return std::filesystem::path(std::u8string(bytes.begin(), bytes.end()));
}

std::string Contents(std::istream& stream) {
    return {std::istreambuf_iterator<char>(stream), {}};
}

// The calls that an earlier load of the library has recorded count on.
void CountRecorded(const std::filesystem::path& file, CallCounts& counts) {
    std::ifstream recorded(file, std::ios::binary);
    std::string line;
    while (std::getline(recorded, line)) {
        std::istringstream words(line);
        std::string thread;
        std::string name;
        words >> thread >> name;
        for (std::size_t index = 0; index < kFunctionCount; ++index) {
            if (name == kFunctionNames[index]) ++counts[index];
        }
    }
}

}  // namespace

Library& Library::Instance() {
    static Library library;
    return library;
}

Library::Library() = default;

Library::~Library() {
    if (m_file.is_open()) m_file << "0 unloaded\n" << std::flush;
}

std::int32_t Library::StartScript(const char* text) {
    const std::lock_guard lock(m_mutex);
    m_isScripted = true;
    m_obstacle.reset();
    m_counts = {};
    m_calls.clear();
    m_gates.clear();
    m_failedCreations.clear();
    m_inputs.clear();
    m_file.close();
    m_scenario = DefaultScenario();
    const std::int32_t badLine = RunScript(text, m_counts, m_scenario);
    ScenarioChanged();
    return badLine;
}

std::int32_t Library::AddScript(const char* text) {
    const std::lock_guard lock(m_mutex);
    const std::int32_t badLine = RunScript(text, m_counts, m_scenario);
    ScenarioChanged();
    return badLine;
}

std::string Library::Calls() {
    const std::lock_guard lock(m_mutex);
    std::string all;
    for (const RecordedCall& call : m_calls)
        all.append(std::to_string(call.thread)).append(" ").append(call.text).append("\n");
    return all;
}

void Library::ForgetCalls() {
    const std::lock_guard lock(m_mutex);
    m_calls.clear();
}

std::uint32_t Library::ThreadNumber() {
    const std::lock_guard lock(m_mutex);
    return NumberOfThisThread();
}

void Library::OpenGate(const std::string& name) {
    const std::lock_guard lock(m_mutex);
    m_gates[name].isOpen = true;
    m_changed.notify_all();
}

bool Library::AwaitGate(const std::string& name, std::uint32_t count, std::uint32_t limitMs) {
    std::unique_lock lock(m_mutex);
    const auto end = std::chrono::system_clock::now() + std::chrono::milliseconds(limitMs);
    return m_changed.wait_until(lock, end, [&] { return m_gates[name].arrived >= count; });
}

std::vector<float> Library::Input(const std::string& layerName) {
    const std::lock_guard lock(m_mutex);
    return m_inputs[layerName];
}

std::size_t Library::EngineCount() {
    const std::lock_guard lock(m_mutex);
    return m_engines.size();
}

std::uint32_t Library::NumberOfThisThread() {
    const auto next = static_cast<std::uint32_t>(m_threads.size() + 1);
    return m_threads.try_emplace(std::this_thread::get_id(), next).first->second;
}

void Library::ReadScriptFileOnce() {
    if (std::exchange(m_isScripted, true)) return;
    const std::filesystem::path folder = OwnFolder();
    std::ifstream file(folder / "hvq.script", std::ios::binary);
    if (!file) return;
    m_folder = folder;
    const std::int32_t badLine = RunScript(Contents(file), m_counts, m_scenario);
    if (badLine != 0) m_obstacle = "hvq.script, line " + std::to_string(badLine) + ", can't be understood.";
    if (m_scenario.record) CountRecorded(m_folder / *m_scenario.record, m_counts);
    ScenarioChanged();
}

void Library::ScenarioChanged() {
    ++m_scenarioNumber;
    if (!m_scenario.record || m_file.is_open()) return;
    if (m_folder.empty()) m_folder = OwnFolder();
    m_file.open(m_folder / *m_scenario.record, std::ios::binary | std::ios::app);
    m_file << "0 loaded\n" << std::flush;
}

void Library::Record(std::string text) {
    const std::uint32_t thread = NumberOfThisThread();
    if (m_file.is_open()) m_file << thread << ' ' << text << '\n' << std::flush;
    m_calls.push_back({thread, std::move(text)});
}

Engine* Library::Find(const void* engine) {
    const auto found = m_engines.find(engine);
    return found == m_engines.end() ? nullptr : found->second.get();
}

void Library::WaitAtGate(std::unique_lock<std::mutex>& lock, const std::string& name) {
    ++m_gates[name].arrived;
    m_changed.notify_all();
    const auto end = std::chrono::system_clock::now() + kPatience;
    // A test in another process opens the gate by making a file, which nothing here is told of.
    const bool asksForFile = !m_folder.empty();
    while (!m_gates[name].isOpen && std::chrono::system_clock::now() < end) {
        if (asksForFile && HasGateFile(name)) break;
        const auto next = asksForFile ? std::chrono::system_clock::now() + std::chrono::milliseconds(5) : end;
        (void)m_changed.wait_until(lock, next);
    }
}

bool Library::HasGateFile(const std::string& name) const {
    std::error_code ignored;
    return std::filesystem::exists(m_folder / (name + ".open"), ignored);
}

}  // namespace hvq_double
