#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "engine/loader_seams.h"
#include "platform/module_loader.h"

// From the path of a file to a loaded library that can be asked for symbols. Nothing here knows what the library is
// for. Diagnostics go to standard error, never to the logger. Thread: any; no lock is taken.
namespace hvq::util {

inline constexpr std::int32_t kSystemModule = 1;  // the only type of handle there is

// One loaded library. Made by load_shared_object alone; its deleter unloads the library with the last reference.
struct SharedLibraryHandle_t {
    std::int32_t type;
    platform::ModuleHandle module;
};

// In place of the system's loader: takes the absolute path, returns a module or null.
using LoadFunction = std::function<platform::ModuleHandle(const std::wstring& absolutePath)>;

// Loads the library at `path`, which may be relative to the current directory. Throws std::runtime_error: what is
// missing, no library, or refused by the system, with the path. In the text about a refusal the narrow way shows the
// absolute path, the wide one the path as it was given. What `seams` refers to outlives the handle.
std::shared_ptr<SharedLibraryHandle_t> load_shared_object(const std::string& path, const LoaderSeams& seams = {});
std::shared_ptr<SharedLibraryHandle_t> load_shared_object(const std::wstring& path,
                                                          const LoadFunction& load_function = nullptr,
                                                          const LoaderSeams& seams = {});

// The address of an exported name, never null. Throws std::runtime_error for an empty handle, a null or empty name, and
// a name that the library lacks.
platform::SymbolAddress get_shared_object_symbol(
    const std::shared_ptr<SharedLibraryHandle_t>& shared_library_handle_object, const char* symbol_name,
    const LoaderSeams& seams = {});

}  // namespace hvq::util
