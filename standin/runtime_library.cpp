#include "standin/runtime_library.h"

#include <fstream>
#include <iterator>
#include <stdexcept>
#include <vector>

#include "standin/texts.h"

#ifdef _WIN32
#include <windows.h>
#else
#include <dlfcn.h>
#endif

namespace standin {
namespace {

// Lies in the module that this code is part of, whichever that is.
const char g_mark = 0;

[[noreturn]] void Refuse(const std::filesystem::path& file, const std::string& reason) {
    throw std::runtime_error(Utf8(file) + " can't be loaded: " + reason);
}

}  // namespace

#ifdef _WIN32

const char* RuntimeFileName() {
    return "onnxruntime.dll";
}

std::filesystem::path OwnFolder() {
    HMODULE module = nullptr;
    const DWORD how = GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
    if (!::GetModuleHandleExW(how, reinterpret_cast<const wchar_t*>(&g_mark), &module)) {
        throw std::runtime_error("The folder of the inference library is unknown: error " +
                                 std::to_string(::GetLastError()));
    }
    std::vector<wchar_t> name(260);
    for (;;) {
        const DWORD length = ::GetModuleFileNameW(module, name.data(), static_cast<DWORD>(name.size()));
        if (length == 0) {
            throw std::runtime_error("The folder of the inference library is unknown: error " +
                                     std::to_string(::GetLastError()));
        }
        if (length < name.size()) return std::filesystem::path(name.data(), name.data() + length).parent_path();
        name.resize(name.size() * 2);  // it was cut
    }
}

SymbolAddress LoadForever(const std::filesystem::path& file, const char* symbol) {
    // Its own folder is searched for what it needs in turn, not the program's.
    const HMODULE module = ::LoadLibraryExW(file.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
    if (module == nullptr) {
        const DWORD error = ::GetLastError();
        std::string reason = "error " + std::to_string(error);
        if (error == ERROR_MOD_NOT_FOUND) reason += " (a library that it needs is missing)";
        Refuse(file, reason);
    }
    const FARPROC address = ::GetProcAddress(module, symbol);
    if (address == nullptr) Refuse(file, std::string("it has no function ") + symbol);
    return reinterpret_cast<SymbolAddress>(address);
}

std::string ProcessorIdentity() {
    std::string text;
    for (const wchar_t* const name : {L"PROCESSOR_IDENTIFIER", L"PROCESSOR_REVISION"}) {
        wchar_t value[200];
        const DWORD length = ::GetEnvironmentVariableW(name, value, static_cast<DWORD>(std::size(value)));
        if (length == 0 || length >= std::size(value)) return {};
        text += Utf8FromWide({value, length}) + "\n";
    }
    // What the system lets programs use may be less: SSE3 and later up to AVX-512. Older systems deny what they don't
    // know.
    for (const DWORD feature : {13u, 36u, 37u, 38u, 39u, 40u, 41u}) {
        text += ::IsProcessorFeaturePresent(feature) != 0 ? '1' : '0';
    }
    return text;
}

#else

const char* RuntimeFileName() {
    return "libonnxruntime.so.1";
}

std::filesystem::path OwnFolder() {
    Dl_info info{};
    if (::dladdr(&g_mark, &info) == 0 || info.dli_fname == nullptr) {
        throw std::runtime_error("The folder of the inference library is unknown.");
    }
    return std::filesystem::absolute(info.dli_fname).parent_path();
}

SymbolAddress LoadForever(const std::filesystem::path& file, const char* symbol) {
    void* const module = ::dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
    if (module == nullptr) {
        const char* const reason = ::dlerror();
        Refuse(file, reason != nullptr ? reason : "no reason given");
    }
    void* const address = ::dlsym(module, symbol);
    if (address == nullptr) Refuse(file, std::string("it has no function ") + symbol);
    return reinterpret_cast<SymbolAddress>(address);
}

std::string ProcessorIdentity() {
    std::ifstream list("/proc/cpuinfo");
    std::string text;
    for (std::string line; std::getline(list, line) && !line.empty();) {  // up to the end of the first processor
        for (const char* const key : {"vendor_id\t", "cpu family\t", "model\t", "stepping\t", "flags\t"}) {
            if (line.starts_with(key)) text += line + "\n";
        }
    }
    return text;
}

#endif

}  // namespace standin
