#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include "platform/child_process.h"

namespace platform::win32 {

// How a child is tied to this process; the defaults are the system's children's.
struct Tying {
    bool atCreation = true;                             // where the system can; otherwise behind it, before it runs
    std::function<void(std::uint32_t id)> onCreated{};  // called in between, for tied children alone
};

// Children that are tied so, which tests want to see. Tied ones end when the object is destroyed.
std::unique_ptr<ChildProcesses> MakeChildProcesses(Tying tying);

}  // namespace platform::win32
