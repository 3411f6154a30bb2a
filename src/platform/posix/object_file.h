#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "platform/posix/object_name.h"
#include "platform/posix/unique_descriptor.h"

namespace platform::posix {

// One user's hold on the file in /dev/shm that stands for a named object. The file lives as long as its users do, in
// whichever process and however they end, because they hold locks on it that the system takes back:
//   byte 0, the users  shared by everybody who uses the object, for as long as they do
//   byte 1, the gate   exclusive, held while somebody comes or goes; nothing else is ever done under it
// Coming and going are thus steps that never overlap. Who comes and finds no user starts the object afresh; who goes
// last removes the file. A process that was killed left its file but no lock, so the next to come starts afresh as
// well. A name in use for one kind of object can't be had for the other (two who come at the same moment, one for each
// kind, may both be refused). The locks belong to the open file and not to
// the process, so two users in one process are two users. All failures are in LastError. Thread: one at a time per
// object.
class ObjectFile {
 public:
    // The object of this name, made of `bytes` zero bytes when nobody uses it. The memory is reserved here, so that a
    // later access never meets a full file system.
    static std::optional<ObjectFile> CreateOrOpen(ObjectKind kind, const std::string& name, std::uint64_t bytes);

    // The object of this name, nothing (ENOENT) when nobody uses one.
    static std::optional<ObjectFile> OpenExisting(ObjectKind kind, const std::string& name);

    // Removes the files of objects of this user that nobody uses: a pair of which both sides were killed leaves them,
    // and pixels take megabytes. A later user of such a name would start afresh either way.
    static void RemoveLeftovers();

    ObjectFile(ObjectFile&& other) noexcept = default;
    ObjectFile& operator=(ObjectFile&&) = delete;
    ~ObjectFile();

    int Descriptor() const { return m_file.Get(); }

    // The object's size in bytes, a multiple of 4096; nothing when the system does not tell.
    std::optional<std::uint64_t> Bytes() const;

    // Equal for two users of the same object.
    std::uint64_t Identity() const { return m_identity; }

 private:
    ObjectFile(UniqueDescriptor file, std::string path, std::uint64_t identity)
        : m_file(std::move(file)), m_path(std::move(path)), m_identity(identity) {}

    static std::optional<ObjectFile> Enter(ObjectKind kind, const std::string& name,
                                           std::optional<std::uint64_t> bytesWhenUnused);

    UniqueDescriptor m_file;
    std::string m_path;
    std::uint64_t m_identity;
};

}  // namespace platform::posix
