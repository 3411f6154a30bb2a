#pragma once

#include <filesystem>
#include <string>

#include "hvq_names.h"
#include "platform/module_loader.h"
#include "standin/hvq.h"

namespace standin_support {

// The folder of this program: hvq.dll, ONNX Runtime's library and networks/ lie there.
std::filesystem::path ProgramFolder();

// A network of tests/networks, by its name without ".onnx".
std::filesystem::path NetworkFile(const std::string& name);

// The stand-in as programs use it: loaded at run time, each function looked up by name. Unloads at the end.
class HvqLibrary {
 public:
    explicit HvqLibrary(const std::filesystem::path& file = ProgramFolder() / "hvq.dll");
    ~HvqLibrary();
    HvqLibrary(const HvqLibrary&) = delete;
    HvqLibrary& operator=(const HvqLibrary&) = delete;

    // NOLINTNEXTLINE(bugprone-macro-parentheses): a name that is declared takes none
#define HVQ_FIELD(name) decltype(&::name) name = nullptr;
    HVQ_NAMES(HVQ_FIELD)
#undef HVQ_FIELD

    // Null when there is no such function.
    platform::SymbolAddress Find(const char* name) const;

 private:
    platform::ModuleHandle m_module;
};

// The library that most tests share, loaded once.
const HvqLibrary& Library();

}  // namespace standin_support
