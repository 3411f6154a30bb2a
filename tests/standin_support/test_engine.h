#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "standin_support/hvq_library.h"

namespace standin_support {

inline constexpr char kEngine[] = "OpenVINO";

// One engine of the library, with the two-step fetches in one step. Ends with its object.
class TestEngine {
 public:
    explicit TestEngine(const HvqLibrary& library = Library());
    ~TestEngine();
    TestEngine(const TestEngine&) = delete;
    TestEngine& operator=(const TestEngine&) = delete;

    [[nodiscard]] HvqEngine Handle() const { return m_engine; }
    [[nodiscard]] const HvqLibrary& Functions() const { return m_library; }

    // The pending text, "" when there is none; none is pending afterwards.
    std::string TakeError();

    // Makes a network, under the name of the file.
    void CreateNetwork(const std::string& name);
    void SetProperty(const std::string& networkId, const std::string& name, const std::string& value);
    void SetCacheFolder(const std::string& networkId, const std::filesystem::path& folder);

    std::vector<std::uint64_t> Dims(const std::string& layer);
    void SetLayer(const std::string& layer, const void* data);  // with the layer's own dims
    const float* Floats(const std::string& layer);

    // Remarks from now on, each on a line with its severity in front.
    const std::vector<std::string>& Remarks();

 private:
    const HvqLibrary& m_library;
    HvqEngine m_engine;
    std::vector<std::string> m_remarks;
};

// Text of a length from one call and with chars from another. What stands behind the last char has to stay 0.
template <typename Length, typename Fetch>
std::string TwoSteps(Length length, Fetch fetch) {
    std::string text(static_cast<std::size_t>(length) + 8, '\0');
    fetch(text.data());
    const std::string tail = text.substr(static_cast<std::size_t>(length));
    if (tail != std::string(8, '\0')) return "written behind its end: " + text;
    text.resize(static_cast<std::size_t>(length));
    return text;
}

// A folder that is new and empty, and goes with its object.
class TemporaryFolder {
 public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    [[nodiscard]] const std::filesystem::path& Path() const { return m_path; }
    [[nodiscard]] std::vector<std::filesystem::path> Files() const;

 private:
    std::filesystem::path m_path;
};

// Names as the library takes them, on every system and whatever the locale: in UTF-8, and wide.
std::string NarrowName(const std::filesystem::path& file);
std::wstring WideName(const std::filesystem::path& file);

std::string ReadText(const std::filesystem::path& file);
void WriteText(const std::filesystem::path& file, const std::string& text);

// Four planes of bytes in float form, all different.
std::vector<float> Planes(std::size_t width, std::size_t height);

}  // namespace standin_support
