// How an engine is made: the library and the model that are looked for, the device that is chosen, the properties that
// are set, and what is said about it.

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <exception>
#include <filesystem>
#include <istream>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <system_error>
#include <type_traits>
#include <utility>
#include <vector>

#include "helpers/model_tables.h"
#include "inference_fixture.h"
#include "infra/wide_text.h"
#include "support/blind_file_views.h"

namespace inference_tests {
namespace {

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;
using ::testing::StartsWith;
using ::testing::UnorderedElementsAreArray;

constexpr char kVersion[] = "2026.03.18-1bca487a(x64)";
constexpr char kNoEngineLine[] = "0 RvoHvqHelper::Init() fail, create hvq engine fail";

// Goes on by 1.9 ms each time it is read.
class ReadClock final : public platform::Clock {
 public:
    std::int64_t Counter() override { return m_tenths += 19; }
    std::int64_t Frequency() override { return 10'000; }
    std::chrono::system_clock::time_point SystemNow() override { return {}; }

 private:
    std::int64_t m_tenths = 0;
};

// The system's files, with a record of the narrow paths that were asked for. Thread: one at a time.
class AskedFileViews final : public platform::FileViews {
 public:
    const std::vector<std::string>& NarrowPaths() const { return m_narrowPaths; }

    std::optional<std::wstring> WidePath(const std::string& path) override {
        m_narrowPaths.push_back(path);
        return m_system.WidePath(path);
    }
    bool Exists(const std::wstring& path) override { return m_system.Exists(path); }
    std::filesystem::file_status Status(const std::filesystem::path& path, std::error_code& error) override {
        return m_system.Status(path, error);
    }
    std::unique_ptr<std::istream> OpenStream(const std::wstring& path) override { return m_system.OpenStream(path); }
    std::unique_ptr<platform::FileView> Open(const std::wstring& path) override { return m_system.Open(path); }

 private:
    platform::FileViews& m_system = platform::SystemFileViews();
    std::vector<std::string> m_narrowPaths;
};

// A text, and the code page by which it was read.
using ReadText = std::pair<platform::CodePage, std::string>;

// The system's conversion, with a record of the narrow texts that were converted, each once. Thread: one at a time.
class RecordedConversion final : public platform::TextConversion {
 public:
    const std::vector<ReadText>& ReadTexts() const { return m_readTexts; }

    int WideToBytes(platform::CodePage codePage, const wchar_t* text, char* buffer, int capacity) override {
        return m_system.WideToBytes(codePage, text, buffer, capacity);
    }
    int BytesToWide(platform::CodePage codePage, const char* text, wchar_t* buffer, int capacity) override {
        if (buffer != nullptr) m_readTexts.emplace_back(codePage, text);  // and not when it is only counted
        return m_system.BytesToWide(codePage, text, buffer, capacity);
    }

 private:
    platform::TextConversion& m_system = platform::SystemTextConversion();
    std::vector<ReadText> m_readTexts;
};

constexpr bool kPathsAreWide = std::is_same_v<std::filesystem::path::value_type, wchar_t>;

std::string Utf8Of(const std::filesystem::path& path) {
    const std::u8string text = path.u8string();
    return {text.begin(), text.end()};
}

// The path in bytes of the system's code page, where paths are wide, and what those bytes mean.
std::string NarrowOf(const std::filesystem::path& path) {
    if constexpr (kPathsAreWide) {
        return infra::WideToUtf8(path.wstring(), platform::CodePage::System).c_str();  // without its terminator
    } else {
        return path.string();
    }
}
std::filesystem::path PathOfNarrow(const std::string& narrow) {
    if constexpr (kPathsAreWide) {
        return infra::Utf8ToWide(narrow, platform::CodePage::System).c_str();
    } else {
        return narrow;
    }
}

// A folder name with a letter beyond plain ones that the system's code page can say. "" when it can say none of these.
std::filesystem::path NameOfTheCodePage() {
    for (const char8_t* const text : {u8"gr\u00FCn", u8"\u0142", u8"\u011F", u8"\u044F", u8"\u03BB", u8"\u05D0",
                                      u8"\u0628", u8"\u0E01", u8"\u01B0", u8"\u3042", u8"\uAC00", u8"\u4E2D"}) {
        const std::filesystem::path name(text);
        if (PathOfNarrow(NarrowOf(name)) == name) return name;
    }
    return {};
}

// Notes how many engines there are when the line of a failed bring-up comes.
class EnginesAtFailure final : public rvo_calyr::IRvoCalyrTraceSink {
 public:
    explicit EnginesAtFailure(const scripted_double::ScriptedLibrary& library) : m_library(library) {
        rvo_calyr::g_logger.SetTraceSink(this);
    }
    ~EnginesAtFailure() override { rvo_calyr::g_logger.SetTraceSink(nullptr); }
    EnginesAtFailure(const EnginesAtFailure&) = delete;
    EnginesAtFailure& operator=(const EnginesAtFailure&) = delete;

