#include "standin_support/test_engine.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <random>
#include <stdexcept>
#include <type_traits>

namespace standin_support {

TestEngine::TestEngine(const HvqLibrary& library)
    : m_library(library), m_engine(library.hvqCreateWithLibraryLoader(nullptr, nullptr)) {
    if (m_engine == nullptr) {
        std::uint64_t length = 0;
        library.hvqGetExceptionStringLength(nullptr, &length);
        throw std::runtime_error(TwoSteps(length, [&](char* text) { library.hvqGetExceptionString(nullptr, text); }));
    }
}

TestEngine::~TestEngine() {
    m_library.hvqDestory(m_engine);
}

std::string TestEngine::TakeError() {
    if (m_library.hvqHasException(m_engine) == 0) return "";
    std::uint64_t length = 0;
    m_library.hvqGetExceptionStringLength(m_engine, &length);
    std::string text = TwoSteps(length, [&](char* buffer) { m_library.hvqGetExceptionString(m_engine, buffer); });
    m_library.hvqResetExceptionString(m_engine);
    return text;
}

void TestEngine::CreateNetwork(const std::string& name) {
    m_library.hvqCreateNetByFiles(m_engine, kEngine, name.c_str(), "CPU", NarrowName(NetworkFile(name)).c_str(),
                                  nullptr);
}

void TestEngine::SetProperty(const std::string& networkId, const std::string& name, const std::string& value) {
    m_library.hvqSetEnginePropertyForNetwork(m_engine, kEngine, networkId.c_str(), name.c_str(), "std::string",
                                             value.c_str());
}

void TestEngine::SetCacheFolder(const std::string& networkId, const std::filesystem::path& folder) {
    m_library.hvqSetEnginePropertyForNetwork(m_engine, kEngine, networkId.c_str(), "CACHE_DIR", "std::filesystem::path",
                                             WideName(folder).c_str());
}

std::vector<std::uint64_t> TestEngine::Dims(const std::string& layer) {
    std::uint64_t count = 0;
    m_library.hvqGetLayerDims(m_engine, layer.c_str(), nullptr, &count);
    std::vector<std::uint64_t> dims(count);
    m_library.hvqGetLayerDims(m_engine, layer.c_str(), dims.data(), &count);
    return dims;
}

void TestEngine::SetLayer(const std::string& layer, const void* data) {
    const std::vector<std::uint64_t> dims = Dims(layer);
    m_library.hvqSetLayerData(m_engine, layer.c_str(), data, dims.data(), dims.size());
}

const float* TestEngine::Floats(const std::string& layer) {
    return static_cast<const float*>(m_library.hvqGetLayerData(m_engine, layer.c_str()));
}

const std::vector<std::string>& TestEngine::Remarks() {
    const HvqLogCallback keep = [](void* context, std::int32_t severity, const char* text) {
        static_cast<TestEngine*>(context)->m_remarks.push_back(std::to_string(severity) + " " + text);
    };
    m_library.hvqSetLogCallback(m_engine, keep, this);
    return m_remarks;
}

TemporaryFolder::TemporaryFolder() {
    std::random_device random;
    m_path = std::filesystem::temp_directory_path() /
             ("velmoml-standin-" + std::to_string(random()) + "-" + std::to_string(random()));
    std::filesystem::create_directory(m_path);
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code error;
    std::filesystem::remove_all(m_path, error);
}

std::vector<std::filesystem::path> TemporaryFolder::Files() const {
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::directory_iterator(m_path))
        files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    return files;
}

std::string NarrowName(const std::filesystem::path& file) {
    const std::u8string text = file.u8string();
    return {text.begin(), text.end()};
}

std::wstring WideName(const std::filesystem::path& file) {
    if constexpr (std::is_same_v<std::filesystem::path::value_type, wchar_t>) return file.wstring();
    const std::u32string text = file.u32string();
    return {text.begin(), text.end()};
}

std::string ReadText(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

void WriteText(const std::filesystem::path& file, const std::string& text) {
    std::ofstream stream(file, std::ios::binary);
    stream << text;
}

std::vector<float> Planes(std::size_t width, std::size_t height) {
    std::vector<float> planes(4 * width * height);
    for (std::size_t i = 0; i < planes.size(); ++i) {
        const std::size_t plane = i / (width * height);
        planes[i] = static_cast<float>((i * 7 + i / width * 13 + plane * 31) % (256 - plane * 20));
    }
    return planes;
}

}  // namespace standin_support
