#include <CLI/CLI.hpp>
#include <cstdint>
#include <iostream>
#include <optional>
#include <string>

#include "platform/child_process.h"
#include "platform/kernel_objects.h"
#include "platform/machine.h"
#include "platform/module_files.h"
#include "platform/process_setup.h"
#include "platform/standard_streams.h"
#include "velmo_run/interrupt.h"
#include "velmo_run/run_arguments.h"
#include "velmo_run/run_video.h"
#include "velmo_tool/check/watched_check.h"
#include "velmo_tool/check_engine.h"
#include "velmo_tool/inspect.h"
#include "velmo_tool/path_text.h"
#include "velmo_tool/probe.h"

namespace {

int RunInspect(const std::string& id) {
    return velmo_tool::Inspect(id, platform::SystemKernelObjects(), std::cout, std::cerr);
}

std::optional<std::string> OwnFile() {
    static const int kHere = 0;
    return platform::SystemModuleFiles().FileOf(&kHere);
}

// With the separator at its end; "" when the system does not tell.
std::string OwnFolder() {
    const std::string file = OwnFile().value_or("");
    return file.substr(0, file.find_last_of(platform::kPathSeparator) + 1);
}

// The texts of the request come as the command line has them.
int RunCheckEngine(velmo_tool::CheckEngineOptions options) {
    const std::optional<std::string> program = OwnFile();
    if (!program) {
        std::cerr << "velmo: can't find its own file, to start itself again\n";
        return 1;
    }
    options.program = *program;
    options.request.libraryPath = velmo_tool::Utf8FromArgument(options.request.libraryPath);
    options.request.modelPath = velmo_tool::Utf8FromArgument(options.request.modelPath);
    return velmo_tool::CheckEngine(options, platform::SystemChildProcesses(), std::cout, std::cerr);
}

[[noreturn]] void RunVideo(const velmo_run::RunOptions& options) {
    platform::SetBinaryStandardStreams();
    std::ios::sync_with_stdio(false);
    std::optional<velmo_run::InterruptWatch> watch;
    velmo_run::RunSurroundings surroundings{{std::cin, std::cout}, std::cerr};
    if (platform::IsTerminal(platform::StandardStream::Error)) surroundings.progress = velmo_run::ProgressForm::Bar;
    surroundings.beginWatching = [&watch] { watch.emplace(); };
    surroundings.interrupted = velmo_run::InterruptWatch::Interrupted;
    platform::EndProcess(velmo_run::RunVideo(options, surroundings));  // a thread may stand in a read or a write
}

// Prints the help that was asked for, or what is wrong with the command line; gives the exit code. The parser has a
// code of its own for each mistake, which would say nothing to a script.
int ExitCodeOf(const CLI::ParseError& error, const CLI::App& app) {
    constexpr int kUsage = 2;
    return app.exit(error) == 0 ? 0 : kUsage;
}

}  // namespace

int main(int argc, char** argv) {
    platform::PrepareProcess();
    CLI::App app("Looks after velmoml, the inference process of a media engine.", "velmo");
    app.require_subcommand(1);

    std::string id;
    CLI::App* const inspect = app.add_subcommand(
        "inspect", "Show the five live channels of a link: lists, counts and the oldest message of each.");
    inspect->add_option("ID", id, "The id that the process was started with")->required();
    inspect->footer(
        "Looks only and changes nothing. The oldest message of a channel may have been read already: its\n"
        "receiver can leave the newest one in the list.\n"
        "Exit code: 0; 1 when no channel of that id is there; 2 when a channel is damaged, or for a command line that\n"
        "can't be right.");

    velmo_tool::CheckEngineOptions check;
    std::uint32_t timeoutSeconds = 60;
    bool json = false;
    bool inProcess = false;
    CLI::App* const checkEngine = app.add_subcommand(
        "check-engine", "Load an inference library and show what holds of that which the process needs of it.");
    checkEngine->add_option("PATH", check.request.libraryPath, "The library, such as bin/hvq.dll")->required();
    checkEngine->add_option("--model", check.request.modelPath,
                            "Also register, create and run the network in this file");
    checkEngine->add_option("--engine", check.request.engineName, "The engine to ask for")->capture_default_str();
    checkEngine->add_option("--device", check.request.deviceName, "The device to run the network on")
        ->capture_default_str();
    checkEngine->add_option("--timeout", timeoutSeconds, "Seconds until a library that hangs is given up")
        ->capture_default_str()
        ->check(CLI::Range(1u, 86'400u));
    checkEngine->add_flag("--json", json, "Print one JSON object instead of the table");
    checkEngine->add_flag("--in-process", inProcess,
                          "Load the library into this process, for a debugger: a library that crashes ends it");
    checkEngine->footer(
        "The library is loaded into a child process, so one that crashes or hangs is reported as well. What\n"
        "it writes to its standard streams goes to standard error.\n"
        "\"FAILS\" is a point that the process needs, \"lacks\" one that it can do without.\n"
        "Exit code: 0 when all required points hold; 2 when one fails, or for a command line that can't be right; 1\n"
        "when nothing could be looked at.");

    CLI::App* const probe = app.add_subcommand(
        "probe", "Show what the machine probes say: the Windows release, and how strong the processor is.");
    probe->add_flag("--json", json, "Print one JSON object instead of the table");
    probe->footer(
        "No decision of the process rests on these. What a probe throws is shown in the place of its values.\n"
        "Where the system has no list of its cores, the count moves this process from processor to processor\n"
        "for a moment. Exit code: 0; 2 for a command line that can't be right.");

    CLI::App* const worker = app.add_subcommand(velmo_tool::kCheckWorkerCommand)->group("");

    const velmo_run::RunArguments run(app, OwnFolder());
    // Behind the subcommands, which would take it over.
    app.footer("Exit code: 2 for a command line that can't be right; the others are each subcommand's own.");

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return ExitCodeOf(error, app);
    }
    if (run) RunVideo(run.Options());
    if (*worker) return velmo_tool::RunCheckWorker();
    if (*inspect) return RunInspect(id);
    const auto form = json ? velmo_tool::ReportForm::Json : velmo_tool::ReportForm::Table;
    if (*probe) return velmo_tool::Probe(form, platform::ThisMachine(), std::cout);
    check.timeoutMs = timeoutSeconds * 1000;
    check.form = form;
    if (inProcess) check.place = velmo_tool::CheckPlace::ThisProcess;
    return RunCheckEngine(check);
}
