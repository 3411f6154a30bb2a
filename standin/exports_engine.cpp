// Engines, models, versions and errors.
#include <memory>

#include "standin/call.h"
#include "standin/hvq.h"

#define HVQ_STANDIN_VERSION "0.1"

namespace {

using standin::At;
using standin::Call;
using standin::CopyOut;
using standin::Count;
using standin::Do;
using standin::Engine;
using standin::Needed;
using standin::Text;

// What programs that use the library were built against.
constexpr std::string_view kInterfaceVersion = "2026.03.18-1bca487a(x64)";

standin::CreationErrors& Creations() {
    static standin::CreationErrors errors;
    return errors;
}

HvqEngine Create(const char* function, const void* first, const void* second) noexcept {
    Creations().Reset();
    try {
        if (first != nullptr || second != nullptr) {
            throw std::runtime_error("the loader pointers have to be null: this library takes no other loader");
        }
        return std::make_unique<Engine>().release();
    } catch (...) {
        Creations().Set(function, std::current_exception());
        return nullptr;
    }
}

}  // namespace

HvqEngine hvqCreate(void) {
    return Create("hvqCreate", nullptr, nullptr);
}

HvqEngine hvqCreateWithLibraryLoader(void* loader_first, void* loader_second) {
    return Create("hvqCreateWithLibraryLoader", loader_first, loader_second);
}

void hvqDestory(HvqEngine engine) {
    const std::unique_ptr<Engine> owner(static_cast<Engine*>(engine));
}

void hvqRegisterModelAsInnerIDwithString(HvqEngine engine, const char* model_id, const char* model_lib_path) {
    Do(engine, __func__, [&](Engine& e) {
        const std::string_view id = Text(model_id, "model_id");
        e.RegisterModel(id, standin::PathOf(Text(model_lib_path, "model_lib_path")));
    });
}

void hvqRegisterModelAsInnerIDwithWString(HvqEngine engine, const wchar_t* model_id, const wchar_t* model_lib_path) {
    Do(engine, __func__, [&](Engine& e) {
        const std::string id = Text(model_id, "model_id");
        e.RegisterModel(id, standin::PathOfWide(Needed(model_lib_path, "model_lib_path")));
    });
}

void hvqUnregisterInnerID(HvqEngine engine, const char* model_id) {
    Do(engine, __func__, [&](Engine& e) { e.UnregisterModel(Text(model_id, "model_id")); });
}

int32_t hvqGetSupportEngineNumber(HvqEngine engine) {
    return Call(engine, __func__, int32_t{0}, [](Engine&) { return Count(std::size(standin::kEngineNames)); });
}

int32_t hvqGetSupportEngineLength(HvqEngine engine, int32_t index) {
    return Call(engine, __func__, int32_t{0},
                [&](Engine&) { return Count(At(standin::kEngineNames, index, "engines").size()); });
}

void hvqGetSupportEngine(HvqEngine engine, int32_t index, char* buffer) {
    Do(engine, __func__, [&](Engine&) { CopyOut(At(standin::kEngineNames, index, "engines"), buffer); });
}

int32_t hvqGetSupportDeviceNumber(HvqEngine engine, const char* engine_name) {
    return Call(engine, __func__, int32_t{0}, [&](Engine&) {
        Engine::CheckEngineName(Text(engine_name, "engine_name"));
        return Count(std::size(standin::kDeviceNames));
    });
}

int32_t hvqGetSupportDeviceLength(HvqEngine engine, const char* engine_name, int32_t index) {
    return Call(engine, __func__, int32_t{0}, [&](Engine&) {
        Engine::CheckEngineName(Text(engine_name, "engine_name"));
        return Count(At(standin::kDeviceNames, index, "devices").size());
    });
}

void hvqGetSupportDevice(HvqEngine engine, const char* engine_name, int32_t index, char* buffer) {
    Do(engine, __func__, [&](Engine&) {
        Engine::CheckEngineName(Text(engine_name, "engine_name"));
        CopyOut(At(standin::kDeviceNames, index, "devices"), buffer);
    });
}

int32_t hvqGetSupportBuiltinModelNumber(HvqEngine engine, const char* engine_name) {
    return Call(engine, __func__, int32_t{0}, [&](Engine& e) {
        Engine::CheckEngineName(Text(engine_name, "engine_name"));
        return Count(e.Models().size());
    });
}

int32_t hvqGetSupportBuiltinModelLength(HvqEngine engine, const char* engine_name, int32_t index) {
    return Call(engine, __func__, int32_t{0}, [&](Engine& e) {
        Engine::CheckEngineName(Text(engine_name, "engine_name"));
        return Count(At(e.Models(), index, "models").id.size());
    });
}

void hvqGetSupportBuiltinModelID(HvqEngine engine, const char* engine_name, int32_t index, char* buffer) {
    Do(engine, __func__, [&](Engine& e) {
        Engine::CheckEngineName(Text(engine_name, "engine_name"));
        CopyOut(At(e.Models(), index, "models").id, buffer);
    });
}

void hvqSelfVersion(HvqEngine engine, uint64_t* length, char* buffer) {
    Do(engine, __func__, [&](Engine&) { CopyOut(kInterfaceVersion, length, buffer); });
}

void hvqVersion(HvqEngine engine, uint64_t* length, char* buffer) {
    Do(engine, __func__, [&](Engine& e) {
        CopyOut(std::string("velmoml stand-in " HVQ_STANDIN_VERSION ", ONNX Runtime ") + e.GetRuntime().Version(),
                length, buffer);
    });
}

void hvqSetLogCallback(HvqEngine engine, HvqLogCallback callback, void* context) {
    Do(engine, __func__, [&](Engine& e) { e.GetRemarks().SetCallback(callback, context); });
}

// The four below must not leave a text themselves: what is asked about would hide behind it.

uint8_t hvqHasException(HvqEngine engine) {
    if (engine == nullptr) return Creations().IsSet() ? 1 : 0;
    return Call(engine, __func__, uint8_t{0}, [](Engine& e) { return e.Pending().IsSet() ? uint8_t{1} : uint8_t{0}; });
}

void hvqGetExceptionStringLength(HvqEngine engine, uint64_t* length) {
    if (length == nullptr) return;
    if (engine != nullptr) {
        Do(engine, __func__, [&](Engine& e) { *length = e.Pending().Text().size(); });
        return;
    }
    try {
        *length = Creations().Text().size();
    } catch (...) {
        *length = 0;
    }
}

void hvqGetExceptionString(HvqEngine engine, char* buffer) {
    if (buffer == nullptr) return;
    if (engine != nullptr) {
        Do(engine, __func__, [&](Engine& e) { CopyOut(e.Pending().Text(), buffer); });
        return;
    }
    try {
        CopyOut(Creations().Text(), buffer);
    } catch (...) {  // NOLINT(bugprone-empty-catch): the buffer stays as the caller made it
    }
}

void hvqResetExceptionString(HvqEngine engine) {
    if (engine == nullptr) {
        Creations().Reset();
        return;
    }
    Do(engine, __func__, [](Engine& e) { e.Pending().Reset(); });
}
