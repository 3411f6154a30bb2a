// Starts the real process, sends it a frame, shows what arrives at its parent, stops answering, and watches it end.

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>

#include "infra/module_directory.h"
#include "ipc/channels.h"
#include "ipc/read_once.h"
#include "platform/threads.h"
#include "velmo_parent/link.h"

namespace {

constexpr std::uint32_t kAnsweredHeartBeats = 2;
constexpr std::uint32_t kPatienceMs = 60'000;
constexpr std::int32_t kWatchdogExitCode = -1;

// Prints what the process says, and answers its first heartbeats.
class Printer final : public velmo_parent::LinkListener {
 public:
    void Watch(velmo_parent::Link& link) { m_link = &link; }

    void OnHeartBeat() override {
        const std::uint32_t beat = ++m_heartBeats;
        const bool answered = beat <= kAnsweredHeartBeats;
        std::printf("heartbeat %2u  %s\n", beat, answered ? "answered" : "left unanswered");
        if (answered && m_link != nullptr) (void)m_link->AcknowledgeHeartBeats();
        (void)std::fflush(stdout);
    }

    void OnInit(std::uint32_t processId, std::int32_t result) override {
        std::printf("event         Init of process %u gave %d\n", processId, result);
        (void)std::fflush(stdout);
    }

    void OnLogLine(const velmo_parent::LogLine& line) override {
        std::printf("log, level %u  %s\n", line.level, line.text.c_str());
        (void)std::fflush(stdout);
    }

    void OnFrameResult(const calyr_ipc::OutputSlot& slot) override {
        // Both records begin with their status.
        const bool isFull = ipc::ReadOnce(slot.index) == calyr_ipc::OutputSlot::IndexOf<calyr_ipc::RvoCalyrIpcOutput>();
        std::printf("frame result  status %d, in a record with %s\n",
                    ipc::ReadOnce(slot.As<calyr_ipc::RvoInhouseIpcOutput>().status),
                    isFull ? "all results" : "the mask alone");
        (void)std::fflush(stdout);
        ++m_results;
    }

    void OnDamage(const std::string& what) override { std::printf("damage        %s\n", what.c_str()); }

    std::uint32_t HeartBeats() const { return m_heartBeats; }
    std::uint32_t Results() const { return m_results; }

 private:
    velmo_parent::Link* m_link = nullptr;  // set before anything can arrive
    std::atomic<std::uint32_t> m_heartBeats{0};
    std::atomic<std::uint32_t> m_results{0};
};

// A grey frame of the smaller model's size.
void WriteFrame(calyr_ipc::InputSlot& slot) {
    constexpr std::uint32_t kWidth = 256;
    constexpr std::uint32_t kHeight = 144;
    auto& record = slot.As<calyr_ipc::RvoCalyrIpcInput>();
    record.temporalEnabled = 0;
    record.dataSize = 3 * kWidth * kHeight;
    std::memset(record.data, 0x80, record.dataSize);
    record.header = {};
    record.header.width = kWidth;
    record.header.height = kHeight;
    slot.index = calyr_ipc::InputSlot::IndexOf<calyr_ipc::RvoCalyrIpcInput>();
}

int Fail(const std::string& why) {
    std::fprintf(stderr, "demo: %s\n", why.c_str());
    return 1;
}

}  // namespace

int main() {
    static const int kHere = 0;
    char folder[1024];
    if (infra::GetModuleDirectory(&kHere, folder, sizeof(folder)) != 0) return Fail("can't find its own folder");
    const std::string program = std::string(folder).append(infra::g_pathSeparator) + VELMOML_PROGRAM;

    Printer printer;
    velmo_parent::Link link("velmoml-demo-" + std::to_string(platform::CurrentProcessId()), printer,
                            velmo_parent::HeartBeats::LeftToCaller);
    printer.Watch(link);
    if (const velmo_parent::Outcome opened = link.Open(); !opened) return Fail(opened.Why());
    if (const velmo_parent::Outcome started = link.StartProcess({program}); !started) return Fail(started.Why());
    std::printf("started       process %u with the id %s\n", link.ProcessId(), link.Id().c_str());
    (void)link.Init({});
    (void)link.SubmitFrame(&WriteFrame);

    const auto exit = link.WaitForExit(kPatienceMs);
    if (!exit) {
        link.Kill();
        return Fail("the process did not end");
    }
    std::printf("ended         exit code %d, after %u heartbeats of which %u were answered\n", exit->code,
                printer.HeartBeats(), kAnsweredHeartBeats);
    if (printer.Results() != 1) return Fail("a frame has one result");
    return exit->code == kWatchdogExitCode ? 0 : Fail("the exit code of the watchdog is -1");
}
