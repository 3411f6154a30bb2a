#include "engine/shared_library.h"

#include <array>
#include <cstdint>
#include <optional>
#include <stdexcept>

#include "engine/absolute_path.h"
#include "engine/file_exists.h"
#include "engine/image_headers/is_valid_dll.h"
#include "infra/wide_text.h"

namespace hvq::util {
namespace {

using Handle = std::shared_ptr<SharedLibraryHandle_t>;

// A handle without a library as yet. It stands before the library is loaded, so that a lack of memory can't leave one
// behind that nobody unloads.
Handle EmptyHandle(platform::ModuleLoader& modules) {
    return Handle(new SharedLibraryHandle_t{kSystemModule, nullptr}, [&modules](SharedLibraryHandle_t* handle) {
        if (handle->module != nullptr) modules.Unload(handle->module);
        delete handle;
    });
}

// Null on failure, the reason then being the loader's last error.
template <typename Text>
platform::ModuleHandle LoadBySystem(const Text& absolutePath, platform::ModuleLoader& modules) {
    if (absolutePath.front() == typename Text::value_type()) {
        modules.SetLastError(platform::kInvalidParameter);
        return nullptr;
    }
    const platform::ModuleHandle module = modules.Load(absolutePath, platform::kSearchModuleFolderAndDefaults);
    if (module != nullptr || modules.LastError() != platform::kInvalidParameter) return module;
    // A system too old to know that search order. It gets one more chance, with the closest that it knows.
    return modules.Load(absolutePath, platform::kSearchByAlteredPath);
}

[[noreturn]] void ThrowCannotLoad(const std::string& shownPath, platform::ModuleLoader& modules) {
    std::array<char, 1024> folder{};
    const bool known = modules.CurrentDirectory(folder.data(), static_cast<int>(folder.size()));
    std::string text = "Cannot load library '" + shownPath + "': ";
    // Last, after the text is begun: this is the number that has always been shown here.
    text += std::to_string(modules.LastError());
    text += " from cwd: ";
    text += known ? folder.data() : "<unknown>";
    throw std::runtime_error(text);
}

}  // namespace

Handle load_shared_object(const std::string& path, const LoaderSeams& seams) {
    if (!FileExists(path, seams)) throw std::runtime_error(path + " not exists.");
    const std::optional<std::wstring> widePath = seams.files.WidePath(path);
    if (!widePath || !IsValidDll(*widePath, seams)) {
        throw std::runtime_error(path + " file is not a valid DLL. load_shared_object failed.");
    }
    const std::string absolutePath = GetAbsoluteFilePath(path, seams);
    if (absolutePath.empty()) throw std::runtime_error("GetAbsoluteFilePath failed.");

    Handle handle = EmptyHandle(seams.modules);
    handle->module = LoadBySystem(absolutePath, seams.modules);
    // The absolute path, where the wide way shows the given one: both texts are known as they are.
    if (handle->module == nullptr) ThrowCannotLoad(absolutePath, seams.modules);
    return handle;
}

Handle load_shared_object(const std::wstring& path, const LoadFunction& load_function, const LoaderSeams& seams) {
    const auto shownPath = [&] { return infra::WideToUtf8Strict(path, seams.conversion); };
    if (!FileExists(path, seams)) throw std::runtime_error(shownPath() + " not exists.");
    if (!IsValidDll(path, seams)) {
        throw std::runtime_error(shownPath() + " file is not a valid DLL. load_shared_object failed.");
    }
    const std::wstring absolutePath = GetAbsoluteFilePathW(path, seams);
    if (absolutePath.empty()) throw std::runtime_error("GetAbsoluteFilePathW failed.");

    Handle handle = EmptyHandle(seams.modules);
    handle->module = load_function ? load_function(absolutePath) : LoadBySystem(absolutePath, seams.modules);
    if (handle->module == nullptr) ThrowCannotLoad(shownPath(), seams.modules);
    return handle;
}

platform::SymbolAddress get_shared_object_symbol(const Handle& shared_library_handle_object, const char* symbol_name,
                                                 const LoaderSeams& seams) {
    if (shared_library_handle_object == nullptr) {
        throw std::runtime_error("shared_library_handle_object is empty. Please check load hvq step.");
    }
    if (symbol_name == nullptr) throw std::runtime_error("symbol_name is null.");
    const std::string name = symbol_name;
    if (name.empty()) throw std::runtime_error("symbol_name is empty.");

    if (shared_library_handle_object->type == kSystemModule) {
        const platform::SymbolAddress address =
            seams.modules.Symbol(shared_library_handle_object->module, name.c_str());
        if (address != nullptr) return address;
    }
    throw std::runtime_error("GetProcAddress cannot locate method '" + name +
                             "': " + std::to_string(seams.modules.LastError()));
}

}  // namespace hvq::util
