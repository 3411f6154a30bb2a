#pragma once

#include <string>

namespace velmo_tool {

// What to look at. All texts are UTF-8.
struct CheckRequest {
    std::string libraryPath;
    std::string modelPath;                // a network to register, create and run once; empty: none
    std::string engineName = "OpenVINO";  // what the process asks a library for
    std::string deviceName = "CPU";       // where to run the network
};

}  // namespace velmo_tool
