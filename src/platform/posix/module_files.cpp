#include "platform/module_files.h"

#include <dlfcn.h>
#include <link.h>

#include <filesystem>
#include <system_error>

namespace platform {
namespace {

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
            file = std::filesystem::absolute(name, error);
        }
        if (error || file.empty()) return std::nullopt;
        return file.string();
    }
};

}  // namespace

ModuleFiles& SystemModuleFiles() {
    static LoadedFiles& files = *new LoadedFiles;  // never destroyed: destructors of globals may still come here
    return files;
}

}  // namespace platform
