#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

#include "hvq_double.h"
#include "library.h"

using hvq_double::Library;

std::int32_t hvqDoubleScript(const char* text) {
    return Library::Instance().StartScript(text);
}

std::int32_t hvqDoubleAdd(const char* text) {
    return Library::Instance().AddScript(text);
}

std::uint64_t hvqDoubleCalls(char* buffer, std::uint64_t capacity) {
    const std::string calls = Library::Instance().Calls();
    std::copy_n(calls.begin(), std::min<std::uint64_t>(capacity, calls.size()), buffer);
    return calls.size();
}

void hvqDoubleForgetCalls() {
    Library::Instance().ForgetCalls();
}

std::uint32_t hvqDoubleThread() {
    return Library::Instance().ThreadNumber();
}

void hvqDoubleOpenGate(const char* name) {
    Library::Instance().OpenGate(name);
}

std::int32_t hvqDoubleAwaitGate(const char* name, std::uint32_t count, std::uint32_t limitMs) {
    return Library::Instance().AwaitGate(name, count, limitMs) ? 1 : 0;
}

std::uint64_t hvqDoubleInput(const char* layerName, float* buffer, std::uint64_t capacity) {
    const std::vector<float> data = Library::Instance().Input(layerName);
    std::copy_n(data.begin(), std::min<std::uint64_t>(capacity, data.size()), buffer);
    return data.size();
}

std::uint64_t hvqDoubleEngines() {
    return Library::Instance().EngineCount();
}