    std::int32_t OnTrace(std::uint32_t /*level*/, const char* text) override {
        if (std::string(text).find("InitHvq(), failed") != std::string::npos) counts.push_back(m_library.LiveEngines());
        return 0;
    }

    std::vector<std::uint64_t> counts;

 private:
    const scripted_double::ScriptedLibrary& m_library;
};

class BringUp : public Inference {
 protected:
    // Initialises a fresh helper and returns its lines.
    std::vector<std::string> LinesOfInit(const _CalyrPortraitOption& option, std::uint32_t status) {
        RvoCalyrHvqHelper helper(Seams());
        EXPECT_EQ(helper.Init(option), status);
        return Lines(helper);
    }

    HelperSeams SeamsWith(platform::FileViews& files) {
        return {.loader = {.files = files, .streams = m_streams},
                .clock = m_clock,
                .moduleFiles = m_programFile,
                .limits = m_limits};
    }

    std::string FirstLine(const std::string& device, const std::string& cache = {}) const {
        return "2 RvoHvqHelper::InitHvq(), deviceType=" + device +
               ", modelQuality=0, enginePath=" + InFolder("hvq.dll") +
               ", modelPath=" + InFolder("calyr_144p_input.dll") + ", gpuCachePath=" + cache;
    }
    static std::string EngineLine() {
        return std::string("2 RvoHvqHelper::InitHvq(), hvq engine, version=") + kVersion +
               ", engineName=OpenVINO, duration=0";
    }
    std::string FailureLine(const std::string& text, const std::string& device = "CPU") const {
        return "0 RvoHvqHelper::InitHvq(), failed, error=" + text + ", m_engineName=OpenVINO, deviceType=" + device +
               ", modelPath=" + InFolder("calyr_144p_input.dll");
    }
};

TEST_F(BringUp, TellsItsStepsWithTheTimeSinceItsStart) {
    ReadClock clock;
    HelperSeams seams{.loader = {.streams = m_streams}, .clock = clock, .limits = m_limits};
    RvoCalyrHvqHelper helper(seams);

    EXPECT_EQ(helper.Init(Option(kCpu)), 0U);

    EXPECT_THAT(Lines(helper), ElementsAre(FirstLine("CPU"),
                                           std::string("2 RvoHvqHelper::InitHvq(), hvq engine, version=") + kVersion +
                                               ", engineName=OpenVINO, duration=1",
                                           "2 RvoHvqHelper::InitHvq(), CPU device, limiting inference threads to 1",
                                           "2 RvoHvqHelper::InitHvq(), CPU device, limiting runtime streams to 1",
                                           "2 RvoHvqHelper::InitHvq(), create engine success, m_engineName=OpenVINO, "
                                           "networkId=calyr_hvq_plugin_OpenVINO_CPU, deviceType=CPU, duration=3"));
}

TEST_F(BringUp, AsksTheLibraryInItsOrder) {
    const std::vector<std::string> order = {
        "hvqCreateWithLibraryLoader null null",
        "hvqSelfVersion 2",
        "hvqGetSupportEngineNumber 2",
        "hvqGetSupportDeviceNumber 2 \"OpenVINO\"",
        "hvqGetSupportBuiltinModelNumber 2 \"OpenVINO\"",
        "hvqRegisterModelAsInnerIDwithString 2 \"calyr_hvq_plugin_OpenVINO\" \"",
        "hvqGetEngineMutableProperties 2 set -1",
        "hvqSetEnginePropertyForNetwork 2 \"OpenVINO\" \"calyr_hvq_plugin_OpenVINO_CPU\"",
        "hvqCreateNetByBuiltin 2 \"OpenVINO\" \"calyr_hvq_plugin_OpenVINO_CPU\" \"CPU\" \"calyr_hvq_plugin_OpenVINO\"",
        "hvqGetCurrentNetworkDeviceLength 2",
        "hvqGetLayerDims 2 \"input\""};

    (void)LinesOfInit(Option(kCpu), 0);

    const std::vector<std::string> calls = m_library.CallTexts();
    auto from = calls.begin();
    for (const std::string& wanted : order) {
        const auto found =
            std::find_if(from, calls.end(), [&](const std::string& call) { return call.starts_with(wanted); });
        ASSERT_NE(found, calls.end()) << wanted;
        from = std::next(found);
    }
}

TEST_F(BringUp, ReadsBackTheDeviceThatIsReallyUsed) {
    m_library.Add("current-device CPU.1");

    EXPECT_THAT(LinesOfInit(Option(kAuto), 0).back(),
                HasSubstr(", networkId=calyr_hvq_plugin_OpenVINO_AUTO, deviceType=CPU.1, duration=0"));
}

TEST_F(BringUp, DecidesOnTheDeviceByTheOptionAndTheEnginesListAlone) {
    const std::vector<std::string> names = {"AUTO", "CPU", "GPU", "NPU"};
    const std::string notSupported = "RvoHvqHelper::InitHvq(), not support device, deviceType=";
    for (std::int32_t deviceType = 0; deviceType < 4; ++deviceType) {
        for (unsigned offered = 0; offered < 16; ++offered) {
            std::string script = "devices OpenVINO";
            for (std::size_t i = 0; i < names.size(); ++i)
                if ((offered >> i & 1U) != 0) script += " " + names[i];
            SCOPED_TRACE(names[static_cast<std::size_t>(deviceType)] + " of " + script);
            m_library.Add(script);
            m_library.ForgetCalls();

            // The rule, told once more: only a missing "GPU" falls back, and only to a "CPU" that is there.
            std::string device = names[static_cast<std::size_t>(deviceType)];
            std::vector<std::string> wanted;
            bool works = (offered >> static_cast<unsigned>(deviceType) & 1U) != 0;
            if (!works && deviceType == kGpu) {
                wanted.push_back("1 " + notSupported + "GPU, fallback to CPU");
                device = "CPU";
                works = (offered & 2U) != 0;
            }
            if (!works) wanted.push_back("0 " + notSupported + device);

            std::vector<std::string> lines = LinesOfInit(Option(deviceType), works ? 0 : 3);

            EXPECT_EQ(lines.back() == kNoEngineLine, !works);
            EXPECT_EQ(m_library.LiveEngines(), 0U);
            std::erase_if(lines, [&](const std::string& line) { return line.find("not support device") == line.npos; });
            EXPECT_EQ(lines, wanted);
            if (works) {
                EXPECT_THAT(CallsOf("hvqCreateNetByBuiltin"),
                            ElementsAre(AllOf(HasSubstr("\"calyr_hvq_plugin_OpenVINO_" + device + "\" \"" + device +
                                                        "\" \"calyr_hvq_plugin_OpenVINO\""))));
            } else {
                EXPECT_THAT(CallsOf("hvqCreateNetByBuiltin"), IsEmpty());
            }
        }
    }
}

TEST_F(BringUp, ComparesDevicesToTheLetter) {
    m_library.Add("devices OpenVINO cpu CPU.0 \"CPU \"");

    EXPECT_THAT(LinesOfInit(Option(kCpu), 3),
                ElementsAre(FirstLine("CPU"), EngineLine(),
                            "0 RvoHvqHelper::InitHvq(), not support device, deviceType=CPU", kNoEngineLine));
}

TEST_F(BringUp, AfterAFallbackLimitsTheProcessorAndKeepsTheOption) {
    m_library.Add("devices OpenVINO CPU");
    RvoCalyrHvqHelper helper(Seams());

    EXPECT_EQ(helper.Init(Option(kGpu)), 0U);

    EXPECT_THAT(Lines(helper),
                ElementsAre(FirstLine("GPU"), EngineLine(),
                            "1 RvoHvqHelper::InitHvq(), not support device, deviceType=GPU, fallback to CPU",
                            "2 RvoHvqHelper::InitHvq(), CPU device, limiting inference threads to 1",
                            "2 RvoHvqHelper::InitHvq(), CPU device, limiting runtime streams to 1",
                            "2 RvoHvqHelper::InitHvq(), create engine success, m_engineName=OpenVINO, "
                            "networkId=calyr_hvq_plugin_OpenVINO_CPU, deviceType=CPU, duration=0"));
    EXPECT_EQ(helper.Init(Option(kGpu)), 0U);
    EXPECT_THAT(Lines(helper), ElementsAre("2 RvoHvqHelper::Init(), has init already."));
}

TEST_F(BringUp, SetsThePropertiesThatTheEngineOffersAndNoOthers) {
    struct Property {
        std::string name;
        std::string type;
        std::string value;
    };
    const std::string cache = InFolder("cache");
    const std::vector<Property> properties = {{"CACHE_DIR", "std::filesystem::path", cache},
                                              {"INFERENCE_THREADS_NUMBER", "std::string", "1"},
                                              {"RUNTIME_STREAMS_NUMBER", "std::string", "1"}};
    m_library.Add("devices OpenVINO AUTO CPU GPU NPU");
    for (unsigned offered = 0; offered < 8; ++offered) {
        std::string script = "properties OpenVINO OTHER std::string";
        for (std::size_t i = 0; i < properties.size(); ++i)
            if ((offered >> i & 1U) != 0) script += " " + properties[i].name + " " + properties[i].type;
        m_library.Add(script);
        for (const std::int32_t deviceType : {kAuto, kCpu, kGpu, kNpu}) {
            for (const bool withCache : {false, true}) {
                const std::string device = rvo_calyr::kDeviceNames[deviceType];
                SCOPED_TRACE(script + ", " + device + (withCache ? ", cache" : ""));
                m_library.ForgetCalls();
                _CalyrPortraitOption option = Option(deviceType);
                if (withCache) SetText(option.gpuCachePath, cache);

                std::vector<std::string> wanted;
                for (std::size_t i = 0; i < properties.size(); ++i) {
                    const bool isSet = (offered >> i & 1U) != 0 && (i == 0 ? withCache : deviceType == kCpu);
                    if (!isSet) continue;
                    std::string value = properties[i].value;
                    for (std::size_t at = 0; (at = value.find('\\', at)) != value.npos; at += 2)
                        value.insert(at, 1, '\\');  // as the record quotes it
                    wanted.push_back("hvqSetEnginePropertyForNetwork 2 \"OpenVINO\" \"calyr_hvq_plugin_OpenVINO_" +
                                     device + "\" \"" + properties[i].name + "\" \"" + properties[i].type + "\" \"" +
                                     value + "\"");
                }
                std::vector<std::string> wantedLines;
                if (deviceType == kCpu && (offered & 2U) != 0)
                    wantedLines.emplace_back("2 RvoHvqHelper::InitHvq(), CPU device, limiting inference threads to 1");
                if (deviceType == kCpu && (offered & 4U) != 0)
                    wantedLines.emplace_back("2 RvoHvqHelper::InitHvq(), CPU device, limiting runtime streams to 1");

                std::vector<std::string> lines = LinesOfInit(option, 0);

                EXPECT_EQ(lines.front(), FirstLine(device, withCache ? cache : ""));
                std::erase_if(lines, [](const std::string& line) { return line.find("limiting") == line.npos; });
                EXPECT_EQ(lines, wantedLines);
                std::vector<std::string> calls = CallsOf("hvqSetEnginePropertyForNetwork");
                for (std::string& call : calls)  // engines count on
                    call.replace(call.find(' ') + 1, call.find(" \"") - call.find(' ') - 1, "2");
                EXPECT_THAT(calls, UnorderedElementsAreArray(wanted));
            }
        }
    }
}

TEST_F(BringUp, RegistersNoModelThatTheEngineKnows) {
    m_library.Add("models OpenVINO calyr_hvq_plugin_OpenVINO");
    std::filesystem::remove(m_library.Scratch().Folder() / "calyr_144p_input.dll");

    (void)LinesOfInit(Option(), 0);

    EXPECT_THAT(CallsOf("hvqRegisterModelAsInnerIDwithString"), IsEmpty());
}

TEST_F(BringUp, RegistersTheModelWithEachNewEngine) {
    RvoCalyrHvqHelper first(Seams());
    RvoCalyrHvqHelper second(Seams());

    EXPECT_EQ(first.Init(Option()), 0U);
    EXPECT_EQ(second.Init(Option()), 0U);

    EXPECT_THAT(CallsOf("hvqRegisterModelAsInnerIDwithString"),
                ElementsAre(StartsWith("hvqRegisterModelAsInnerIDwithString 2 \"calyr_hvq_plugin_OpenVINO\" "),
                            StartsWith("hvqRegisterModelAsInnerIDwithString 4 \"calyr_hvq_plugin_OpenVINO\" ")));
}

TEST_F(BringUp, LooksBesideTheProgramForWhatTheOptionDoesNotName) {
    for (const bool hasEnginePath : {false, true}) {
        for (const bool hasModelPath : {false, true}) {
            _CalyrPortraitOption option = Option();
            if (!hasEnginePath) SetText(option.enginePath, "");
            if (!hasModelPath) SetText(option.modelPath, "");

            EXPECT_EQ(LinesOfInit(option, 0).front(), FirstLine("CPU"));
        }
    }
    EXPECT_EQ(m_programFile.Asked(), 4) << "asked for all the same when nothing is missing";
}

TEST_F(BringUp, GoesOnWhenTheProgramsFolderIsUnknown) {
    m_programFile.Answer(std::nullopt);

    const std::vector<std::string> lines = LinesOfInit(Option(), 0);

    EXPECT_EQ(lines[0], "2 RvoHvqHelper::InitHvq(), get module path failed, ret=1");
    EXPECT_EQ(lines[1], FirstLine("CPU"));
}

TEST_F(BringUp, IsLeftWithTheFileNamesAloneWhenNothingNamesAFolder) {
    for (const auto& [path, code] : std::vector<std::pair<std::optional<std::string>, std::string>>{
             {std::nullopt, "1"}, {std::string(1500, 'a') + kSeparator + "program", "2"}}) {
        m_programFile.Answer(path);
        _CalyrPortraitOption option = Option(kGpu);
        SetText(option.enginePath, "");
        SetText(option.modelPath, "");

        EXPECT_THAT(LinesOfInit(option, 3),
                    ElementsAre("2 RvoHvqHelper::InitHvq(), get module path failed, ret=" + code,
                                "2 RvoHvqHelper::InitHvq(), deviceType=GPU, modelQuality=0, enginePath=" + kSeparator +
                                    "hvq.dll, modelPath=" + kSeparator + "calyr_144p_input.dll, gpuCachePath=",
                                "0 RvoHvqHelper::InitHvq(), hvq lib not exists", kNoEngineLine));
    }
}

TEST_F(BringUp, EndsAtALibraryThatIsNotThere) {
    _CalyrPortraitOption option = Option();
    SetText(option.enginePath, InFolder("nowhere"));

    const std::vector<std::string> lines = LinesOfInit(option, 3);

    ASSERT_EQ(lines.size(), 3U);
    EXPECT_EQ(lines[1], "0 RvoHvqHelper::InitHvq(), hvq lib not exists");
    EXPECT_EQ(lines[2], kNoEngineLine);
    EXPECT_THAT(m_library.CallTexts(), IsEmpty());
}

TEST_F(BringUp, ReadsAPathWithoutTerminatorNoFurtherThanItsField) {
    _CalyrPortraitOption option = Option();
    for (std::size_t i = 0; i < sizeof(option.enginePath); ++i)
        option.enginePath[i] = i % 2 == 0 ? 'a' : '.';
    std::memset(option.gpuCachePath, 'c', sizeof(option.gpuCachePath));
    support::BlindFileViews files;  // systems differ on whether such a path is just missing or an error
    files.isBlind = true;
    RvoCalyrHvqHelper helper(SeamsWith(files));

    EXPECT_EQ(helper.Init(option), 3U);

    const std::vector<std::string> lines = m_log.TakeWhole();
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(lines[0].size(), 2U + 1023U) << "cut, as every long line";
    EXPECT_THAT(lines[0], HasSubstr("enginePath=a.a."));
}

TEST_F(BringUp, ReadsAModelPathWithoutTerminatorNoFurtherThanItsField) {
    _CalyrPortraitOption option = Option();
    std::memset(option.modelPath, 'm', sizeof(option.modelPath));
    AskedFileViews files;
    RvoCalyrHvqHelper helper(SeamsWith(files));

    EXPECT_EQ(helper.Init(option), 3U);

    EXPECT_EQ(files.NarrowPaths().back(), std::string(1024, 'm') + kSeparator + "calyr_144p_input.dll");
}

TEST_F(BringUp, FindsALibraryWhoseFolderHasAnyLettersInUtf8) {
    const std::filesystem::path folder =
        m_library.Scratch().Folder() / std::filesystem::path(u8"gr\u00FCn \u65E5\u672C");
    std::filesystem::create_directory(folder);
    std::filesystem::copy_file(m_library.Path(), folder / "hvq.dll");
    _CalyrPortraitOption option = Option();
    SetText(option.enginePath, Utf8Of(folder));

    const std::vector<std::string> lines = LinesOfInit(option, 0);

    EXPECT_THAT(lines.front(), HasSubstr(", enginePath=" + Utf8Of(folder) + kSeparator + "hvq.dll, modelPath="));
    EXPECT_THAT(lines.back(), HasSubstr("create engine success"));
}

TEST_F(BringUp, TakesModelAndCacheFolderByTheSystemsCodePage) {
    const std::filesystem::path name = NameOfTheCodePage();
    ASSERT_FALSE(name.empty()) << "the system's code page has none of these letters";
    const std::filesystem::path folder = m_library.Scratch().Folder() / name;
    std::filesystem::create_directory(folder);
    std::filesystem::copy_file(m_library.Scratch().Folder() / "calyr_144p_input.dll", folder / "calyr_144p_input.dll");
    _CalyrPortraitOption option = Option(kGpu);
    SetText(option.modelPath, NarrowOf(folder));
    SetText(option.gpuCachePath, NarrowOf(folder / "cache"));
    std::string cache = Utf8Of(folder / "cache");
    for (std::size_t at = 0; (at = cache.find('\\', at)) != cache.npos; at += 2)
        cache.insert(at, 1, '\\');  // as the record quotes it

    const std::vector<std::string> lines = LinesOfInit(option, 0);

    EXPECT_THAT(lines.back(), HasSubstr("create engine success"));
    EXPECT_THAT(CallsOf("hvqRegisterModelAsInnerIDwithString"), SizeIs(1));
    EXPECT_THAT(CallsOf("hvqSetEnginePropertyForNetwork"),
                ElementsAre(EndsWith("\"CACHE_DIR\" \"std::filesystem::path\" \"" + cache + "\"")));
}

TEST_F(BringUp, ReadsEachOfItsTextsByItsOwnCodePage) {
    _CalyrPortraitOption option = Option(kGpu);
    SetText(option.gpuCachePath, InFolder("cache"));
    RecordedConversion conversion;
    RvoCalyrHvqHelper helper({.loader = {.streams = m_streams},
                              .clock = m_clock,
                              .moduleFiles = m_programFile,
                              .conversion = conversion,
                              .limits = m_limits});

    EXPECT_EQ(helper.Init(option), 0U);

    // The model's path is the library's to read. Where paths are bytes, nobody converts anything.
    std::vector<ReadText> wanted;
    if (kPathsAreWide) {
        wanted.emplace_back(platform::CodePage::Utf8, InFolder("hvq.dll"));
        wanted.emplace_back(platform::CodePage::System, InFolder("cache"));
    }
    EXPECT_EQ(conversion.ReadTexts(), wanted);
    EXPECT_THAT(CallsOf("hvqRegisterModelAsInnerIDwithString"), SizeIs(1));
}

TEST_F(BringUp, LeavesAFileSystemThatCanNotTellToItsCaller) {
    const auto error = std::make_exception_ptr(
        std::filesystem::filesystem_error("no answer", std::make_error_code(std::errc::io_error)));
    m_programFile.ThrowNext(error);
    RvoCalyrHvqHelper helper(Seams());

    EXPECT_THROW((void)helper.Init(Option()), std::filesystem::filesystem_error);

    EXPECT_THAT(Lines(helper), IsEmpty());
    EXPECT_EQ(helper.Init(Option()), 0U) << "and is good for another try";
}

TEST_F(BringUp, LeavesALibraryThatTheFileSystemCanNotTellOfToItsCaller) {
    support::BlindFileViews files;
    files.statusError = std::make_error_code(std::errc::io_error);
    RvoCalyrHvqHelper helper(SeamsWith(files));

    try {
        (void)helper.Init(Option());
        ADD_FAILURE() << "nothing was thrown";
    } catch (const std::filesystem::filesystem_error& thrown) {
        EXPECT_EQ(thrown.code(), std::errc::io_error);
        EXPECT_EQ(thrown.path1(), m_library.Path());
    }

    EXPECT_THAT(Lines(helper), ElementsAre(FirstLine("CPU")));
    EXPECT_THAT(m_library.CallTexts(), IsEmpty());
    files.statusError.clear();
    EXPECT_EQ(helper.Init(Option()), 0U) << "and is good for another try";
}

TEST_F(BringUp, EndsAtAnEngineThatIsNotOffered) {
    m_library.Add("engines openvino OpenVINO2 \"OpenVINO \"");

    EXPECT_THAT(LinesOfInit(Option(), 3),
                ElementsAre(FirstLine("CPU"), EngineLine(),
                            "0 RvoHvqHelper::InitHvq(), not support engine, m_engineName=OpenVINO", kNoEngineLine));
    EXPECT_EQ(m_library.LiveEngines(), 0U);
}

TEST_F(BringUp, EndsAtAModelFileThatIsNotThere) {
    std::filesystem::remove(m_library.Scratch().Folder() / "calyr_144p_input.dll");

    EXPECT_THAT(LinesOfInit(Option(), 3),
                ElementsAre(FirstLine("CPU"), EngineLine(),
                            FailureLine(InFolder("calyr_144p_input.dll") + " not exists."), kNoEngineLine));
    EXPECT_EQ(m_library.LiveEngines(), 0U);
}

TEST_F(BringUp, EndsAtAFileThatIsNoLibrary) {
    m_library.Scratch().Put("other.txt", "no library");
    std::filesystem::create_directory(m_library.Scratch().Folder() / "fake");
    m_library.Scratch().Put(std::filesystem::path("fake") / "hvq.dll", "no library");
    _CalyrPortraitOption option = Option();
    SetText(option.enginePath, InFolder("fake"));

    const std::vector<std::string> lines = LinesOfInit(option, 3);

    ASSERT_EQ(lines.size(), 3U);
    EXPECT_THAT(lines[1], AllOf(StartsWith("0 RvoHvqHelper::InitHvq(), failed, error="),
                                HasSubstr(", m_engineName=OpenVINO, deviceType=CPU, modelPath=" +
                                          InFolder("calyr_144p_input.dll"))));
    EXPECT_EQ(lines[2], kNoEngineLine);
}

TEST_F(BringUp, TellsTheLibrarysOwnTextWhereverItFails) {
    struct Case {
        std::string function;
        std::size_t linesBefore;
        std::string which = "*";
    };
    // The calls that a bring-up makes behind its engine's creation. The engine before it, which only tells the version,
    // has asked for that twice: for its length and for itself.
    for (const Case& failing : std::vector<Case>{{"hvqSelfVersion", 1, "3+"},
                                                 {"hvqGetSupportEngineNumber", 2},
                                                 {"hvqGetSupportDeviceNumber", 2},
                                                 {"hvqGetSupportBuiltinModelNumber", 2},
                                                 {"hvqRegisterModelAsInnerIDwithString", 2},
                                                 {"hvqGetEngineMutableProperties", 2},
                                                 {"hvqCreateNetByBuiltin", 4},
                                                 {"hvqGetCurrentNetworkDevice", 4}}) {
        SCOPED_TRACE(failing.function);
        m_library.Add("fail " + failing.function + " " + failing.which + " \"out of luck\"");

        const std::vector<std::string> lines = LinesOfInit(Option(), 3);

        ASSERT_EQ(lines.size(), failing.linesBefore + 2);
        EXPECT_EQ(lines[failing.linesBefore], FailureLine("out of luck"));
        EXPECT_EQ(lines.back(), kNoEngineLine);
        EXPECT_EQ(m_library.LiveEngines(), 0U);
        m_library.Add("forget " + failing.function);
    }
}

TEST_F(BringUp, DestroysTheEngineBeforeItTellsOfTheFailure) {
    for (const std::string function : {"hvqGetSupportEngineNumber", "hvqCreateNetByBuiltin"}) {
        m_library.Add("fail " + function + " * \"out of luck\"");
        const EnginesAtFailure failure(m_library);
        RvoCalyrHvqHelper helper(Seams());

        EXPECT_EQ(helper.Init(Option()), 3U);

        EXPECT_THAT(failure.counts, ElementsAre(0U)) << function;
        m_library.Add("forget " + function);
    }
}

TEST_F(BringUp, TellsOfALibraryThatMakesNoEngine) {
    m_library.Add("null hvqCreateWithLibraryLoader *");

    const std::vector<std::string> lines = LinesOfInit(Option(), 3);

    ASSERT_EQ(lines.size(), 3U);
    EXPECT_THAT(lines[1], AllOf(StartsWith("0 RvoHvqHelper::InitHvq(), failed, error="),
                                HasSubstr("Create hvq engine failed, please check!")));
}

TEST_F(BringUp, TellsTheDeviceAsItStoodWhenItFailed) {
    m_library.Add("devices OpenVINO CPU\nfail hvqCreateNetByBuiltin * \"out of luck\"");

    EXPECT_THAT(LinesOfInit(Option(kGpu), 3), Contains(FailureLine("out of luck", "CPU")));

    m_library.Add("devices OpenVINO GPU");
    EXPECT_THAT(LinesOfInit(Option(kGpu), 3), Contains(FailureLine("out of luck", "GPU")));
}

TEST_F(BringUp, OfEachFamilyUsesItsNamesAndFiles) {
    struct Family {
        std::string plugin;
        std::string file;
    };
    const auto expectNames = [&](RvoHvqHelper& helper, const Family& family) {
        m_library.ForgetCalls();
        EXPECT_EQ(helper.Init(Option(kGpu)), 0U);
        std::vector<std::string> lines = Lines(helper);
        EXPECT_THAT(lines.front(), HasSubstr(", modelPath=" + InFolder(family.file + "_144p_input.dll") + ","));
        EXPECT_THAT(lines.back(), HasSubstr(", networkId=" + family.plugin + "_OpenVINO_GPU,"));
        EXPECT_THAT(CallsOf("hvqRegisterModelAsInnerIDwithString"),
                    ElementsAre(HasSubstr("\"" + family.plugin + "_OpenVINO\" ")));
        EXPECT_THAT(m_library.CallTexts(), Not(Contains(HasSubstr("360p"))));
    };
    RvoCalyrHvqHelper full(Seams());
    expectNames(full, {"calyr_hvq_plugin", "calyr"});
    RvoCalyrHvqReHelper fullWithTable(Seams());
    expectNames(fullWithTable, {"calyr_re_hvq_plugin", "calyr_re"});
    RvoInhouseHvqHelper maskAlone(Seams());
    expectNames(maskAlone, {"inhouse_hvq_plugin", "inhouse"});
}

TEST_F(BringUp, OfTheHigherQualityUsesTheOtherFile) {
    m_library.Add("layer input input 1 4 360 640\nlayer output segmentation 1 1 360 640");
    const auto fileOf = [&](RvoHvqHelper& helper) {
        EXPECT_EQ(helper.Init(Option(kGpu, 1)), 0U);
        return Lines(helper).front();
    };
    RvoCalyrHvqHelper full(Seams());
    EXPECT_THAT(fileOf(full), HasSubstr(", modelQuality=1, enginePath=" + InFolder("hvq.dll") +
                                        ", modelPath=" + InFolder("calyr_360p_input.dll") + ", gpu"));
    RvoCalyrHvqReHelper fullWithTable(Seams());
    EXPECT_THAT(fileOf(fullWithTable), HasSubstr(", modelPath=" + InFolder("calyr_re_360p_input.dll") + ", gpu"));
    RvoInhouseHvqHelper maskAlone(Seams());
    EXPECT_THAT(fileOf(maskAlone), HasSubstr(", modelPath=" + InFolder("inhouse_360p_input.dll") + ", gpu"));
}

}  // namespace
}  // namespace inference_tests
