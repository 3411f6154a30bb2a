#pragma once

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <map>
#include <memory>
#include <new>
#include <optional>
#include <sstream>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "platform/file_views.h"
#include "support/fake_text_conversion.h"

namespace support {

// What a file is asked for, step by step.
enum class FileStep { WidePath, Exists, Status, OpenStream, Open, Size, CreateMapping, Map };

// Files in memory, under exactly the paths they were put at; narrow paths are UTF-8. Fails on demand. Thread: one at a
// time.
class FakeFileViews final : public platform::FileViews {
 public:
    void Put(const std::wstring& path, std::string content) {
        m_contents[path] = std::make_shared<const std::string>(std::move(content));
    }

    // Something that exists and can't be opened, as a folder.
    void PutFolder(const std::wstring& path) { m_contents[path] = nullptr; }

    // The next such step of anybody fails, or throws std::bad_alloc.
    void FailNext(FileStep step) { m_troubles[step] = Trouble::Fails; }
    void ThrowNext(FileStep step) { m_troubles[step] = Trouble::Throws; }

    // Streams and views that are open now.
    int OpenFiles() const { return static_cast<int>(m_open.use_count()) - 1; }

    // The steps so far, failed ones included.
    const std::vector<FileStep>& Steps() const { return m_steps; }

    std::optional<std::wstring> WidePath(const std::string& path) override {
        if (Fails(FileStep::WidePath)) return std::nullopt;
        FakeTextConversion conversion;
        const auto convert = [&](wchar_t* buffer, int capacity) {
            return conversion.BytesToWide(platform::CodePage::Utf8, path.c_str(), buffer, capacity);
        };
        std::wstring wide(static_cast<std::size_t>(convert(nullptr, 0)), L'\0');
        (void)convert(wide.data(), static_cast<int>(wide.size()));  // it was measured
        wide.pop_back();
        return wide;
    }

    bool Exists(const std::wstring& path) override {
        return !Fails(FileStep::Exists) && m_contents.count(path.c_str()) != 0;
    }

    std::filesystem::file_status Status(const std::filesystem::path& path, std::error_code& error) override {
        using std::filesystem::file_type;
        error.clear();
        if (Fails(FileStep::Status)) {
            error = std::make_error_code(std::errc::io_error);
            return std::filesystem::file_status(file_type::none);
        }
        const auto found = m_contents.find(path.wstring());
        if (found == m_contents.end()) return std::filesystem::file_status(file_type::not_found);
        return std::filesystem::file_status(found->second == nullptr ? file_type::directory : file_type::regular);
    }

    std::unique_ptr<std::istream> OpenStream(const std::wstring& path) override {
        const auto content = ContentOf(path);
        if (Fails(FileStep::OpenStream) || content == nullptr) return nullptr;
        return std::make_unique<Stream>(*content, m_open);
    }

    std::unique_ptr<platform::FileView> Open(const std::wstring& path) override {
        auto content = ContentOf(path);
        if (Fails(FileStep::Open) || content == nullptr) return nullptr;
        return std::make_unique<View>(std::move(content), *this);
    }

 private:
    enum class Trouble { Fails, Throws };

    class Stream final : public std::istringstream {
     public:
        Stream(const std::string& content, std::shared_ptr<int> open)
            : std::istringstream(content, std::ios::binary), m_open(std::move(open)) {}

     private:
        std::shared_ptr<int> m_open;
    };

    class View final : public platform::FileView {
     public:
        View(std::shared_ptr<const std::string> content, FakeFileViews& files)
            : m_content(std::move(content)), m_files(files), m_open(files.m_open) {}

        std::optional<std::uint64_t> Size() override {
            if (m_files.Fails(FileStep::Size)) return std::nullopt;
            return m_content->size();
        }

        bool CreateMapping() override {
            m_mapped = !m_files.Fails(FileStep::CreateMapping) && !m_content->empty();
            return m_mapped;
        }

        const std::byte* Map() override {
            if (m_files.Fails(FileStep::Map) || !m_mapped) return nullptr;
            // A copy of exactly its bytes, so that a sanitizer sees who reads behind the end.
            const auto* const bytes = reinterpret_cast<const std::byte*>(m_content->data());
            m_view = std::make_unique<std::byte[]>(m_content->size());
            std::copy(bytes, bytes + m_content->size(), m_view.get());
            return m_view.get();
        }

     private:
        std::shared_ptr<const std::string> m_content;
        FakeFileViews& m_files;
        std::shared_ptr<int> m_open;
        bool m_mapped = false;
        std::unique_ptr<std::byte[]> m_view;
    };

    std::shared_ptr<const std::string> ContentOf(const std::wstring& path) const {
        const auto found = m_contents.find(path.c_str());
        return found == m_contents.end() ? nullptr : found->second;
    }

    bool Fails(FileStep step) {
        m_steps.push_back(step);
        const auto found = m_troubles.find(step);
        if (found == m_troubles.end()) return false;
        const Trouble trouble = found->second;
        m_troubles.erase(found);
        if (trouble == Trouble::Throws) throw std::bad_alloc();
        return true;
    }

    std::map<std::wstring, std::shared_ptr<const std::string>> m_contents;
    std::map<FileStep, Trouble> m_troubles;
    std::vector<FileStep> m_steps;
    std::shared_ptr<int> m_open = std::make_shared<int>();  // each open stream or view holds one more reference
};

}  // namespace support
