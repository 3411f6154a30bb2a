#include "velmo_tool/check/library_under_check.h"

#include <algorithm>
#include <functional>

#include "velmo_tool/check/guarded_text.h"

namespace velmo_tool {
namespace {

using hvq::inference::FunctionHandle;

constexpr std::int32_t kMostEntries = 10'000;  // of any list that may be taken seriously
constexpr std::uint64_t kMostDims = 64;

// Keeps the first thing that is wrong.
void Complain(std::optional<std::string>& complaint, const std::string& what) {
    if (!complaint) complaint = what;
}

// A pending error after a call that should have none is a complaint.
void ExpectNonePending(const CheckedEngine& engine, const std::string& call, std::optional<std::string>& complaint) {
    std::optional<std::string> manner;
    if (const std::optional<std::string> pending = engine.TakePending(manner)) {
        Complain(complaint, call + " leaves the error: " + *pending);
    }
    if (manner) Complain(complaint, "the error's text: " + *manner);
}

// A negative length reads as the huge one that the process would take it for.
std::string FetchSized(std::int32_t length, const std::function<void(char*)>& fill,
                       std::optional<std::string>& complaint) {
    std::optional<std::string> manner;
    std::string text = FetchGuarded(static_cast<std::uint64_t>(static_cast<std::int64_t>(length)), fill, manner);
    if (manner) Complain(complaint, *manner);
    return text;
}

CheckedList FetchList(const CheckedEngine& engine, std::int32_t number,
                      const std::function<std::int32_t(std::int32_t)>& lengthOf,
                      const std::function<void(std::int32_t, char*)>& fill) {
    CheckedList list;
    ExpectNonePending(engine, "asking for the number", list.complaint);
    if (number > kMostEntries) Complain(list.complaint, "a number of " + std::to_string(number) + " can't be");
    if (number < 0) Complain(list.complaint, "a number of " + std::to_string(number));
    for (std::int32_t index = 0; index < number && !list.complaint; ++index) {
        const std::string entry = "entry " + std::to_string(index);
        const std::int32_t length = lengthOf(index);
        ExpectNonePending(engine, entry + "'s length", list.complaint);
        std::optional<std::string> manner;
        list.texts.push_back(FetchSized(
            length, [&](char* buffer) { fill(index, buffer); }, manner));
        if (manner) Complain(list.complaint, entry + ": " + *manner);
        ExpectNonePending(engine, entry, list.complaint);
    }
    return list;
}

}  // namespace

bool CheckedEngine::HasPending() const {
    return (static_cast<unsigned>(m_functions.hvqHasException(m_engine)) & 0xFFu) != 0;
}

std::optional<std::string> CheckedEngine::TakePending(std::optional<std::string>& complaint) const {
    if (!HasPending()) return std::nullopt;
    std::uint64_t length = 0;
    m_functions.hvqGetExceptionStringLength(m_engine, &length);
    std::string text = FetchGuarded(
        length, [this](char* buffer) { m_functions.hvqGetExceptionString(m_engine, buffer); }, complaint);
    m_functions.hvqResetExceptionString(m_engine);
    return text;
}

bool CheckedList::Has(const std::string& text) const {
    return std::find(texts.begin(), texts.end(), text) != texts.end();
}

std::string CheckedList::Joined() const {
    std::string all;
    for (const std::string& text : texts)
        all += (all.empty() ? "" : ", ") + text;
    return all.empty() ? "none" : all;
}

CheckedList FetchEngines(const FunctionHandle& functions, const CheckedEngine& engine) {
    void* const handle = engine.Get();
    return FetchList(
        engine, functions.hvqGetSupportEngineNumber(handle),
        [&](std::int32_t index) { return functions.hvqGetSupportEngineLength(handle, index); },
        [&](std::int32_t index, char* buffer) { functions.hvqGetSupportEngine(handle, index, buffer); });
}

CheckedList FetchDevices(const FunctionHandle& functions, const CheckedEngine& engine, const std::string& engineName) {
    void* const handle = engine.Get();
    const char* const name = engineName.c_str();
    return FetchList(
        engine, functions.hvqGetSupportDeviceNumber(handle, name),
        [&](std::int32_t index) { return functions.hvqGetSupportDeviceLength(handle, name, index); },
        [&](std::int32_t index, char* buffer) { functions.hvqGetSupportDevice(handle, name, index, buffer); });
}

CheckedList FetchModels(const FunctionHandle& functions, const CheckedEngine& engine, const std::string& engineName) {
    void* const handle = engine.Get();
    const char* const name = engineName.c_str();
    return FetchList(
        engine, functions.hvqGetSupportBuiltinModelNumber(handle, name),
        [&](std::int32_t index) { return functions.hvqGetSupportBuiltinModelLength(handle, name, index); },
        [&](std::int32_t index, char* buffer) { functions.hvqGetSupportBuiltinModelID(handle, name, index, buffer); });
}

std::vector<CheckedProperty> FetchProperties(const FunctionHandle& functions, const CheckedEngine& engine,
                                             const std::string& engineName, std::optional<std::string>& complaint) {
    void* const handle = engine.Get();
    const char* const engineText = engineName.c_str();
    std::int32_t number = -1;
    functions.hvqGetEngineMutableProperties(handle, &number, -1, nullptr, nullptr, nullptr, nullptr, engineText);
    ExpectNonePending(engine, "asking for the number", complaint);
    if (number < 0 || number > kMostEntries) Complain(complaint, "a number of " + std::to_string(number));
    std::vector<CheckedProperty> properties;
    for (std::int32_t index = 0; index < number && !complaint; ++index) {
        std::int32_t nameLength = -1;
        std::int32_t typeLength = -1;
        functions.hvqGetEngineMutableProperties(handle, nullptr, index, &nameLength, nullptr, &typeLength, nullptr,
                                                engineText);
        ExpectNonePending(engine, "asking for lengths", complaint);
        // Both texts come with one call; each is looked at with the other's buffer at its side.
        CheckedProperty property;
        property.name = FetchSized(
            nameLength,
            [&](char* name) {
                property.type = FetchSized(
                    typeLength,
                    [&](char* type) {
                        functions.hvqGetEngineMutableProperties(handle, nullptr, index, nullptr, name, nullptr, type,
                                                                engineText);
                    },
                    complaint);
            },
            complaint);
        ExpectNonePending(engine, "asking for values", complaint);
        properties.push_back(property);
    }
    return properties;
}

std::string FetchVersion(const FunctionHandle& functions, const CheckedEngine& engine,
                         std::optional<std::string>& complaint) {
    std::uint64_t length = 0;
    functions.hvqSelfVersion(engine.Get(), &length, nullptr);
    ExpectNonePending(engine, "asking for the length", complaint);
    std::string text = FetchGuarded(
        length, [&](char* buffer) { functions.hvqSelfVersion(engine.Get(), nullptr, buffer); }, complaint);
    ExpectNonePending(engine, "asking for the text", complaint);
    return text;
}

std::string FetchCurrentDevice(const FunctionHandle& functions, const CheckedEngine& engine,
                               std::optional<std::string>& complaint) {
    const std::int32_t length = functions.hvqGetCurrentNetworkDeviceLength(engine.Get());
    ExpectNonePending(engine, "asking for the length", complaint);
    std::string text = FetchSized(
        length, [&](char* buffer) { functions.hvqGetCurrentNetworkDevice(engine.Get(), buffer); }, complaint);
    ExpectNonePending(engine, "asking for the text", complaint);
    return text;
}

std::vector<std::uint64_t> FetchDims(const FunctionHandle& functions, const CheckedEngine& engine,
                                     const std::string& layer, std::optional<std::string>& complaint) {
    std::uint64_t count = 0;
    functions.hvqGetLayerDims(engine.Get(), layer.c_str(), nullptr, &count);
    ExpectNonePending(engine, "asking for the number of dimensions", complaint);
    if (count > kMostDims) Complain(complaint, std::to_string(count) + " dimensions can't be");
    if (complaint) return {};
    std::vector<std::uint64_t> dims(static_cast<std::size_t>(count));
    std::uint64_t again = count;
    functions.hvqGetLayerDims(engine.Get(), layer.c_str(), dims.empty() ? nullptr : dims.data(), &again);
    ExpectNonePending(engine, "asking for the dimensions", complaint);
    return dims;
}

}  // namespace velmo_tool
