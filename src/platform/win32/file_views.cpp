#include "platform/file_views.h"

#include <windows.h>

#include <filesystem>
#include <fstream>
#include <utility>

#include "platform/win32/unique_handle.h"

namespace platform {
namespace {

using win32::UniqueHandle;

class KernelFileView final : public FileView {
 public:
    explicit KernelFileView(UniqueHandle file) : m_file(std::move(file)) {}
    KernelFileView(const KernelFileView&) = delete;
    KernelFileView& operator=(const KernelFileView&) = delete;
    ~KernelFileView() override { Unmap(); }

    std::optional<std::uint64_t> Size() override {
        LARGE_INTEGER size{};
        if (::GetFileSizeEx(m_file.Get(), &size) == 0) return std::nullopt;
        return static_cast<std::uint64_t>(size.QuadPart);
    }

    bool CreateMapping() override {
        Unmap();
        m_mapping.Reset(::CreateFileMappingW(m_file.Get(), nullptr, PAGE_READONLY, 0, 0, nullptr));
        return static_cast<bool>(m_mapping);
    }

    const std::byte* Map() override {
        if (!m_mapping) return nullptr;
        Unmap();
        m_view = ::MapViewOfFile(m_mapping.Get(), FILE_MAP_READ, 0, 0, 0);
        return static_cast<const std::byte*>(m_view);
    }

 private:
    void Unmap() {
        if (m_view != nullptr) ::UnmapViewOfFile(m_view);
        m_view = nullptr;
    }

    UniqueHandle m_file;  // declared first, so that it is closed last
    UniqueHandle m_mapping;
    const void* m_view = nullptr;
};

class KernelFileViews final : public FileViews {
 public:
    std::optional<std::wstring> WidePath(const std::string& path) override {
        const UINT codePage = ::AreFileApisANSI() != 0 ? CP_ACP : CP_OEMCP;
        // Not a char is replaced: the path would name another file.
        const int count = ::MultiByteToWideChar(codePage, MB_ERR_INVALID_CHARS, path.c_str(), -1, nullptr, 0);
        if (count <= 0) return std::nullopt;
        std::wstring wide(static_cast<std::size_t>(count), L'\0');
        if (::MultiByteToWideChar(codePage, MB_ERR_INVALID_CHARS, path.c_str(), -1, wide.data(), count) != count) {
            return std::nullopt;
        }
        wide.pop_back();  // the terminator
        return wide;
    }

    bool Exists(const std::wstring& path) override {
        const DWORD attributes = ::GetFileAttributesW(path.c_str());
        if (attributes == INVALID_FILE_ATTRIBUTES) return false;
        if ((attributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0) return true;
        // These were the attributes of a link. Opening follows it; the flag lets folders be opened too.
        constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
        const UniqueHandle target(::CreateFileW(path.c_str(), FILE_READ_ATTRIBUTES, kShareAll, nullptr, OPEN_EXISTING,
                                                FILE_FLAG_BACKUP_SEMANTICS, nullptr));
        return static_cast<bool>(target);
    }

    std::unique_ptr<std::istream> OpenStream(const std::wstring& path) override {
        auto stream = std::make_unique<std::ifstream>(std::filesystem::path(path.c_str()), std::ios::binary);
        if (!stream->is_open()) return nullptr;
        return stream;
    }

    std::unique_ptr<FileView> Open(const std::wstring& path) override {
        UniqueHandle file(::CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                        FILE_ATTRIBUTE_NORMAL, nullptr));
        if (!file) return nullptr;
        return std::make_unique<KernelFileView>(std::move(file));
    }
};

}  // namespace

FileViews& SystemFileViews() {
    static KernelFileViews& files =
        *new KernelFileViews;  // never destroyed: destructors of globals may still come here
    return files;
}

}  // namespace platform
