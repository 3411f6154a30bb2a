#include "process_fixture.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdio>
#include <system_error>
#include <thread>

#include "infra/module_directory.h"
#include "platform/threads.h"

namespace process_tests {

std::string ProgramFolder() {
    static const int kHere = 0;
    char folder[1024] = {};
    if (infra::GetModuleDirectory(&kHere, folder, sizeof(folder)) != 0) return {};
    return std::string(folder).append(infra::g_pathSeparator);
}

std::filesystem::path ProgramFolderPath() {
    const std::string folder = ProgramFolder();
    // As UTF-8, whatever the system's code page.
    return std::filesystem::path(std::u8string(folder.begin(), folder.end())).parent_path();
}

std::string ProcessProgram() {
    return ProgramFolder() + VELMOML_PROGRAM;
}

std::string FreshId(const std::string& tail) {
    static std::atomic<int> counter{0};
    return "vt" + std::to_string(platform::CurrentProcessId()) + "-" + std::to_string(++counter) + tail;
}

std::string FileText(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

ScratchFile::ScratchFile() : m_path(ProgramFolder() + FreshId(".txt")) {}

ScratchFile::~ScratchFile() {
    (void)std::remove(m_path.c_str());
}

ScratchFolder::ScratchFolder() : m_path(ProgramFolderPath() / FreshId()) {
    std::filesystem::remove_all(m_path);  // of a run that was killed, and had the same number
    std::filesystem::create_directory(m_path);
}

ScratchFolder::~ScratchFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
}

template <class Condition>
bool Recorder::Await(Condition condition) {
    std::unique_lock lock(m_mutex);
    const auto end = std::chrono::system_clock::now() + std::chrono::milliseconds(kPatienceMs);
    return m_changed.wait_until(lock, end, condition);
}

void Recorder::OnHeartBeat() {
    const std::lock_guard lock(m_mutex);
    ++m_heartBeats;
    m_changed.notify_all();
}

void Recorder::OnInit(std::uint32_t processId, std::int32_t result) {
    const std::lock_guard lock(m_mutex);
    m_inits.push_back({processId, result});
    m_changed.notify_all();
}

void Recorder::OnLogLine(const velmo_parent::LogLine& line) {
    const std::lock_guard lock(m_mutex);
    m_lines.push_back(line);
    m_changed.notify_all();
}

void Recorder::OnDamage(const std::string& what) {
    const std::lock_guard lock(m_mutex);
    m_damages.push_back(what);
    m_changed.notify_all();
}

void Recorder::OnFrameResult(const calyr_ipc::OutputSlot& slot) {
    using Plain = calyr_ipc::RvoInhouseIpcOutput;
    using Full = calyr_ipc::RvoCalyrIpcOutput;
    const bool isFull = slot.index == calyr_ipc::OutputSlot::IndexOf<Full>();
    // Both records begin alike, and have no padding between the header and their last field.
    const std::byte* const begin = slot.storage + offsetof(Plain, header);
    const std::byte* const end =
        slot.storage + (isFull ? offsetof(Full, padding1490988) : offsetof(Plain, padding230444));
    const bool isEmpty = std::all_of(begin, end, [](std::byte byte) { return byte == std::byte{0}; });
    const std::int32_t status = slot.As<Plain>().status;
    std::vector<std::uint8_t> mask;
    std::uint64_t stampMs = 0;
    std::vector<float> gesture;
    if (status == 0) {
        stampMs = slot.As<Plain>().header.stampMs;
        if (isFull) gesture.assign(std::begin(slot.As<Full>().gesture), std::end(slot.As<Full>().gesture));
        const std::uint32_t length = isFull ? slot.As<Full>().maskLength : slot.As<Plain>().maskLength;
        const auto& bytes = slot.As<Plain>().mask;
        mask.assign(bytes, bytes + std::min<std::size_t>(length, sizeof(bytes)));
    }
    const std::lock_guard lock(m_mutex);
    m_results.push_back({slot.index, status, isEmpty, std::move(mask), stampMs, std::move(gesture)});
    m_changed.notify_all();
}

bool Recorder::AwaitHeartBeats(int count) {
    return Await([&] { return m_heartBeats >= count; });
}

bool Recorder::AwaitInits(std::size_t count) {
    return Await([&] { return m_inits.size() >= count; });
}

bool Recorder::AwaitResults(std::size_t count) {
    return Await([&] { return m_results.size() >= count; });
}

bool Recorder::AwaitLine(const std::string& part, int times) {
    return Await([&] {
        int found = 0;
        for (const velmo_parent::LogLine& line : m_lines)
            found += line.text.find(part) != std::string::npos ? 1 : 0;
        return found >= times;
    });
}

int Recorder::HeartBeats() const {
    const std::lock_guard lock(m_mutex);
    return m_heartBeats;
}

std::vector<Recorder::InitResult> Recorder::Inits() const {
    const std::lock_guard lock(m_mutex);
    return m_inits;
}

std::vector<velmo_parent::LogLine> Recorder::Lines() const {
    const std::lock_guard lock(m_mutex);
    return m_lines;
}

std::vector<std::string> Recorder::Damages() const {
    const std::lock_guard lock(m_mutex);
    return m_damages;
}

std::vector<Recorder::FrameResult> Recorder::Results() const {
    const std::lock_guard lock(m_mutex);
    return m_results;
}

Recorder::FrameResult Recorder::ResultAt(std::size_t at) const {
    const std::lock_guard lock(m_mutex);
    return m_results.at(at);
}

bool FramePace::AwaitRoom() {
    if (m_room == 0) {
        if (!m_recorder.AwaitResults(m_sent)) return false;
        // The process has used up its slots, so with the reader's next look it gets back all but the newest result's.
        m_link.Drain();
        m_room = 4;
    }
    --m_room;
    ++m_sent;
    return true;
}

bool AwaitFileText(const std::string& path, const std::string& part, int times) {
    // Nobody tells of a file that grows.
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(kPatienceMs);
    while (std::chrono::steady_clock::now() < end) {
        const std::string text = FileText(path);
        int found = 0;
        for (std::size_t at = 0; (at = text.find(part, at)) != std::string::npos; at += part.size())
            ++found;
        if (found >= times) return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return false;
}

bool AwaitMapping(const std::string& name) {
    // There is no event for this: whoever makes a mapping tells nobody.
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(kPatienceMs);
    while (std::chrono::steady_clock::now() < end) {
        if (platform::SystemKernelObjects().OpenMapping(name, platform::MappingAccess::ReadOnly)) return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return false;
}

}  // namespace process_tests
