#include "velmo_tool/check/watched_check.h"

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "platform/kernel_objects.h"
#include "platform/threads.h"
#include "velmo_tool/check/library_checks.h"
#include "velmo_tool/path_text.h"

namespace velmo_tool {
namespace {

using nlohmann::json;

constexpr char kRequestVariable[] = "VELMO_CHECK_ENGINE";

// Names of nothing yet in the folder for temporary files; what is there goes with the object.
class ScratchFile {
 public:
    explicit ScratchFile(const std::string& extension) {
        static std::atomic<unsigned> counter{0};
        m_path =
            std::filesystem::temp_directory_path() / ("velmo-check-" + std::to_string(platform::CurrentProcessId()) +
                                                      "-" + std::to_string(++counter) + extension);
        std::error_code ignored;
        std::filesystem::remove(m_path, ignored);
    }
    ~ScratchFile() {
        std::error_code ignored;
        std::filesystem::remove(m_path, ignored);
    }
    ScratchFile(const ScratchFile&) = delete;
    ScratchFile& operator=(const ScratchFile&) = delete;

    std::string Utf8Path() const { return PathToUtf8(m_path); }
    std::string Text() const {
        std::ifstream file(m_path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

 private:
    std::filesystem::path m_path;
};

// Any byte may come from a library: what is no UTF-8 is replaced, and all beyond ASCII is escaped.
std::string OneLine(const json& value) {
    return value.dump(-1, ' ', true, json::error_handler_t::replace);
}

// One line for each thing that the listener hears, written out at once.
class LineWriter final : public CheckListener {
 public:
    explicit LineWriter(std::ostream& out) : m_out(out) {}

    void OnBegin(const std::string& name, Need need) override {
        Write({{"begin", name}, {"required", need == Need::Required}});
    }
    void OnPoint(const CheckPoint& point) override {
        Write({{"name", point.name},
               {"required", point.need == Need::Required},
               {"holds", point.verdict == Verdict::Holds},
               {"detail", point.detail}});
    }
    void Done() { Write({{"done", true}}); }

 private:
    void Write(const json& line) { m_out << OneLine(line) << std::endl; }

    std::ostream& m_out;
};

// What the child had to say.
struct ChildStory {
    std::vector<CheckPoint> points;
    std::optional<CheckPoint> begun;  // and not ended
    bool done = false;
};

CheckPoint NamedPoint(const json& line, const char* nameKey) {
    CheckPoint point;
    point.name = line.at(nameKey).get<std::string>();
    point.need = line.at("required").get<bool>() ? Need::Required : Need::Optional;
    return point;
}

// Takes one line in. Throws json::exception for one that was cut off.
void Read(const json& line, ChildStory& story) {
    if (line.contains("done")) {
        story.done = true;
    } else if (line.contains("begin")) {
        story.begun = NamedPoint(line, "begin");
    } else {
        CheckPoint point = NamedPoint(line, "name");
        point.verdict = line.at("holds").get<bool>() ? Verdict::Holds : Verdict::Fails;
        point.detail = line.at("detail").get<std::string>();
        story.points.push_back(std::move(point));
        story.begun.reset();
    }
}

ChildStory ReadStory(const std::string& text) {
    ChildStory story;
    std::size_t begin = 0;
    for (std::size_t end = text.find('\n'); end != std::string::npos; end = text.find('\n', begin)) {
        const json line = json::parse(text.substr(begin, end - begin), nullptr, false);
        if (!line.is_discarded()) Read(line, story);
        begin = end + 1;
    }
    return story;
}

std::string HowItEnded(const std::optional<platform::ChildExit>& exit) {
    if (!exit) return "the library did not come back";
    if (exit->signal != 0) return "the library ended the process with signal " + std::to_string(exit->signal);
    return "the library ended the process with exit code " + std::to_string(exit->code);
}

}  // namespace

CheckReport CheckInChild(const CheckRequest& request, std::uint32_t timeoutMs, const std::string& program,
                         platform::ChildProcesses& children, std::string& output) {
    const ScratchFile report(".jsonl");
    const ScratchFile streams(".txt");
    const json child = {{"library", request.libraryPath},
                        {"model", request.modelPath},
                        {"engine", request.engineName},
                        {"device", request.deviceName},
                        {"report", report.Utf8Path()}};
    platform::ChildStart start{program, kCheckWorkerCommand, {{kRequestVariable, OneLine(child)}}, {}, {}};
    start.standardOutputPath = start.standardErrorPath = streams.Utf8Path();

    std::string error;
    const std::unique_ptr<platform::ChildProcess> process = children.Start(start, error);
    if (!process) throw std::runtime_error("can't start " + program + ": " + error);
    const std::optional<platform::ChildExit> exit = process->WaitForExit(timeoutMs);
    if (!exit) {
        process->Kill();
        (void)process->WaitForExit(platform::kNoTimeLimit);  // the report is whole only then
    }
    output = streams.Text();

    ChildStory story = ReadStory(report.Text());
    if (!story.done) {
        if (!story.begun) {
            if (story.points.empty()) throw std::runtime_error("the check did not begin: " + HowItEnded(exit));
            story.begun = CheckPoint{"lets the process end", Need::Required, Verdict::Fails, {}};
        }
        story.begun->detail = HowItEnded(exit);
        story.points.push_back(*story.begun);
    } else if (!exit || exit->code != 0 || exit->signal != 0) {
        story.points.push_back({"lets the process end", Need::Required, Verdict::Fails, HowItEnded(exit)});
    }
    return {request.libraryPath, request.modelPath, std::move(story.points)};
}

int RunCheckWorker() {
    const char* const text = std::getenv(kRequestVariable);
    const json child = json::parse(text != nullptr ? text : "", nullptr, false);
    if (!child.is_object() || !child.contains("report")) {
        std::cerr << "velmo: " << kCheckWorkerCommand << " is for velmo's own use; see velmo check-engine --help\n";
        return 1;
    }
    CheckRequest request;
    request.libraryPath = child.value("library", "");
    request.modelPath = child.value("model", "");
    request.engineName = child.value("engine", "");
    request.deviceName = child.value("device", "");
    std::ofstream file(PathFromUtf8(child.value("report", "")), std::ios::binary);
    LineWriter lines(file);
    CheckLibrary(request, lines);
    lines.Done();
    return file.good() ? 0 : 1;
}

}  // namespace velmo_tool
