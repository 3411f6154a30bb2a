#include "standin/runtime.h"

#include <stdexcept>
#include <string>
#include <system_error>

#include "standin/runtime_library.h"
#include "standin/texts.h"

namespace standin {

const Runtime& Runtime::Instance() {
    static const Runtime runtime(OwnFolder());  // no destructor that does anything: nothing happens at unloading
    return runtime;
}

Runtime::Runtime(const std::filesystem::path& folder) {
    const std::filesystem::path file = folder / RuntimeFileName();
    std::error_code error;
    if (!std::filesystem::exists(file, error)) {
        throw std::runtime_error(std::string("ONNX Runtime's library ") + RuntimeFileName() +
                                 " is missing. It has to lie beside the inference library, in the folder " +
                                 Utf8(folder) + ".");
    }
    using GetApiBase = const OrtApiBase*(ORT_API_CALL*)();
    const auto getApiBase = reinterpret_cast<GetApiBase>(LoadForever(file, "OrtGetApiBase"));
    const OrtApiBase* const base = getApiBase();
    m_version = base->GetVersionString();
    m_api = base->GetApi(ORT_API_VERSION);
    if (m_api == nullptr) {
        throw std::runtime_error(Utf8(file) + " is ONNX Runtime " + m_version +
                                 ", which is too old: its interface has to be version " +
                                 std::to_string(ORT_API_VERSION) + " or later.");
    }
    // What goes wrong comes back as a status; its own lines on standard error would only repeat that.
    OrtEnv* environment = nullptr;
    Check(m_api->CreateEnv(ORT_LOGGING_LEVEL_FATAL, "hvq", &environment));
    m_environment = environment;
    Check(m_api->DisableTelemetryEvents(environment));
}

void Runtime::Check(OrtStatus* status) const {
    if (status == nullptr) return;
    const std::unique_ptr<OrtStatus, decltype(m_api->ReleaseStatus)> owner(status, m_api->ReleaseStatus);
    throw std::runtime_error(m_api->GetErrorMessage(status));
}

}  // namespace standin
