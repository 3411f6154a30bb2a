#include "platform/module_loader.h"

#include <dlfcn.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <cerrno>
#include <limits>
#include <string_view>

#include "platform/posix/absolute_path.h"
#include "platform/posix/image_problem.h"
#include "platform/posix/last_error.h"
#include "platform/posix/path_bytes.h"

namespace platform {
namespace {

// What both widths of FullPath answer for a finished path.
template <typename Text>
std::uint32_t Deliver(const Text& path, typename Text::value_type* buffer, std::uint32_t capacity) {
    if (path.empty()) return 0;
    if (path.size() >= std::numeric_limits<std::uint32_t>::max()) {
        posix::SetLastError(ENAMETOOLONG);
        return 0;
    }
    if (path.size() >= capacity) return static_cast<std::uint32_t>(path.size() + 1);
    Text::traits_type::copy(buffer, path.c_str(), path.size() + 1);
    return static_cast<std::uint32_t>(path.size());
}

std::uint16_t ArchitectureOf(std::string_view machine) {
    if (machine == "x86_64") return kArchitectureAmd64;
    if (machine == "ia64") return kArchitectureIa64;
    if (machine == "aarch64") return kArchitectureArm64;
    if (machine.starts_with("arm")) return kArchitectureArm;
    return kArchitectureUnknown;
}

class DynamicLoader final : public ModuleLoader {
 public:
    std::uint32_t FullPath(const std::string& path, char* buffer, std::uint32_t capacity) override {
        return Deliver(posix::AbsolutePath(path), buffer, capacity);
    }

    std::uint32_t FullPath(const std::wstring& path, wchar_t* buffer, std::uint32_t capacity) override {
        return Deliver(posix::ToWide(posix::AbsolutePath(posix::ToBytes(path))), buffer, capacity);
    }

    // A library names the folders of what it needs in its own run path, so the flags have nothing to choose here.
    ModuleHandle Load(const std::string& path, std::uint32_t /*flags*/) override {
        // An empty name would be this program, and one without a folder would be searched for.
        if (!path.starts_with('/')) {
            posix::SetLastError(EINVAL);
            return nullptr;
        }
        if (const int problem = posix::ImageProblem(path); problem != 0) {
            posix::SetLastError(problem);
            return nullptr;
        }
        void* const module = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
        // The loader has words for its reason and no number: "not loadable" has to do for all. LD_DEBUG=all shows more.
        if (module == nullptr) posix::SetLastError(ENOEXEC);
        return module;
    }

    ModuleHandle Load(const std::wstring& path, std::uint32_t flags) override {
        return Load(posix::ToBytes(path), flags);
    }

    SymbolAddress Symbol(ModuleHandle module, const char* name) override {
        void* const address = ::dlsym(module, name);
        if (address == nullptr) posix::SetLastError(ENOENT);
        return reinterpret_cast<SymbolAddress>(address);
    }

    void Unload(ModuleHandle module) override { ::dlclose(module); }

    bool CurrentDirectory(char* buffer, int capacity) override {
        return capacity > 0 && ::getcwd(buffer, static_cast<std::size_t>(capacity)) != nullptr;
    }

    std::uint16_t NativeArchitecture() override {
        utsname names{};
        return ::uname(&names) == -1 ? kArchitectureUnknown : ArchitectureOf(names.machine);
    }

    std::uint32_t LastError() const override { return posix::LastError(); }

    void SetLastError(std::uint32_t error) override { posix::SetLastError(static_cast<int>(error)); }
};

}  // namespace

ModuleLoader& SystemModuleLoader() {
    static DynamicLoader& loader = *new DynamicLoader;  // never destroyed: destructors of globals may still come here
    return loader;
}

}  // namespace platform
