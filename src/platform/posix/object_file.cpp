#include "platform/posix/object_file.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <memory>
#include <string_view>

#include "platform/posix/last_error.h"

namespace platform::posix {
namespace {

constexpr char kFolder[] = "/dev/shm/";
constexpr std::uint64_t kPageBytes = 4096;  // mappings are counted in these on every machine, as on Windows

constexpr off_t kUsersByte = 0;
constexpr off_t kGateByte = 1;

bool Lock(int file, int command, short type, off_t at, struct flock& region) {
    region = {};
    region.l_type = type;
    region.l_whence = SEEK_SET;
    region.l_start = at;
    region.l_len = 1;
    int result = 0;
    do {
        result = ::fcntl(file, command, &region);
    } while (result == -1 && errno == EINTR);
    return result != -1;
}

bool TakeGate(int file) {
    struct flock region {};
    return Lock(file, F_OFD_SETLKW, F_WRLCK, kGateByte, region);
}

void DropGate(int file) {
    struct flock region {};
    (void)Lock(file, F_OFD_SETLK, F_UNLCK, kGateByte, region);  // letting go of a lock that is held doesn't fail
}

// Never has to wait: exclusive holders of that byte do not exist.
bool BecomeUser(int file) {
    struct flock region {};
    return Lock(file, F_OFD_SETLK, F_RDLCK, kUsersByte, region);
}

enum class OtherUsers { None, Some, Unknown };

OtherUsers FindOtherUsers(int file) {
    struct flock region {};
    if (!Lock(file, F_OFD_GETLK, F_WRLCK, kUsersByte, region)) return OtherUsers::Unknown;
    return region.l_type == F_UNLCK ? OtherUsers::None : OtherUsers::Some;
}

// Only a plain file of our own user is taken: the folder is open to everybody, and what others put there is not ours to
// trust. Says EACCES otherwise.
UniqueDescriptor OpenOwn(const std::string& path, bool create, struct stat& facts) {
    const int flags = O_RDWR | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK | (create ? O_CREAT : 0);
    UniqueDescriptor file = AboveStreams(UniqueDescriptor(::open(path.c_str(), flags, S_IRUSR | S_IWUSR)));
    if (!file || ::fstat(file.Get(), &facts) == -1) return {};
    if (!S_ISREG(facts.st_mode) || facts.st_uid != ::geteuid()) {
        errno = EACCES;
        return {};
    }
    return file;
}

bool StillNames(const std::string& path, const struct stat& facts) {
    struct stat now {};
    return ::lstat(path.c_str(), &now) == 0 && now.st_dev == facts.st_dev && now.st_ino == facts.st_ino;
}

// Whether the name stands for a living object of the other kind: both share one space of names, as on Windows.
bool IsUsedAsOtherKind(ObjectKind kind, const std::string& name) {
    int error = 0;
    const ObjectKind other = kind == ObjectKind::Event ? ObjectKind::Mapping : ObjectKind::Event;
    struct stat facts {};
    const UniqueDescriptor file = OpenOwn(kFolder + ObjectFileName(other, name, error), false, facts);
    return file && FindOtherUsers(file.Get()) == OtherUsers::Some;
}

bool StartAfresh(int file, std::uint64_t bytes) {
    const std::uint64_t rounded = (bytes + kPageBytes - 1) / kPageBytes * kPageBytes;
    if (::ftruncate(file, 0) == -1) return false;
    int error = 0;
    do {
        error = ::posix_fallocate(file, 0, static_cast<off_t>(rounded));
    } while (error == EINTR);
    errno = error;
    return error == 0;
}

struct CloseFolder {
    void operator()(DIR* folder) const { ::closedir(folder); }
};

}  // namespace

std::optional<ObjectFile> ObjectFile::CreateOrOpen(ObjectKind kind, const std::string& name, std::uint64_t bytes) {
    return Enter(kind, name, bytes);
}

std::optional<ObjectFile> ObjectFile::OpenExisting(ObjectKind kind, const std::string& name) {
    return Enter(kind, name, std::nullopt);
}

std::optional<ObjectFile> ObjectFile::Enter(ObjectKind kind, const std::string& name,
                                            std::optional<std::uint64_t> bytesWhenUnused) {
    int error = 0;
    const std::string fileName = ObjectFileName(kind, name, error);
    if (fileName.empty()) {
        SetLastError(error);
        return std::nullopt;
    }
    if (IsUsedAsOtherKind(kind, name)) {
        SetLastError(EEXIST);
        return std::nullopt;
    }
    std::string path = kFolder + fileName;
    for (;;) {
        struct stat facts {};
        UniqueDescriptor file = OpenOwn(path, bytesWhenUnused.has_value(), facts);
        if (!file || !TakeGate(file.Get())) break;
        // The last user may have removed the file while this one waited at its gate. Each further round means that
        // somebody else went the whole way, so there is always one who gets on.
        if (!StillNames(path, facts)) continue;

        const OtherUsers others = FindOtherUsers(file.Get());
        if (others == OtherUsers::Unknown) break;
        if (others == OtherUsers::None && !bytesWhenUnused) {
            ::unlink(path.c_str());  // what a killed process left, or a maker at the gate, who will try again
            errno = ENOENT;
            break;
        }
        if (others == OtherUsers::None && !StartAfresh(file.Get(), *bytesWhenUnused)) {
            const int reason = errno;
            ::unlink(path.c_str());
            errno = reason;
            break;
        }
        if (!BecomeUser(file.Get())) break;
        DropGate(file.Get());
        ObjectFile object(std::move(file), std::move(path), facts.st_ino);
        // Each kind has a gate of its own, so somebody may have come by the same name for the other kind meanwhile.
        // Both are users before they look once more, so at least one of them finds the other and goes.
        if (IsUsedAsOtherKind(kind, name)) {
            errno = EEXIST;
            break;
        }
        return object;
    }
    SetLastError(errno);
    return std::nullopt;
}

void ObjectFile::RemoveLeftovers() {
    const std::unique_ptr<DIR, CloseFolder> folder(::opendir(kFolder));
    if (folder == nullptr) return;
    while (const dirent* const entry = ::readdir(folder.get())) {
        const std::string_view fileName = entry->d_name;
        if (!fileName.starts_with(kEventFilePrefix) && !fileName.starts_with(kMappingFilePrefix)) continue;
        const std::string path = std::string(kFolder).append(fileName);
        struct stat facts {};
        struct flock region {};
        const UniqueDescriptor file = OpenOwn(path, false, facts);
        // Without waiting: somebody at the gate shows that the object is in use.
        if (file && Lock(file.Get(), F_OFD_SETLK, F_WRLCK, kGateByte, region) && StillNames(path, facts) &&
            FindOtherUsers(file.Get()) == OtherUsers::None) {
            ::unlink(path.c_str());
        }
    }
}

ObjectFile::~ObjectFile() {
    if (!m_file) return;  // moved from
    const int error = errno;
    struct stat facts {};
    // Should the gate be out of reach the file stays behind, and the next to come starts it afresh.
    if (TakeGate(m_file.Get()) && FindOtherUsers(m_file.Get()) == OtherUsers::None &&
        ::fstat(m_file.Get(), &facts) == 0 && StillNames(m_path, facts)) {
        ::unlink(m_path.c_str());
    }
    // Said aloud and not left to the closing: a child that is just being started holds a copy of the descriptor for a
    // moment, and with it the lock.
    struct flock region {};
    (void)Lock(m_file.Get(), F_OFD_SETLK, F_UNLCK, kUsersByte, region);
    DropGate(m_file.Get());
    m_file.Reset();
    errno = error;
}

std::optional<std::uint64_t> ObjectFile::Bytes() const {
    struct stat facts {};
    if (::fstat(m_file.Get(), &facts) == -1) {
        SetLastError(errno);
        return std::nullopt;
    }
    return static_cast<std::uint64_t>(facts.st_size);
}

}  // namespace platform::posix
