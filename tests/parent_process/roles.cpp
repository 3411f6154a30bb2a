#include "roles.h"

#include <filesystem>
#include <fstream>
#include <thread>

#include "parent_fixture.h"

namespace parent_process_tests {
namespace {

constexpr int kUnknownRole = 2;
constexpr int kCannotStart = 3;
constexpr int kNobodyCame = 4;

int BeAParent(const std::string& prefix, const std::string& folder, bool endsWithThisProgram) {
    const std::filesystem::path path = process_tests::ProgramFolderPath() / folder;
    Listener listener;
    velmo_parent::InferenceProcess process(
        {.program = process_tests::ProcessProgram(), .idPrefix = prefix, .endsWithThisProgram = endsWithThisProgram},
        listener);
    if (!process.Start()) return kCannotStart;
    velmo_parent::EngineRequest request;
    request.device = velmo_parent::Device::Cpu;
    request.family = velmo_parent::ModelFamily::Inhouse;
    request.modelPath = request.enginePath = path.string();
    (void)process.Init(request);
    const auto answer = process.AwaitInit(kPatience);
    if (!answer || answer->status != 0) return kCannotStart;
    const SubmitStatus sent =
        process.Submit({1, kSmall, Skipping::Off}, [](FramePlanes& planes) { WriteTagged(1, planes); });
    if (sent != SubmitStatus::Sent) return kCannotStart;
    std::ofstream(path / "id.txt") << process.Id() << "\n";
    std::this_thread::sleep_for(std::chrono::minutes(5));  // it is killed long before
    return kNobodyCame;
}

}  // namespace

int RunRole(const std::vector<std::string>& words) {
    if (words.size() >= 2 && words[0] == "exit") return std::stoi(words[1]);
    if (words.size() == 3 && words[0] == "parent") return BeAParent(words[1], words[2], true);
    if (words.size() == 3 && words[0] == "outlived") return BeAParent(words[1], words[2], false);
    return kUnknownRole;
}

}  // namespace parent_process_tests
