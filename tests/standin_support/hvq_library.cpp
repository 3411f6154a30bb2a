#include "standin_support/hvq_library.h"

#include <array>
#include <stdexcept>

#include "infra/module_directory.h"
#include "standin_support/test_engine.h"

namespace standin_support {

std::filesystem::path ProgramFolder() {
    static const char mark = 0;
    std::array<char, 4096> folder{};
    if (infra::GetModuleDirectory(&mark, folder.data(), folder.size()) != 0) throw std::runtime_error("no own folder");
    const std::string text = folder.data();
    return std::filesystem::absolute(std::filesystem::path(std::u8string(text.begin(), text.end())));
}

std::filesystem::path NetworkFile(const std::string& name) {
    return ProgramFolder() / "networks" / (name + ".onnx");
}

HvqLibrary::HvqLibrary(const std::filesystem::path& file)
    : m_module(platform::SystemModuleLoader().Load(WideName(file), platform::kSearchModuleFolderAndDefaults)) {
    if (m_module == nullptr) {
        throw std::runtime_error("hvq.dll can't be loaded: " +
                                 std::to_string(platform::SystemModuleLoader().LastError()));
    }
#define HVQ_LOOK_UP(function) function = reinterpret_cast<decltype(function)>(Find(#function));
    HVQ_NAMES(HVQ_LOOK_UP)
#undef HVQ_LOOK_UP
}

HvqLibrary::~HvqLibrary() {
    platform::SystemModuleLoader().Unload(m_module);
}

platform::SymbolAddress HvqLibrary::Find(const char* name) const {
    return platform::SystemModuleLoader().Symbol(m_module, name);
}

const HvqLibrary& Library() {
    static const HvqLibrary& library = *new HvqLibrary();  // leaked: engines of tests may outlive any order of ending
    return library;
}

}  // namespace standin_support
