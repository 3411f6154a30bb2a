#include "platform/file_views.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <system_error>
#include <utility>

#include "platform/posix/path_bytes.h"
#include "platform/posix/unique_descriptor.h"

namespace platform {
namespace {

using posix::UniqueDescriptor;

class MappedFile final : public FileView {
 public:
    explicit MappedFile(UniqueDescriptor file) : m_file(std::move(file)) {}
    MappedFile(const MappedFile&) = delete;
    MappedFile& operator=(const MappedFile&) = delete;
    ~MappedFile() override { Unmap(); }

    std::optional<std::uint64_t> Size() override {
        struct stat facts {};
        if (::fstat(m_file.Get(), &facts) == -1) return std::nullopt;
        return static_cast<std::uint64_t>(facts.st_size);
    }

    // Nothing to be done ahead here, but the size is settled, as a mapping's is.
    bool CreateMapping() override {
        Unmap();
        m_bytes = static_cast<std::size_t>(Size().value_or(0));
        return m_bytes != 0;
    }

    const std::byte* Map() override {
        Unmap();
        if (m_bytes == 0) return nullptr;
        void* const view = ::mmap(nullptr, m_bytes, PROT_READ, MAP_PRIVATE, m_file.Get(), 0);
        if (view == MAP_FAILED) return nullptr;
        m_view = view;
        return static_cast<const std::byte*>(m_view);
    }

 private:
    void Unmap() {
        if (m_view != nullptr) ::munmap(m_view, m_bytes);
        m_view = nullptr;
    }

    UniqueDescriptor m_file;
    std::size_t m_bytes = 0;  // of the mapping; 0 until there is one
    void* m_view = nullptr;
};

class PosixFileViews final : public FileViews {
 public:
    std::optional<std::wstring> WidePath(const std::string& path) override { return posix::ToWide(path); }

    bool Exists(const std::wstring& path) override {
        struct stat facts {};
        return ::stat(posix::ToBytes(path).c_str(), &facts) == 0;
    }

    std::unique_ptr<std::istream> OpenStream(const std::wstring& path) override {
        const std::filesystem::path file(posix::ToBytes(path));
        // Folders could be opened here, and opening a pipe would wait for somebody who writes.
        std::error_code ignored;
        if (!std::filesystem::is_regular_file(file, ignored)) return nullptr;
        auto stream = std::make_unique<std::ifstream>(file, std::ios::binary);
        if (!stream->is_open()) return nullptr;
        return stream;
    }

    std::unique_ptr<FileView> Open(const std::wstring& path) override {
        constexpr int kFlags = O_RDONLY | O_CLOEXEC | O_NONBLOCK;  // the last for pipes, which are refused below
        UniqueDescriptor file(::open(posix::ToBytes(path).c_str(), kFlags));
        struct stat facts {};
        if (!file || ::fstat(file.Get(), &facts) == -1 || !S_ISREG(facts.st_mode)) return nullptr;
        return std::make_unique<MappedFile>(std::move(file));
    }
};

}  // namespace

FileViews& SystemFileViews() {
    static PosixFileViews& files = *new PosixFileViews;  // never destroyed: destructors of globals may still come here
    return files;
}

}  // namespace platform
