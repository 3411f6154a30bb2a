#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/module_loader.h"

namespace scripted_double {

// Which library it is: the whole one, or one that lacks exports.
enum class Variant { Whole, WithoutLogCallback, WithoutLayerPrecision, WithoutOptional, WithoutVersion, WithoutInfer };

struct Call {
    std::uint32_t thread = 0;  // as ThreadNumber
    std::string text;          // the function, then its arguments
};

// A folder for one test, beside the test program, with a copy of the double in it. Goes with the object.
// Throws std::runtime_error when it can't be made.
class ScratchLibrary {
 public:
    explicit ScratchLibrary(Variant variant = Variant::Whole, const std::filesystem::path& fileName = "hvq.dll");
    ~ScratchLibrary();
    ScratchLibrary(const ScratchLibrary&) = delete;
    ScratchLibrary& operator=(const ScratchLibrary&) = delete;

    const std::filesystem::path& Folder() const { return m_folder; }
    const std::filesystem::path& Path() const { return m_path; }  // of the library

    // Writes a file in the folder: "hvq.script", a model, or NAME.open to open the gate NAME of another process.
    std::filesystem::path Put(const std::filesystem::path& fileName, std::string_view contents) const;

 private:
    std::filesystem::path m_folder;
    std::filesystem::path m_path;
};

// A copy that is loaded into this process, with a script. It stays loaded for as long as the object lives, so the
// script and the record outlast the loads of whoever is tested.
//
// Thread: any, but for construction and destruction. What loaded the library too has to be gone before the object goes.
class ScriptedLibrary {
 public:
    // Throws std::runtime_error when that fails, or when a line of the script can't be understood.
    explicit ScriptedLibrary(std::string_view script = {}, Variant variant = Variant::Whole,
                             const std::filesystem::path& fileName = "hvq.dll");
    ScriptedLibrary(const ScriptedLibrary&) = delete;
    ScriptedLibrary& operator=(const ScriptedLibrary&) = delete;

    const std::filesystem::path& Path() const { return m_scratch.Path(); }
    const ScratchLibrary& Scratch() const { return m_scratch; }

    // An exported function, to be cast to its type. Null when there is none.
    platform::SymbolAddress Symbol(const char* name) const;

    // Adds commands to the script. Throws std::runtime_error when a line can't be understood.
    void Add(std::string_view script);

    // The calls since the start or the latest ForgetCalls.
    std::vector<Call> Calls() const;
    // The same without threads, and without hvqHasException, which follows nearly every call.
    std::vector<std::string> CallTexts() const;
    // How many of those calls were of this function.
    int Count(std::string_view function) const;
    void ForgetCalls();

    // The calling thread's number in the record.
    std::uint32_t ThreadNumber() const;

    void OpenGate(const std::string& name);
    // Waits until `count` calls have come to the gate. False when that takes beyond a watchdog's time.
    [[nodiscard]] bool AwaitGate(const std::string& name, std::uint32_t count = 1) const;

    // What was set last for an input layer.
    std::vector<float> Input(const std::string& layerName) const;

    std::uint64_t LiveEngines() const;

 private:
    template <typename Function>
    Function Control(const char* name) const;

    struct Unload {
        void operator()(platform::ModuleHandle module) const { platform::SystemModuleLoader().Unload(module); }
    };

    ScratchLibrary m_scratch;                // first: a file that is loaded can't be removed everywhere
    std::unique_ptr<void, Unload> m_module;  // a ModuleHandle
};

}  // namespace scripted_double
