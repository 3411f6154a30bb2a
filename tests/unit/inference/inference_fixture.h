#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <exception>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "helpers/calyr_hvq_helper.h"
#include "helpers/calyr_hvq_re_helper.h"
#include "helpers/calyr_output.h"
#include "helpers/hvq_input.h"
#include "helpers/inhouse_hvq_helper.h"
#include "infra/module_directory.h"
#include "line_log.h"
#include "scripted_double/scripted_library.h"
#include "support/fake_clock.h"
#include "support/recording_streams.h"
#include "support/watchdog.h"

namespace inference_tests {

using rvo_calyr::_CalyrPortraitOption;
using rvo_calyr::HelperSeams;
using rvo_calyr::ProcessLimits;
using rvo_calyr::RvoCalyrHvqHelper;
using rvo_calyr::RvoCalyrHvqReHelper;
using rvo_calyr::RvoCalyrOutput;
using rvo_calyr::RvoHvqHelper;
using rvo_calyr::RvoHvqOutput;
using rvo_calyr::RvoInhouseHvqHelper;

inline constexpr std::int32_t kAuto = 0;
inline constexpr std::int32_t kCpu = 1;
inline constexpr std::int32_t kGpu = 2;
inline constexpr std::int32_t kNpu = 3;

inline constexpr std::uint32_t kWidth = 256;  // of model quality 0
inline constexpr std::uint32_t kHeight = 144;
inline constexpr std::size_t kArea = std::size_t{kWidth} * kHeight;

inline const std::string kSeparator(infra::g_pathSeparator);

// Says that all code of the program lies in one file, or fails as it is told. Thread: any.
class ProgramFile final : public platform::ModuleFiles {
 public:
    explicit ProgramFile(std::string path) : m_path(std::move(path)) {}

    void Answer(std::optional<std::string> path) {
        const std::lock_guard lock(m_mutex);
        m_path = std::move(path);
    }
    // The next question throws.
    void ThrowNext(std::exception_ptr error) {
        const std::lock_guard lock(m_mutex);
        m_error = std::move(error);
    }
    int Asked() const {
        const std::lock_guard lock(m_mutex);
        return m_asked;
    }

    std::optional<std::string> FileOf(const void* /*address*/) override {
        const std::lock_guard lock(m_mutex);
        ++m_asked;
        if (m_error) std::rethrow_exception(std::exchange(m_error, nullptr));
        return m_path;
    }

 private:
    mutable std::mutex m_mutex;
    std::optional<std::string> m_path;
    std::exception_ptr m_error;
    int m_asked = 0;
};

inline calyr_ipc::IpcFrameHeader HeaderOf(std::uint32_t width, std::uint32_t height) {
    calyr_ipc::IpcFrameHeader header{};
    header.width = width;
    header.height = height;
    return header;
}

// A frame and its bytes.
struct Frame {
    explicit Frame(std::uint8_t value = 0, std::uint32_t width = kWidth, std::uint32_t height = kHeight)
        : bytes(std::size_t{3} * width * height, value) {
        input.dataSize = static_cast<std::uint32_t>(bytes.size());
        input.data = bytes.data();
        input.header = HeaderOf(width, height);
    }
    Frame(const Frame&) = delete;
    Frame& operator=(const Frame&) = delete;

    Frame& Temporal(bool enabled = true) {
        input.temporalEnabled = enabled ? 1 : 0;
        return *this;
    }

    std::vector<std::uint8_t> bytes;
    rvo_calyr::RvoHvqInput input;
};

inline std::vector<std::uint8_t> MaskOf(const RvoHvqOutput& output) {
    const std::span<std::uint8_t> mask = output.MaskBytes();
    return {mask.begin(), mask.end()};
}

inline void SetText(char (&field)[rvo_calyr::kPathBytes], const std::string& text) {
    ASSERT_LT(text.size(), sizeof(field));
    std::memset(field, 0, sizeof(field));
    std::memcpy(field, text.data(), text.size());
}

// The names of the model files that all families have, in one folder.
inline constexpr const char* kAllModels[] = {"calyr_144p_input.dll",    "calyr_360p_input.dll",
                                             "calyr_re_144p_input.dll", "calyr_re_360p_input.dll",
                                             "inhouse_144p_input.dll",  "inhouse_360p_input.dll"};

// A scripted library with all model files beside it, and the seams of helpers that work on it. Helpers are built by the
// tests, after all this and gone before it.
class Inference : public ::testing::Test {
 protected:
    explicit Inference(std::string_view script = {}) : m_library(script) {
        for (const char* model : kAllModels)
            m_library.Scratch().Put(model, "a network");
    }

    HelperSeams Seams() {
        return {.loader = {.streams = m_streams}, .clock = m_clock, .moduleFiles = m_programFile, .limits = m_limits};
    }

    std::string Folder() const { return m_library.Scratch().Folder().string(); }
    std::string InFolder(const std::string& file) const { return Folder() + kSeparator + file; }

    // An option that finds the scripted library and its models.
    _CalyrPortraitOption Option(std::int32_t deviceType = kCpu, std::int32_t modelQuality = 0) const {
        _CalyrPortraitOption option;
        option.deviceType = deviceType;
        option.modelQuality = modelQuality;
        SetText(option.enginePath, Folder());
        SetText(option.modelPath, Folder());
        return option;
    }

    // Initialises a helper, and forgets lines and calls of that.
    void InitGood(RvoHvqHelper& helper) { InitGood(helper, Option()); }
    void InitGood(RvoHvqHelper& helper, const _CalyrPortraitOption& option) {
        ASSERT_EQ(helper.Init(option), 0U);
        Forget();
    }
    void Forget() {
        (void)m_log.TakeWhole();
        m_library.ForgetCalls();
    }

    std::vector<std::string> Lines(const RvoHvqHelper& helper) { return m_log.Take(&helper); }

    // The calls of one function.
    std::vector<std::string> CallsOf(const std::string& function) const {
        std::vector<std::string> calls = m_library.CallTexts();
        std::erase_if(calls, [&](const std::string& call) { return !call.starts_with(function + " "); });
        return calls;
    }

    support::Watchdog m_watchdog;
    LineLog m_log;
    support::RecordingStreams m_streams;  // what the loader says
    scripted_double::ScriptedLibrary m_library;
    support::FakeClock m_clock;
    ProgramFile m_programFile{m_library.Scratch().Folder().string() + kSeparator + "program"};
    ProcessLimits m_limits;
};

}  // namespace inference_tests
