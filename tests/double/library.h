#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "call_text.h"
#include "engine.h"
#include "scenario.h"
#include "script.h"

namespace hvq_double {

// All that one loaded copy of the double knows. Thread: any.
class Library {
 public:
    // The one of this copy; goes when the copy is unloaded.
    static Library& Instance();

    Library();
    ~Library();
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;

    std::int32_t StartScript(const char* text);
    std::int32_t AddScript(const char* text);
    std::string Calls();
    void ForgetCalls();
    std::uint32_t ThreadNumber();
    void OpenGate(const std::string& name);
    bool AwaitGate(const std::string& name, std::uint32_t count, std::uint32_t limitMs);
    std::vector<float> Input(const std::string& layerName);
    std::size_t EngineCount();

 private:
    friend class Turn;

    struct RecordedCall {
        std::uint32_t thread = 0;
        std::string text;
    };
    struct GateState {
        bool isOpen = false;
        std::uint32_t arrived = 0;
    };

    // All of these with m_mutex held.
    std::uint32_t NumberOfThisThread();
    void ReadScriptFileOnce();
    void ScenarioChanged();
    void Record(std::string text);
    Engine* Find(const void* engine);
    void WaitAtGate(std::unique_lock<std::mutex>& lock, const std::string& name);
    bool HasGateFile(const std::string& name) const;

    std::mutex m_mutex;
    std::condition_variable m_changed;
    Scenario m_scenario = DefaultScenario();
    std::uint64_t m_scenarioNumber = 1;
    CallCounts m_counts{};
    std::vector<RecordedCall> m_calls;
    std::map<std::thread::id, std::uint32_t> m_threads;
    std::map<std::string, GateState> m_gates;
    std::map<const void*, std::unique_ptr<Engine>> m_engines;
    std::uint32_t m_created = 0;
    // Kept here and not in each thread: what a thread keeps would have to outlive the library.
    std::map<std::thread::id, std::string> m_failedCreations;
    std::map<std::string, std::vector<float>> m_inputs;
    bool m_isScripted = false;              // by the test or by the file; the file is looked for once
    std::filesystem::path m_folder;         // where the library lies, when the script came from a file
    std::optional<std::string> m_obstacle;  // why the script file can't be used
    std::ofstream m_file;                   // open when the script names a record
};

}  // namespace hvq_double
