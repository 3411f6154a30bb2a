#pragma once

#include <filesystem>

#include "contract/own_child.h"

namespace contract {

// The real libraries that were built for tests to load.
inline std::filesystem::path TestLibrary(const std::string& name) {
    const std::string program = OwnProgram();
    return std::filesystem::path(std::u8string(program.begin(), program.end())).parent_path() / "libraries" /
           (name + ".dll");
}

inline std::filesystem::path CountingLibrary() {
    return TestLibrary("counting_library");
}

// It needs the other one, from its own folder.
inline std::filesystem::path DependentLibrary() {
    return TestLibrary("dependent_library");
}

}  // namespace contract
