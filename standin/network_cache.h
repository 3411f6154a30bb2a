#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "standin/fingerprint.h"

namespace standin {

using Bytes = std::vector<std::uint8_t>;

// The whole file. Throws std::runtime_error that names it and says why: missing, no plain file, empty, unreadable.
Bytes ReadFile(const std::filesystem::path& file);

// A folder of optimised networks, one file each, named by what they were made of. Several processes may share it: files
// appear whole, by renaming. Every file carries its own key and a digest of its content, so one that is damaged, cut
// off or stems from another version is not taken for good. Thread: any.
class NetworkCache {
 public:
    // Makes the folder when there is none. Throws std::filesystem::filesystem_error.
    explicit NetworkCache(std::filesystem::path folder);

    // The network that was kept under `key`; nothing when there is none or its file is damaged. Throws std::bad_alloc.
    [[nodiscard]] std::optional<Bytes> Read(const Digest& key) const;

    // Keeps a network, in place of whatever was there. Throws std::runtime_error when the file can't be written.
    void Write(const Digest& key, const Bytes& network) const;

    // A name in the folder that nobody else uses, for a file that is on its way. Leftovers of processes that were
    // killed meanwhile are removed when they are a day old.
    [[nodiscard]] std::filesystem::path TemporaryFile() const;

    [[nodiscard]] std::filesystem::path FileOf(const Digest& key) const;

 private:
    std::filesystem::path m_folder;
};

// Removes a file at the end of the scope, if it is there.
class FileRemover {
 public:
    explicit FileRemover(std::filesystem::path file);
    ~FileRemover();
    FileRemover(const FileRemover&) = delete;
    FileRemover& operator=(const FileRemover&) = delete;

 private:
    std::filesystem::path m_file;
};

}  // namespace standin
