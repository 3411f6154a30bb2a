#pragma once

#include <onnxruntime_c_api.h>

#include <filesystem>
#include <memory>

namespace standin {

// ONNX Runtime, loaded from beside this library on first use. Thread: any.
class Runtime {
 public:
    // Loads it when that hasn't succeeded yet. Throws std::runtime_error that says which file was looked for where, or
    // what is wrong with it; then the next call tries again.
    static const Runtime& Instance();

    // The same from another folder, for tests; the folder of a later success doesn't count, what is loaded stays.
    explicit Runtime(const std::filesystem::path& folder);

    [[nodiscard]] const OrtApi& Api() const { return *m_api; }

    // One for all networks of the process. It is never released: ONNX Runtime counts its users and would tear its
    // process-wide registries down with the last one, at a time when other threads may still be inside.
    [[nodiscard]] const OrtEnv& Environment() const { return *m_environment; }

    // "1.30.0"
    [[nodiscard]] const char* Version() const { return m_version; }

    // Throws std::runtime_error with the text of a status that isn't null, and releases it.
    void Check(OrtStatus* status) const;

 private:
    const OrtApi* m_api = nullptr;
    const OrtEnv* m_environment = nullptr;
    const char* m_version = nullptr;
};

// Owners of ONNX Runtime's objects.
template <typename T, void (ORT_API_CALL* OrtApi::*Release)(T*)>
struct RuntimeDeleter {
    void operator()(T* object) const { (Runtime::Instance().Api().*Release)(object); }
};
using SessionOptionsOwner =
    std::unique_ptr<OrtSessionOptions, RuntimeDeleter<OrtSessionOptions, &OrtApi::ReleaseSessionOptions>>;
using SessionOwner = std::unique_ptr<OrtSession, RuntimeDeleter<OrtSession, &OrtApi::ReleaseSession>>;
using TypeInfoOwner = std::unique_ptr<OrtTypeInfo, RuntimeDeleter<OrtTypeInfo, &OrtApi::ReleaseTypeInfo>>;
using ValueOwner = std::unique_ptr<OrtValue, RuntimeDeleter<OrtValue, &OrtApi::ReleaseValue>>;
using MemoryInfoOwner = std::unique_ptr<OrtMemoryInfo, RuntimeDeleter<OrtMemoryInfo, &OrtApi::ReleaseMemoryInfo>>;
using BindingOwner = std::unique_ptr<OrtIoBinding, RuntimeDeleter<OrtIoBinding, &OrtApi::ReleaseIoBinding>>;

}  // namespace standin
