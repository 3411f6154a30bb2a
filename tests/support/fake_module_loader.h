#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/module_files.h"
#include "platform/module_loader.h"
#include "support/fake_text_conversion.h"

namespace support {

// Libraries that are loaded from nowhere, and a folder that all relative paths start from. Narrow texts are UTF-8.
// Fails on demand. Thread: one at a time.
class FakeModuleLoader final : public platform::ModuleLoader {
 public:
    using Symbols = std::map<std::string, platform::SymbolAddress>;

    static constexpr std::uint32_t kNotFound = 126;
    static constexpr std::uint32_t kNoSuchSymbol = 127;
    static constexpr std::uint32_t kBadName = 123;

    // There is a library at this absolute path from now on.
    void Put(const std::string& path, Symbols symbols = {}) {
        m_libraries[path] = std::make_unique<Library>(Library{std::move(symbols), 0});
    }

    // Where relative paths start.
    void SetFolder(std::string folder) { m_folder = std::move(folder); }
    const std::string& Folder() const { return m_folder; }

    // The next calls of Load fail with these errors, one each.
    void FailLoads(std::deque<std::uint32_t> errors) { m_loadErrors = std::move(errors); }

    // The next call of FullPath fails with this error.
    void FailFullPath(std::uint32_t error) { m_fullPathErrors.push_back(error); }

    // What the next calls of FullPath answer, one each, with nothing written.
    void AnswerFullPath(std::deque<std::uint32_t> answers) { m_fullPathAnswers = std::move(answers); }

    void FailCurrentDirectory() { m_knowsFolder = false; }

    void SetArchitecture(std::uint16_t architecture) { m_architecture = architecture; }

    // All calls in order, with what matters of their arguments: "FullPathW 260", "LoadW 0x1100", "Symbol f", "Unload",
    // "CurrentDirectory 1024", "LastError". Narrow ones end in A.
    const std::vector<std::string>& Calls() const { return m_calls; }

    // How often the library at this path is loaded now.
    int Loads(const std::string& path) const { return m_libraries.at(path)->loads; }

    // All loads that were not taken back. Negative when more were taken back than there were.
    int Loads() const {
        int all = 0;
        for (const auto& [path, library] : m_libraries)
            all += library->loads;
        return all;
    }

    std::uint32_t FullPath(const std::string& path, char* buffer, std::uint32_t capacity) override {
        return FullPathOf(
            path, "FullPathA ", [](const std::string& text) { return text; }, buffer, capacity);
    }

    std::uint32_t FullPath(const std::wstring& path, wchar_t* buffer, std::uint32_t capacity) override {
        return FullPathOf(Narrow(path), "FullPathW ", Wide, buffer, capacity);
    }

    platform::ModuleHandle Load(const std::string& path, std::uint32_t flags) override {
        return LoadNoted(path, "LoadA ", flags);
    }

    platform::ModuleHandle Load(const std::wstring& path, std::uint32_t flags) override {
        return LoadNoted(Narrow(path), "LoadW ", flags);
    }

    platform::SymbolAddress Symbol(platform::ModuleHandle module, const char* name) override {
        m_calls.push_back(std::string("Symbol ") + name);
        const Symbols& symbols = static_cast<Library*>(module)->symbols;
        const auto found = symbols.find(name);
        if (found != symbols.end()) return found->second;
        m_lastError = kNoSuchSymbol;
        return nullptr;
    }

    void Unload(platform::ModuleHandle module) override {
        m_calls.emplace_back("Unload");
        --static_cast<Library*>(module)->loads;
    }

    bool CurrentDirectory(char* buffer, int capacity) override {
        m_calls.push_back("CurrentDirectory " + std::to_string(capacity));
        if (!m_knowsFolder || m_folder.size() >= static_cast<std::size_t>(capacity)) return false;
        m_folder.copy(buffer, m_folder.size());
        buffer[m_folder.size()] = '\0';
        return true;
    }

    std::uint16_t NativeArchitecture() override { return m_architecture; }

    std::uint32_t LastError() const override {
        m_calls.emplace_back("LastError");
        return m_lastError;
    }

    void SetLastError(std::uint32_t error) override { m_lastError = error; }

 private:
    struct Library {
        Symbols symbols;
        int loads;
    };

    static std::string Narrow(const std::wstring& text) {
        FakeTextConversion conversion;
        const auto convert = [&](char* buffer, int capacity) {
            return conversion.WideToBytes(platform::CodePage::Utf8, text.c_str(), buffer, capacity);
        };
        std::string bytes(static_cast<std::size_t>(convert(nullptr, 0)), '\0');
        (void)convert(bytes.data(), static_cast<int>(bytes.size()));  // it was measured
        bytes.pop_back();
        return bytes;
    }

    static std::wstring Wide(const std::string& text) {
        FakeTextConversion conversion;
        const auto convert = [&](wchar_t* buffer, int capacity) {
            return conversion.BytesToWide(platform::CodePage::Utf8, text.c_str(), buffer, capacity);
        };
        std::wstring wide(static_cast<std::size_t>(convert(nullptr, 0)), L'\0');
        (void)convert(wide.data(), static_cast<int>(wide.size()));
        wide.pop_back();
        return wide;
    }

    static bool IsAbsolute(const std::string& path) { return path.front() == '/' || path.find(":\\") == 1; }

    template <typename Char, typename Convert>
    std::uint32_t FullPathOf(const std::string& path, const std::string& call, const Convert& convert, Char* buffer,
                             std::uint32_t capacity) {
        m_calls.push_back(call + std::to_string(capacity));
        if (!m_fullPathAnswers.empty()) return TakeFirst(m_fullPathAnswers);
        if (!m_fullPathErrors.empty() || path.empty()) {
            m_lastError = m_fullPathErrors.empty() ? kBadName : TakeFirst(m_fullPathErrors);
            return 0;
        }
        const auto full = convert(IsAbsolute(path) ? path : m_folder + platform::kPathSeparator + path);
        const auto length = static_cast<std::uint32_t>(full.size());
        if (length >= capacity) return length + 1;
        full.copy(buffer, length);
        buffer[length] = Char();
        return length;
    }

    platform::ModuleHandle LoadNoted(const std::string& path, const std::string& call, std::uint32_t flags) {
        m_calls.push_back(call +
                          (flags == platform::kSearchModuleFolderAndDefaults ? "0x1100" : std::to_string(flags)));
        const auto found = m_libraries.find(path);
        if (!m_loadErrors.empty() || found == m_libraries.end()) {
            m_lastError = m_loadErrors.empty() ? kNotFound : TakeFirst(m_loadErrors);
            return nullptr;
        }
        ++found->second->loads;
        return found->second.get();
    }

    static std::uint32_t TakeFirst(std::deque<std::uint32_t>& numbers) {
        const std::uint32_t first = numbers.front();
        numbers.pop_front();
        return first;
    }

    std::map<std::string, std::unique_ptr<Library>> m_libraries;
    std::string m_folder = std::string(platform::kPathSeparator) == "\\" ? "C:\\work" : "/work";
    bool m_knowsFolder = true;
    std::uint16_t m_architecture = platform::kArchitectureAmd64;
    std::uint32_t m_lastError = 0;
    std::deque<std::uint32_t> m_loadErrors;
    std::deque<std::uint32_t> m_fullPathErrors;
    std::deque<std::uint32_t> m_fullPathAnswers;
    mutable std::vector<std::string> m_calls;
};

}  // namespace support
