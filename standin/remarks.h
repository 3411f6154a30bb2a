#pragma once

#include <cstdint>
#include <mutex>
#include <string>

#include "standin/hvq.h"

namespace standin {

enum class Severity : std::int32_t { Error = 0, Warning = 1, Information = 2, Detail = 3 };

// Where the remarks of one engine go: the callback of hvqSetLogCallback, or nowhere. Thread: any, and ONNX Runtime's
// too.
class Remarks {
 public:
    // When this returns, the callback from before is not running any more.
    void SetCallback(HvqLogCallback callback, void* context);

    // The callback runs under a lock, so remarks come one at a time. Nothing is thrown.
    void Say(Severity severity, const std::string& text) noexcept;

 private:
    std::mutex m_mutex;
    HvqLogCallback m_callback = nullptr;  // guarded by m_mutex
    void* m_context = nullptr;            // guarded by m_mutex
};

}  // namespace standin
