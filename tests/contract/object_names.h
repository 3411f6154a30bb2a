#pragma once

#include <atomic>
#include <string>

#include "platform/module_files.h"
#include "platform/threads.h"

namespace contract {

// A name that no other test and no other run has.
inline std::string FreshName(const std::string& suffix = "") {
    static std::atomic<int> counter{0};
    return "vt-" + std::to_string(platform::CurrentProcessId()) + "-" + std::to_string(++counter) + suffix;
}

// Where a check has to know on which system it runs.
inline bool OnWindows() {
    return std::string(platform::kPathSeparator) == "\\";
}

}  // namespace contract
