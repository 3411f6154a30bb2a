#pragma once

#include <cstdint>
#include <string>

// Shared libraries, loaded from a path and asked for symbols.
namespace platform {

using ModuleHandle = void*;        // null is none
using SymbolAddress = void (*)();  // of any symbol; to be cast to the function's own type

// Where the loader looks for what a library needs in its turn. The numbers are Windows's own.
inline constexpr std::uint32_t kSearchModuleFolderAndDefaults = 0x1100;  // the library's folder, then the safe defaults
inline constexpr std::uint32_t kSearchByAlteredPath = 8;                 // for systems that refuse the former with 87

inline constexpr std::uint32_t kInvalidParameter = 87;  // an error number

// The machine that the system itself runs on. The numbers are Windows's own.
inline constexpr std::uint16_t kArchitectureArm = 5;
inline constexpr std::uint16_t kArchitectureIa64 = 6;
inline constexpr std::uint16_t kArchitectureAmd64 = 9;
inline constexpr std::uint16_t kArchitectureArm64 = 12;
inline constexpr std::uint16_t kArchitectureUnknown = 0xFFFF;

// Each operation is one call of the system, so that its caller decides on order, retries and messages.
// Thread: any; the error number belongs to the calling thread.
class ModuleLoader {
 public:
    virtual ~ModuleLoader() = default;

    // Writes the absolute form of `path`, terminated, to `buffer` of `capacity` characters. Returns its length without
    // the terminator; the size it needs, terminator included, when the buffer is too small; 0 on failure.
    virtual std::uint32_t FullPath(const std::string& path, char* buffer, std::uint32_t capacity) = 0;
    virtual std::uint32_t FullPath(const std::wstring& path, wchar_t* buffer, std::uint32_t capacity) = 0;

    // Loads the library at an absolute path; a library that is loaded already is counted once more. Null on failure.
    virtual ModuleHandle Load(const std::string& path, std::uint32_t flags) = 0;
    virtual ModuleHandle Load(const std::wstring& path, std::uint32_t flags) = 0;

    // The address of an exported name. Null on failure.
    virtual SymbolAddress Symbol(ModuleHandle module, const char* name) = 0;

    // Takes back one Load.
    virtual void Unload(ModuleHandle module) = 0;

    // Writes the current directory, terminated, to `buffer` of `capacity` chars. False when that failed.
    // It is asked for to tell of an earlier failure, whose number it keeps where the system lets it.
    virtual bool CurrentDirectory(char* buffer, int capacity) = 0;

    // One of the kArchitecture numbers, or any other of the system's: of the machine, not of an emulated process.
    virtual std::uint16_t NativeArchitecture() = 0;

    // The system's number for this thread's latest failure; ask at once.
    virtual std::uint32_t LastError() const = 0;
    virtual void SetLastError(std::uint32_t error) = 0;
};

// The operating system's own.
ModuleLoader& SystemModuleLoader();

}  // namespace platform
