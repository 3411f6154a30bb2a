#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "engine/function_handle.h"

namespace velmo_tool {

// An engine of the library, destroyed with the object.
class CheckedEngine {
 public:
    explicit CheckedEngine(const hvq::inference::FunctionHandle& functions)
        : m_functions(functions), m_engine(functions.hvqCreateWithLibraryLoader(nullptr, nullptr)) {}
    ~CheckedEngine() {
        if (m_engine != nullptr) m_functions.hvqDestory(m_engine);
    }
    CheckedEngine(const CheckedEngine&) = delete;
    CheckedEngine& operator=(const CheckedEngine&) = delete;

    void* Get() const { return m_engine; }

    // Whether the library holds an error for this engine. Changes nothing.
    bool HasPending() const;

    // Takes the pending error off the engine and gives its text; nothing when there is none. What is wrong with the
    // way that the text came stands in `complaint`, which is left alone otherwise.
    std::optional<std::string> TakePending(std::optional<std::string>& complaint) const;

 private:
    const hvq::inference::FunctionHandle& m_functions;
    void* m_engine;
};

// A list of texts, or what is wrong with it.
struct CheckedList {
    std::vector<std::string> texts;
    std::optional<std::string> complaint;

    bool Has(const std::string& text) const;
    std::string Joined() const;
};

struct CheckedProperty {
    std::string name;
    std::string type;
};

// Everything that a list or text of the library can be got wrong by is in `complaint` of the results, a pending error
// included; it is taken off the engine.
CheckedList FetchEngines(const hvq::inference::FunctionHandle& functions, const CheckedEngine& engine);
CheckedList FetchDevices(const hvq::inference::FunctionHandle& functions, const CheckedEngine& engine,
                         const std::string& engineName);
CheckedList FetchModels(const hvq::inference::FunctionHandle& functions, const CheckedEngine& engine,
                        const std::string& engineName);
std::vector<CheckedProperty> FetchProperties(const hvq::inference::FunctionHandle& functions,
                                             const CheckedEngine& engine, const std::string& engineName,
                                             std::optional<std::string>& complaint);
std::string FetchVersion(const hvq::inference::FunctionHandle& functions, const CheckedEngine& engine,
                         std::optional<std::string>& complaint);
std::string FetchCurrentDevice(const hvq::inference::FunctionHandle& functions, const CheckedEngine& engine,
                               std::optional<std::string>& complaint);
std::vector<std::uint64_t> FetchDims(const hvq::inference::FunctionHandle& functions, const CheckedEngine& engine,
                                     const std::string& layer, std::optional<std::string>& complaint);

}  // namespace velmo_tool
