#pragma once

#include <cstddef>
#include <filesystem>
#include <vector>

#include "standin/runtime.h"

namespace standin_support {

// A network run by ONNX Runtime's C interface with nothing in between, by the options that the stand-in has by default:
// what the stand-in is compared with. One input, floats everywhere. Throws std::runtime_error.
class DirectSession {
 public:
    // `input` is read by each Run.
    DirectSession(const std::filesystem::path& network, const std::vector<float>& input);

    void Run();

    // The first output, valid until the next Run.
    [[nodiscard]] const float* Output() const { return m_firstOutput; }

 private:
    const standin::Runtime& m_runtime = standin::Runtime::Instance();
    standin::SessionOwner m_session;
    std::vector<standin::ValueOwner> m_values;
    standin::BindingOwner m_binding;
    const float* m_firstOutput = nullptr;
};

}  // namespace standin_support
