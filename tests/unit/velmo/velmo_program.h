#pragma once

#include <gtest/gtest.h>

#include <string>

#include "infra/module_directory.h"

namespace velmo_tool {

// The tool itself, beside this test program; UTF-8.
inline std::string VelmoProgram() {
    static const int kHere = 0;
    char folder[1024];
    EXPECT_EQ(infra::GetModuleDirectory(&kHere, folder, sizeof(folder)), 0);
    return std::string(folder).append(infra::g_pathSeparator) + VELMO_PROGRAM;
}

}  // namespace velmo_tool
