#include "exported_names.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <stdexcept>

#include "standin_support/test_engine.h"

namespace standin_support {
namespace {

template <typename T>
T Read(const std::string& bytes, std::size_t at) {
    if (at + sizeof(T) > bytes.size()) throw std::runtime_error("the file is cut off");
    T value;
    std::memcpy(&value, bytes.data() + at, sizeof(T));
    return value;
}

std::string ReadName(const std::string& bytes, std::size_t at) {
    return {bytes.c_str() + at};
}

std::vector<std::string> ElfNames(const std::string& bytes) {
    const auto sections = Read<std::uint64_t>(bytes, 40);
    const auto sectionSize = Read<std::uint16_t>(bytes, 58);
    const auto sectionCount = Read<std::uint16_t>(bytes, 60);
    const auto offsetOf = [&](std::size_t section) {
        return Read<std::uint64_t>(bytes, sections + section * sectionSize + 24);
    };
    std::vector<std::string> names;
    for (std::size_t section = 0; section < sectionCount; ++section) {
        const std::size_t header = sections + section * sectionSize;
        if (Read<std::uint32_t>(bytes, header + 4) != 11) continue;  // no table of dynamic symbols
        const auto size = Read<std::uint64_t>(bytes, header + 32);
        const std::uint64_t strings = offsetOf(Read<std::uint32_t>(bytes, header + 40));
        for (std::uint64_t symbol = offsetOf(section); symbol < offsetOf(section) + size; symbol += 24) {
            if (Read<std::uint16_t>(bytes, symbol + 6) == 0) continue;  // wanted, not offered
            names.push_back(ReadName(bytes, strings + Read<std::uint32_t>(bytes, symbol)));
        }
    }
    return names;
}

std::vector<std::string> PeNames(const std::string& bytes) {
    const auto header = Read<std::uint32_t>(bytes, 60);
    const auto sectionCount = Read<std::uint16_t>(bytes, header + 6);
    const std::size_t sections = header + 24 + Read<std::uint16_t>(bytes, header + 20);
    // From an address in the loaded library to one in the file.
    const auto inFile = [&](std::uint32_t address) -> std::size_t {
        for (std::size_t i = 0; i < sectionCount; ++i) {
            const auto start = Read<std::uint32_t>(bytes, sections + 40 * i + 12);
            const auto size = Read<std::uint32_t>(bytes, sections + 40 * i + 16);
            if (address >= start && address < start + size) {
                return Read<std::uint32_t>(bytes, sections + 40 * i + 20) + (address - start);
            }
        }
        throw std::runtime_error("an address lies in no section");
    };
    const std::size_t directory = inFile(Read<std::uint32_t>(bytes, header + 24 + 112));
    const auto count = Read<std::uint32_t>(bytes, directory + 24);
    const std::size_t list = inFile(Read<std::uint32_t>(bytes, directory + 32));
    std::vector<std::string> names;
    for (std::size_t i = 0; i < count; ++i) {
        names.push_back(ReadName(bytes, inFile(Read<std::uint32_t>(bytes, list + 4 * i))));
    }
    return names;
}

}  // namespace

std::vector<std::string> ExportedNames(const std::filesystem::path& file) {
    const std::string bytes = ReadText(file);
    std::vector<std::string> names;
    if (bytes.starts_with("\x7F"
                          "ELF")) {
        names = ElfNames(bytes);
    } else if (bytes.starts_with("MZ")) {
        names = PeNames(bytes);
    } else {
        throw std::runtime_error("no library");
    }
    std::sort(names.begin(), names.end());
    return names;
}

}  // namespace standin_support
