#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/child_process.h"
#include "platform/kernel_objects.h"
#include "velmo_parent/link.h"

namespace process_tests {

// Long enough for anything on a busy machine; nothing is expected to need it.
inline constexpr std::uint32_t kPatienceMs = 60'000;

// The folder of this test program, with a separator at its end.
std::string ProgramFolder();

// The same without the separator.
std::filesystem::path ProgramFolderPath();

// The real executable, beside this program.
std::string ProcessProgram();

// An id that no other run of any test has: made of this process's id and a counter.
std::string FreshId(const std::string& tail = "");

// The whole file; "" when there is none.
std::string FileText(const std::string& path);

// A file name in the program's folder for what a child writes; the file goes with the object.
class ScratchFile {
 public:
    ScratchFile();
    ~ScratchFile();
    ScratchFile(const ScratchFile&) = delete;
    ScratchFile& operator=(const ScratchFile&) = delete;

    const std::string& Path() const { return m_path; }
    std::string Text() const { return FileText(m_path); }

 private:
    std::string m_path;
};

// A new and empty folder in the program's folder; it goes with the object, and all that is in it.
class ScratchFolder {
 public:
    ScratchFolder();
    ~ScratchFolder();
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    const std::filesystem::path& Path() const { return m_path; }

 private:
    std::filesystem::path m_path;
};

// Keeps what a process says, and lets a test wait for it. Every Await gives up after kPatienceMs and returns false.
class Recorder final : public velmo_parent::LinkListener {
 public:
    struct InitResult {
        std::uint32_t processId;
        std::int32_t result;
    };
    struct FrameResult {
        std::int8_t index;  // which record
        std::int32_t status;
        bool isElseEmpty;                  // all that the record's fields hold is zero, but for the status
        std::vector<std::uint8_t> mask{};  // of a good frame, as are those below
        std::uint64_t stampMs = 0;
        std::vector<float> gesture{};  // of the full record
    };

    void OnHeartBeat() override;
    void OnInit(std::uint32_t processId, std::int32_t result) override;
    void OnLogLine(const velmo_parent::LogLine& line) override;
    void OnDamage(const std::string& what) override;
    void OnFrameResult(const calyr_ipc::OutputSlot& slot) override;

    bool AwaitHeartBeats(int count);
    bool AwaitInits(std::size_t count);
    bool AwaitResults(std::size_t count);
    bool AwaitLine(const std::string& part, int times = 1);

    int HeartBeats() const;
    std::vector<InitResult> Inits() const;
    std::vector<velmo_parent::LogLine> Lines() const;
    std::vector<std::string> Damages() const;
    std::vector<FrameResult> Results() const;
    // That with the number `at`, once it has been awaited. Copies no other.
    FrameResult ResultAt(std::size_t at) const;

 private:
    template <class Condition>
    bool Await(Condition condition);

    mutable std::mutex m_mutex;  // guards the rest
    std::condition_variable m_changed;
    int m_heartBeats = 0;
    std::vector<InitResult> m_inits;
    std::vector<FrameResult> m_results;
    std::vector<velmo_parent::LogLine> m_lines;
    std::vector<std::string> m_damages;
};

// Holds frames back while the process could have to wait for its results' reader: when that takes half a second, the
// process drops the result. Every frame has to get one. Thread: one at a time.
class FramePace {
 public:
    // Both outlive this. All frames of the link have to be counted here.
    FramePace(velmo_parent::Link& link, Recorder& recorder) : m_link(link), m_recorder(recorder) {}

    // Waits until there is a slot for one more result, and counts the frame that is sent now. False when the results of
    // those before don't come.
    bool AwaitRoom();

 private:
    velmo_parent::Link& m_link;
    Recorder& m_recorder;
    std::size_t m_sent = 0;
    int m_room = 5;  // slots that the process has for results and that no frame before was sent for
};

// Waits until the file holds this text so many times. False when that takes longer than kPatienceMs.
bool AwaitFileText(const std::string& path, const std::string& part, int times = 1);

// Waits until a process has made or attached to the mapping `name`, without touching it.
bool AwaitMapping(const std::string& name);

}  // namespace process_tests
