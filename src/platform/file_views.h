#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <istream>
#include <memory>
#include <optional>
#include <string>
#include <system_error>

namespace platform {

// A file that is open to be read, and at most one view of it. The steps stand apart so that a caller can say which one
// failed. What is open goes with the object. Thread: one at a time.
class FileView {
 public:
    virtual ~FileView() = default;

    // In bytes, as it was when this was first asked. Nothing on failure.
    virtual std::optional<std::uint64_t> Size() = 0;

    // Prepares the whole file to be mapped, read-only. False on failure, for an empty file, and on Linux for one above
    // 1 GiB.
    virtual bool CreateMapping() = 0;

    // The whole file, Size() bytes, after CreateMapping; valid as long as this object and until the next call. Null on
    // failure, and before it. On Linux it is a copy, since nobody is kept from changing the file there: null when the
    // file has become shorter. May throw std::bad_alloc.
    virtual const std::byte* Map() = 0;
};

// Files that are only read. Paths end at their first NUL. All operations may throw std::bad_alloc. Thread: any.
class FileViews {
 public:
    virtual ~FileViews() = default;

    // The wide form of a path as the system's byte calls take it: on Windows by the file system's code page, on Linux
    // as UTF-8, where bytes that are none survive the way there and back. Nothing when it has none.
    virtual std::optional<std::wstring> WidePath(const std::string& path) = 0;

    // Whether something stands at this path, links followed. False also for whatever keeps the system from telling.
    virtual bool Exists(const std::wstring& path) = 0;

    // What stands at this path, links followed. The type is not_found when nothing does, and none when something keeps
    // the system from telling; `error` then says what. By default what the standard library finds.
    virtual std::filesystem::file_status Status(const std::filesystem::path& path, std::error_code& error);

    // Opens a file to be read as a buffered stream of bytes; others may do with it what they like. Null on failure, and
    // for what is no regular file.
    virtual std::unique_ptr<std::istream> OpenStream(const std::wstring& path) = 0;

    // Opens an existing file to be read; others may read it meanwhile, and not write (which Linux does not enforce).
    // Null on failure, and for what is no regular file.
    virtual std::unique_ptr<FileView> Open(const std::wstring& path) = 0;
};

// The operating system's own.
FileViews& SystemFileViews();

}  // namespace platform
