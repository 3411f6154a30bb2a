#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "process_fixture.h"
#include "velmo_parent/link.h"

namespace process_tests {

// What an option names by numbers.
inline constexpr std::int32_t kCpu = 1;
inline constexpr std::int32_t kGpu = 2;

// The names of the model files that all families have, by type and quality.
inline constexpr const char* kModelFiles[3][2] = {{"calyr_144p_input.dll", "calyr_360p_input.dll"},
                                                  {"calyr_re_144p_input.dll", "calyr_re_360p_input.dll"},
                                                  {"inhouse_144p_input.dll", "inhouse_360p_input.dll"}};

struct Size {
    std::uint32_t width;
    std::uint32_t height;
    std::size_t Pixels() const { return std::size_t{width} * height; }
};
inline constexpr Size kSizes[] = {{256, 144}, {640, 360}};  // by model quality

struct Model {
    std::int32_t type;
    std::int32_t quality;
};

// Every type in every quality, and a name for each.
inline constexpr Model kModels[] = {{0, 0}, {0, 1}, {1, 0}, {1, 1}, {2, 0}, {2, 1}};
inline std::string NameOf(const ::testing::TestParamInfo<Model>& tested) {
    return "OfType" + std::to_string(tested.param.type) + "AndQuality" + std::to_string(tested.param.quality);
}

enum class Skipping { Off, On };  // whether frames may be skipped, a frame's flag

// The real process, started by a test, which gives it frames.
class InferringProcess : public ::testing::Test {
 protected:
    ~InferringProcess() override { m_link.Kill(); }

    void StartProcess();

    // The result that the process answers. -1000 when it answers none.
    std::int32_t Init(std::int32_t modelType, std::int32_t quality, std::int32_t device,
                      const std::string& engineFolder, const std::string& modelFolder);

    // Sends a frame of three planes if the process takes it now.
    velmo_parent::SendResult TrySubmit(const std::vector<std::uint8_t>& planes, Size size, Skipping skipping);

    // The same as soon as there is room for it and for its result.
    void Submit(const std::vector<std::uint8_t>& planes, Size size, Skipping skipping);

    std::vector<std::string> LogTexts() const;

    void ExpectExit(std::int32_t code);
    void ExpectAGoodEnd();

    ScratchFile m_output;
    ScratchFile m_error;
    Recorder m_recorder;
    velmo_parent::Link m_link{FreshId(), m_recorder};
    FramePace m_pace{m_link, m_recorder};
};

}  // namespace process_tests
