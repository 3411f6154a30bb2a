#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "platform/standard_streams.h"
#include "roles.h"

namespace run_process_tests {

int BeFfmpeg(int argumentCount, char** arguments) {
    platform::SetBinaryStandardStreams();
    std::string input;
    for (int at = 1; at + 1 < argumentCount; ++at) {
        if (arguments[at] == std::string("-i")) input = arguments[at + 1];
    }
    const std::string_view scheme = "file:";
    if (!input.starts_with(scheme)) return 9;
    input.erase(0, scheme.size());
    if (const std::size_t folder = input.rfind('/'); folder != std::string::npos) input.erase(0, folder + 1);
    const long frames = std::strtol(input.c_str(), nullptr, 10);
    if (frames > 0) std::puts("YUV4MPEG2 W2 H1 F25:1 C444");
    // It fails once nobody reads any more.
    for (long frame = 0; frame < frames && std::printf("FRAME\nabcdef") > 0; ++frame) {
    }
    return frames == 0 || input.find("fail") != std::string::npos ? 8 : 0;
}

int BeChattyProcess() {
    std::puts(kChatter);
    return 0;
}

}  // namespace run_process_tests

int main(int argumentCount, char** arguments) {
    if (argumentCount > 1 && arguments[1] == std::string("-nostdin")) {
        return run_process_tests::BeFfmpeg(argumentCount, arguments);
    }
    if (argumentCount > 1 && std::string_view(arguments[1]).starts_with("velmo-run-")) {
        return run_process_tests::BeChattyProcess();
    }
    ::testing::InitGoogleMock(&argumentCount, arguments);
    return RUN_ALL_TESTS();
}
