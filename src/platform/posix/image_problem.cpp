#include "platform/posix/image_problem.h"

#include <elf.h>
#include <fcntl.h>
#include <link.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>

#include "platform/posix/unique_descriptor.h"

namespace platform::posix {
namespace {

constexpr unsigned char kOwnClass = sizeof(void*) == 8 ? ELFCLASS64 : ELFCLASS32;

template <typename Record>
bool ReadAt(int file, std::uint64_t at, Record& record) {
    return ::pread(file, &record, sizeof record, static_cast<off_t>(at)) == static_cast<ssize_t>(sizeof record);
}

// False for whatever the loader refuses by itself: what is no ELF file of this program's width, or has no whole table.
bool IsCutOff(int file, std::uint64_t fileBytes) {
    ElfW(Ehdr) header{};
    if (!ReadAt(file, 0, header)) return false;
    if (std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0 || header.e_ident[EI_CLASS] != kOwnClass) return false;
    if (header.e_phentsize != sizeof(ElfW(Phdr))) return false;

    for (unsigned index = 0; index < header.e_phnum; ++index) {
        ElfW(Phdr) segment{};
        if (!ReadAt(file, header.e_phoff + std::uint64_t{index} * sizeof segment, segment)) return false;
        if (segment.p_type != PT_LOAD) continue;
        if (segment.p_offset > fileBytes || segment.p_filesz > fileBytes - segment.p_offset) return true;
    }
    return false;
}

}  // namespace

int ImageProblem(const std::string& path) {
    const UniqueDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat facts {};
    if (!file || ::fstat(file.Get(), &facts) == -1) return errno;
    return IsCutOff(file.Get(), static_cast<std::uint64_t>(facts.st_size)) ? ENOEXEC : 0;
}

}  // namespace platform::posix
