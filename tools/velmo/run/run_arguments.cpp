#include "velmo_run/run_arguments.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <limits>
#include <map>

#include "platform/text_conversion.h"
#include "velmo_tool/path_text.h"

namespace velmo_run {
namespace {

using velmo_parent::Device;
using velmo_parent::ModelFamily;
using velmo_parent::ModelQuality;

const std::map<std::string, ModelFamily> kFamilies = {{"0", ModelFamily::Calyr},   {"calyr", ModelFamily::Calyr},
                                                      {"1", ModelFamily::CalyrRe}, {"calyr-re", ModelFamily::CalyrRe},
                                                      {"2", ModelFamily::Inhouse}, {"inhouse", ModelFamily::Inhouse}};
const std::map<std::string, ModelQuality> kQualities = {{"144", ModelQuality::Low}, {"360", ModelQuality::High}};
const std::map<std::string, Device> kDevices = {
    {"auto", Device::Auto}, {"cpu", Device::Cpu}, {"gpu", Device::Gpu}, {"npu", Device::Npu}};

// "FRAME:DEVICE". False when it is something else.
bool ParseSwap(const std::string& text, SwapWish& wish) {
    const std::size_t colon = text.find(':');
    if (colon == std::string::npos) return false;
    const auto [end, error] = std::from_chars(text.data(), text.data() + colon, wish.frame);
    if (error != std::errc() || end != text.data() + colon) return false;
    const auto device = kDevices.find(text.substr(colon + 1));
    if (device == kDevices.end()) return false;
    wish.device = device->second;
    return true;
}

std::string CheckSwap(const std::string& text) {
    SwapWish wish;
    return ParseSwap(text, wish) ? "" : "\"" + text + "\" is not FRAME:DEVICE, such as 100:cpu";
}

// "25" or "30000/1001", frames per second. 0 when it is something else.
double ParseRate(const std::string& text) {
    const auto number = [](const char* begin, const char* end) {
        double value = 0;
        const auto result = std::from_chars(begin, end, value);
        return result.ec == std::errc() && result.ptr == end ? value : 0;
    };
    constexpr double kMost = 1000;
    const char* const end = text.data() + text.size();
    const std::size_t slash = text.find_first_of("/:");
    double rate = 0;
    if (slash == std::string::npos) {
        rate = number(text.data(), end);
    } else if (const double divisor = number(text.data() + slash + 1, end); divisor > 0) {
        rate = number(text.data(), text.data() + slash) / divisor;
    }
    return rate > 0 && rate <= kMost ? rate : 0;
}

std::string CheckRate(const std::string& text) {
    return ParseRate(text) > 0 ? "" : "\"" + text + "\" is no rate above 0, such as 25 or 30000/1001, and at most 1000";
}

constexpr char kFooter[] =
    "INPUT is \"-\" for Y4M on standard input, a folder of PNG files, a Y4M file, or any file that ffmpeg reads, "
    "where\n"
    "ffmpeg is installed. Outputs are \"-\" for Y4M on standard output, NAME.y4m, or a folder for PNG files.\n"
    "  ffmpeg -i talk.mp4 -f yuv4mpegpipe - | velmo run - --output - | ffplay -\n"
    "Progress, the summary and errors go to standard error. Ctrl-C finishes the frames on their way and writes what\n"
    "there is.\n"
    "Exit code: 0; 1 when something failed or it was interrupted, after what was written until then; 2 for a command\n"
    "line that can't be right.";

}  // namespace

RunArguments::RunArguments(CLI::App& app, const std::string& programFolder)
    : m_programFolder(programFolder),
      m_command(app.add_subcommand("run", "Cut the person out of a video: masks, composite and a report.")) {
    m_command->add_option("INPUT", m_options.input, "The video; see below")->required();
    AddOutputs();
    AddEngine();
    AddPace();
    m_command->footer(kFooter);
}

void RunArguments::AddOutputs() {
    const auto add = [this](const char* name, std::string& text, const char* help) {
        return m_command->add_option(name, text, help)->group("What is written");
    };
    add("-o,--output", m_options.output, "The composite: the person before another background");
    add("--masks", m_options.masks, "The masks, in the video's size");
    add("--background", m_options.background, "A colour (#rrggbb or a name), \"blur\", or a PNG file")
        ->capture_default_str();
    add("--report", m_options.report, "One HTML file that shows how the run went");
    add("--json", m_options.json, "The same numbers as JSON");
    add("--csv", m_options.csv, "One row per frame");
    add("--sheet", m_options.sheet, "One PNG with some frames, their masks and composites");
    m_command->add_flag("--force", m_options.force, "Overwrite files that are there")->group("What is written");
}

template <class Value>
void RunArguments::AddChoice(const char* name, const std::map<std::string, Value>& choices, Value& value,
                             const char* help, const char* usual) {
    m_command
        ->add_option_function<std::string>(
            name, [&choices, &value](const std::string& text) { value = choices.at(text); }, help)
        ->check(CLI::IsMember(choices).description(""))
        ->default_str(usual)
        ->type_name("NAME")
        ->group("Which engine");
}

void RunArguments::AddEngine() {
    constexpr char kGroup[] = "Which engine";
    AddChoice("--family", kFamilies, m_options.family,
              "Which results the model has: calyr, calyr-re or inhouse (0, 1, 2)", "calyr");
    AddChoice("--quality", kQualities, m_options.quality, "Lines of the model: 144 (256 x 144) or 360 (640 x 360)",
              "144");
    AddChoice("--device", kDevices, m_options.device, "auto, cpu, gpu or npu", "auto");
    m_command
        ->add_option("--temporal", m_temporal, "Whether the process may skip frames that hardly changed: on or off")
        ->check(CLI::IsMember({"on", "off"}).description(""))
        ->capture_default_str()
        ->group(kGroup);
    m_command->add_option("--engine-dir", m_options.engineFolder, "Folder of hvq.dll; velmo's own by default")
        ->group(kGroup);
    m_command
        ->add_option("--model-dir", m_options.modelFolder, "Folder of the models; \"models\" beside velmo by default")
        ->group(kGroup);
    m_command->add_option("--cache-dir", m_options.cacheFolder, "Folder where the engine may keep compiled networks")
        ->group(kGroup);
    m_command->add_option("--process", m_options.program, "The process's program; velmoml beside velmo by default")
        ->group(kGroup);
}

void RunArguments::AddPace() {
    constexpr char kGroup[] = "At which pace";
    m_command->add_option("--frames-in-flight", m_options.framesInFlight, "Most frames on their way at a time")
        ->check(CLI::Range(1u, 5u).description("1 to 5"))
        ->capture_default_str()
        ->group(kGroup);
    m_command
        ->add_option_function<std::string>(
            "--fps", [this](const std::string& text) { m_options.fps = ParseRate(text); },
            "Frames per second, such as 25 or 30000/1001; else as fast as it goes")
        ->check(CLI::Validator(CheckRate, ""))
        ->type_name("RATE")
        ->group(kGroup);
    m_command->add_option("--frames", m_frames, "Stop after so many frames")
        ->check(CLI::Range(std::uint64_t{1}, std::numeric_limits<std::uint64_t>::max()).description(""))
        ->group(kGroup);
    m_command->add_option("--swap-at", m_swaps, "Ask for an engine on another device before this frame; again for more")
        ->check(CLI::Validator(CheckSwap, ""))
        ->type_name("FRAME:DEVICE")
        ->allow_extra_args(false)
        ->group(kGroup);
}

RunOptions RunArguments::Options() const {
    RunOptions options = m_options;
    for (std::string* text : {&options.input, &options.output, &options.masks, &options.background, &options.report,
                              &options.json, &options.csv, &options.sheet, &options.program, &options.engineFolder})
        *text = velmo_tool::Utf8FromArgument(*text);
    if (options.program.empty()) options.program = m_programFolder + VELMOML_PROGRAM;
    if (options.engineFolder.empty()) options.engineFolder = m_programFolder;
    if (options.modelFolder.empty()) options.modelFolder = velmo_tool::ArgumentFromUtf8(m_programFolder + "models");
    options.mayReuseMasks = m_temporal == "on";
    options.frames = m_frames;
    for (const std::string& text : m_swaps) {
        SwapWish wish;
        if (ParseSwap(text, wish)) options.swaps.push_back(wish);
    }
    std::stable_sort(options.swaps.begin(), options.swaps.end(),
                     [](const SwapWish& left, const SwapWish& right) { return left.frame < right.frame; });
    return options;
}

}  // namespace velmo_run
