#include "scripted_double/scripted_library.h"

#include <atomic>
#include <cstddef>
#include <fstream>
#include <stdexcept>
#include <string>
#include <system_error>

#include "infra/module_directory.h"
#include "platform/threads.h"
#include "scripted_double/hvq_double.h"

namespace scripted_double {
namespace {

constexpr std::uint32_t kPatienceMs = 60'000;

// Folder of the test program: Wine knows no paths of the system that built it.
std::filesystem::path ProgramFolder() {
    static const int kHere = 0;
    char folder[1024] = {};
    if (infra::GetModuleDirectory(&kHere, folder, sizeof(folder)) != 0) {
        throw std::runtime_error("The test program's folder is unknown.");
    }
    const std::string_view bytes = folder;
    return std::filesystem::path(std::u8string(bytes.begin(), bytes.end()));
}

const char* FileOf(Variant variant) {
    switch (variant) {
        case Variant::WithoutLogCallback:
            return "without_log_callback.dll";
        case Variant::WithoutLayerPrecision:
            return "without_layer_precision.dll";
        case Variant::WithoutOptional:
            return "without_optional.dll";
        case Variant::WithoutVersion:
            return "without_version.dll";
        case Variant::WithoutInfer:
            return "without_infer.dll";
        case Variant::Whole:
            break;
    }
    return "hvq.dll";
}

void ExpectUnderstood(std::int32_t badLine) {
    if (badLine != 0) throw std::runtime_error("Line " + std::to_string(badLine) + " of the script is not understood.");
}

}  // namespace

ScratchLibrary::ScratchLibrary(Variant variant, const std::filesystem::path& fileName) {
    static std::atomic<int> counter{0};
    const std::filesystem::path programs = ProgramFolder();
    m_folder = programs / ("double-" + std::to_string(platform::CurrentProcessId()) + "-" + std::to_string(++counter));
    std::filesystem::remove_all(m_folder);  // of a run that was killed, and had the same number
    std::filesystem::create_directory(m_folder);
    m_path = m_folder / fileName;
    std::filesystem::copy_file(programs / "double" / FileOf(variant), m_path);
}

ScratchLibrary::~ScratchLibrary() {
    std::error_code ignored;
    std::filesystem::remove_all(m_folder, ignored);
}

std::filesystem::path ScratchLibrary::Put(const std::filesystem::path& fileName, std::string_view contents) const {
    std::filesystem::path path = m_folder / fileName;
    std::ofstream file(path, std::ios::binary);
    file << contents;
    file.close();
    if (!file) throw std::runtime_error("A file of a test can't be written.");
    return path;
}

ScriptedLibrary::ScriptedLibrary(std::string_view script, Variant variant, const std::filesystem::path& fileName)
    : m_scratch(variant, fileName),
      m_module(
          platform::SystemModuleLoader().Load(m_scratch.Path().native(), platform::kSearchModuleFolderAndDefaults)) {
    if (m_module == nullptr) {
        throw std::runtime_error("The double can't be loaded: error " +
                                 std::to_string(platform::SystemModuleLoader().LastError()));
    }
    ExpectUnderstood(Control<decltype(&hvqDoubleScript)>("hvqDoubleScript")(std::string(script).c_str()));
}

platform::SymbolAddress ScriptedLibrary::Symbol(const char* name) const {
    return platform::SystemModuleLoader().Symbol(m_module.get(), name);
}

template <typename Function>
Function ScriptedLibrary::Control(const char* name) const {
    return reinterpret_cast<Function>(Symbol(name));
}

void ScriptedLibrary::Add(std::string_view script) {
    ExpectUnderstood(Control<decltype(&hvqDoubleAdd)>("hvqDoubleAdd")(std::string(script).c_str()));
}

std::vector<Call> ScriptedLibrary::Calls() const {
    const auto ask = Control<decltype(&hvqDoubleCalls)>("hvqDoubleCalls");
    std::string all;
    std::uint64_t length = ask(nullptr, 0);
    while (length > all.size()) {  // others may call meanwhile
        all.resize(static_cast<std::size_t>(length));
        length = ask(all.data(), all.size());
    }
    std::vector<Call> calls;
    for (std::string_view rest = all; !rest.empty();) {
        const std::size_t blank = rest.find(' ');
        const std::size_t end = rest.find('\n');
        calls.push_back({static_cast<std::uint32_t>(std::stoul(std::string(rest.substr(0, blank)))),
                         std::string(rest.substr(blank + 1, end - blank - 1))});
        rest.remove_prefix(end + 1);
    }
    return calls;
}

std::vector<std::string> ScriptedLibrary::CallTexts() const {
    std::vector<std::string> texts;
    for (Call& call : Calls()) {
        if (!call.text.starts_with("hvqHasException ")) texts.push_back(std::move(call.text));
    }
    return texts;
}

int ScriptedLibrary::Count(std::string_view function) const {
    int count = 0;
    for (const Call& call : Calls())
        count += call.text.substr(0, call.text.find(' ')) == function ? 1 : 0;
    return count;
}

void ScriptedLibrary::ForgetCalls() {
    Control<decltype(&hvqDoubleForgetCalls)>("hvqDoubleForgetCalls")();
}

std::uint32_t ScriptedLibrary::ThreadNumber() const {
    return Control<decltype(&hvqDoubleThread)>("hvqDoubleThread")();
}

void ScriptedLibrary::OpenGate(const std::string& name) {
    Control<decltype(&hvqDoubleOpenGate)>("hvqDoubleOpenGate")(name.c_str());
}

bool ScriptedLibrary::AwaitGate(const std::string& name, std::uint32_t count) const {
    return Control<decltype(&hvqDoubleAwaitGate)>("hvqDoubleAwaitGate")(name.c_str(), count, kPatienceMs) != 0;
}

std::vector<float> ScriptedLibrary::Input(const std::string& layerName) const {
    const auto ask = Control<decltype(&hvqDoubleInput)>("hvqDoubleInput");
    std::vector<float> data(static_cast<std::size_t>(ask(layerName.c_str(), nullptr, 0)));
    (void)ask(layerName.c_str(), data.data(), data.size());
    return data;
}

std::uint64_t ScriptedLibrary::LiveEngines() const {
    return Control<decltype(&hvqDoubleEngines)>("hvqDoubleEngines")();
}

}  // namespace scripted_double
