#include "platform/file_views.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <system_error>
#include <utility>

#include "platform/posix/path_bytes.h"
#include "platform/posix/unique_descriptor.h"

namespace platform {
namespace {

using posix::UniqueDescriptor;

// The largest file that is shown: a view of it is memory of this process, and no library comes near.
constexpr std::uint64_t kLargestFile = std::uint64_t{1} << 30;

// False when the file ends before that.
bool ReadFromStart(int file, std::byte* buffer, std::size_t bytes) {
    std::size_t done = 0;
    while (done < bytes) {
        const ssize_t count = ::pread(file, buffer + done, bytes - done, static_cast<off_t>(done));
        if (count == -1 && errno == EINTR) continue;
        if (count <= 0) return false;
        done += static_cast<std::size_t>(count);
    }
    return true;
}

// A file whose view is a copy. Nobody is kept from cutting a file short here, and in a mapping whoever reads behind the
// new end dies of SIGBUS.
class CopiedFile final : public FileView {
 public:
    explicit CopiedFile(UniqueDescriptor file) : m_file(std::move(file)) {}

    // Asked of the system once, so that the view is never shorter than what was told.
    std::optional<std::uint64_t> Size() override {
        struct stat facts {};
        if (!m_size && ::fstat(m_file.Get(), &facts) == 0) m_size = static_cast<std::uint64_t>(facts.st_size);
        return m_size;
    }

    bool CreateMapping() override {
        const std::uint64_t bytes = Size().value_or(0);
        m_isReady = bytes > 0 && bytes <= kLargestFile;
        return m_isReady;
    }

    const std::byte* Map() override {
        m_view.reset();
        if (!m_isReady) return nullptr;
        const auto bytes = static_cast<std::size_t>(*m_size);
        auto view = std::make_unique_for_overwrite<std::byte[]>(bytes);
        if (!ReadFromStart(m_file.Get(), view.get(), bytes)) return nullptr;
        m_view = std::move(view);
        return m_view.get();
    }

 private:
    UniqueDescriptor m_file;
    std::optional<std::uint64_t> m_size;
    bool m_isReady = false;
    std::unique_ptr<std::byte[]> m_view;
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
        return std::make_unique<CopiedFile>(std::move(file));
    }
};

}  // namespace

FileViews& SystemFileViews() {
    static PosixFileViews& files = *new PosixFileViews;  // never destroyed: destructors of globals may still come here
    return files;
}

}  // namespace platform
