#include "platform/module_files.h"

#include <dlfcn.h>
#include <link.h>

#include <array>
#include <climits>
#include <cstddef>
#include <filesystem>
#include <new>
#include <system_error>

namespace platform {
namespace {

// Empty for what is no file, like the system's own library of calls, whose name has no folder.
std::filesystem::path PathOf(link_map& module) {
    std::filesystem::path name(module.l_name);
    if (name.is_absolute()) return name;
    if (!name.has_parent_path()) return {};
    // The name is what the module was asked for by, and the working folder may have changed since. The loader knows the
    // folder as it was then; a module's record is its handle.
    std::array<char, PATH_MAX> folder{};
    if (::dlinfo(&module, RTLD_DI_ORIGIN, folder.data()) == -1) return {};
    return (std::filesystem::path(folder.data()) / name.filename()).lexically_normal();
}

class LoadedFiles final : public ModuleFiles {
 public:
    std::optional<std::string> FileOf(const void* address) override {
        Dl_info info{};
        void* found = nullptr;
        if (::dladdr1(address, &info, &found, RTLD_DL_LINKMAP) == 0 || found == nullptr) return std::nullopt;
        std::error_code error;
        std::filesystem::path file;
        if (const char* const name = static_cast<const link_map*>(found)->l_name; name == nullptr || *name == '\0') {
            // The program itself has no name among the loaded files, only the words it was started with, which need not
            // lead to it.
            file = std::filesystem::read_symlink("/proc/self/exe", error);
        } else {
            file = PathOf(*static_cast<link_map*>(found));
        }
        if (error || file.empty()) return std::nullopt;
        return file.string();
    }
};

}  // namespace

ModuleFiles& SystemModuleFiles() {
    // Never destroyed: destructors of globals may still come here. And not on the heap, where a library that has this
    // in it would leave it behind when it is unloaded.
    alignas(LoadedFiles) static std::byte storage[sizeof(LoadedFiles)];
    static LoadedFiles& files = *new (storage) LoadedFiles;
    return files;
}

}  // namespace platform
