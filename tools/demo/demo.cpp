// Runs the real process on a small network: brings up an engine, sends a short video of a drawn disc that first stands
// still and then moves, and shows which frames reached the network and what the last mask looks like.

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "infra/module_directory.h"
#include "ipc/channels.h"
#include "ipc/read_once.h"
#include "platform/threads.h"
#include "velmo_parent/link.h"

namespace {

constexpr std::uint32_t kWidth = 256;
constexpr std::uint32_t kHeight = 144;
constexpr std::uint32_t kPixels = kWidth * kHeight;
constexpr int kStillFrames = 30;
constexpr int kMovingFrames = 30;
constexpr int kFrames = kStillFrames + kMovingFrames;
constexpr std::uint32_t kPatienceMs = 60'000;
constexpr std::uint8_t kForeground = 129;  // of a mask, and above

// Keeps what the process says, and prints its log lines.
class Printer final : public velmo_parent::LinkListener {
 public:
    void OnInit(std::uint32_t processId, std::int32_t result) override {
        std::printf("event         Init of process %u gave %d\n", processId, result);
        const std::lock_guard lock(m_mutex);
        m_init = result;
        m_changed.notify_all();
    }

    void OnLogLine(const velmo_parent::LogLine& line) override {
        std::printf("log, level %u  %s\n", line.level, line.text.c_str());
        (void)std::fflush(stdout);
    }

    void OnFrameResult(const calyr_ipc::OutputSlot& slot) override {
        const auto& record = slot.As<calyr_ipc::RvoCalyrIpcOutput>();  // model type 0 sends this one
        const std::lock_guard lock(m_mutex);
        ++m_results;
        if (ipc::ReadOnce(record.status) == 0 && ipc::ReadOnce(record.maskLength) == kPixels) {
            ++m_masks;
            m_mask.assign(record.mask, record.mask + kPixels);
        }
        m_changed.notify_all();
    }

    void OnDamage(const std::string& what) override { std::printf("damage        %s\n", what.c_str()); }

    // Nothing when the time ran out.
    std::optional<std::int32_t> AwaitInit() {
        std::unique_lock lock(m_mutex);
        m_changed.wait_for(lock, std::chrono::milliseconds(kPatienceMs), [this] { return m_init.has_value(); });
        return m_init;
    }

    bool AwaitResults(int count) {
        std::unique_lock lock(m_mutex);
        return m_changed.wait_for(lock, std::chrono::milliseconds(kPatienceMs), [&] { return m_results >= count; });
    }

    int Masks() const {
        const std::lock_guard lock(m_mutex);
        return m_masks;
    }

    std::vector<std::uint8_t> LastMask() const {
        const std::lock_guard lock(m_mutex);
        return m_mask;
    }

 private:
    mutable std::mutex m_mutex;  // guards the rest
    std::condition_variable m_changed;
    std::optional<std::int32_t> m_init;
    int m_results = 0;
    int m_masks = 0;
    std::vector<std::uint8_t> m_mask;
};

// A light disc on a dark ground, in all three planes. It stands still at first, then goes to the right.
void WriteFrame(int frame, calyr_ipc::InputSlot& slot) {
    auto& record = slot.As<calyr_ipc::RvoCalyrIpcInput>();
    record.temporalEnabled = 1;
    record.dataSize = 3 * kPixels;
    record.header = {};
    record.header.width = kWidth;
    record.header.height = kHeight;
    const int centreX = 80 + 3 * std::max(0, frame - kStillFrames);
    const int centreY = 72;
    const int radius = 45;
    for (int y = 0; y < static_cast<int>(kHeight); ++y) {
        for (int x = 0; x < static_cast<int>(kWidth); ++x) {
            const bool isInside = (x - centreX) * (x - centreX) + (y - centreY) * (y - centreY) < radius * radius;
            const auto at = static_cast<std::uint32_t>(y) * kWidth + static_cast<std::uint32_t>(x);
            for (std::uint32_t plane = 0; plane < 3; ++plane)
                record.data[plane * kPixels + at] = isInside ? 250 : 20;
        }
    }
    slot.index = calyr_ipc::InputSlot::IndexOf<calyr_ipc::RvoCalyrIpcInput>();
}

void PrintMask(const std::vector<std::uint8_t>& mask) {
    for (std::uint32_t y = 4; y < kHeight; y += 9) {
        std::string row;
        for (std::uint32_t x = 2; x < kWidth; x += 4)
            row += mask[y * kWidth + x] >= kForeground ? '#' : '.';
        std::printf("              %s\n", row.c_str());
    }
}

int Fail(const std::string& why) {
    std::fprintf(stderr, "demo: %s\n", why.c_str());
    return 1;
}

// One frame at a time, so that the parent is never ahead.
bool SendVideo(velmo_parent::Link& link, Printer& printer) {
    for (int frame = 0; frame < kFrames; ++frame) {
        const auto writer = [frame](calyr_ipc::InputSlot& slot) { WriteFrame(frame, slot); };
        if (link.SubmitFrame(writer) != velmo_parent::SendResult::Sent) return false;
        if (!printer.AwaitResults(frame + 1)) return false;
    }
    return true;
}

}  // namespace

int main() {
    static const int kHere = 0;
    char buffer[1024];
    if (infra::GetModuleDirectory(&kHere, buffer, sizeof(buffer)) != 0) return Fail("can't find its own folder");
    const std::string folder = std::string(buffer).append(infra::g_pathSeparator);

    Printer printer;
    velmo_parent::Link link("velmoml-demo-" + std::to_string(platform::CurrentProcessId()), printer);
    if (const velmo_parent::Outcome opened = link.Open(); !opened) return Fail(opened.Why());
    // A summary of the rounds comes with the last frame.
    const velmo_parent::ProcessStart start{folder + VELMOML_PROGRAM,
                                           {{"CALYR_PROFILE_LOG_ROUNDS", std::to_string(kFrames)}}};
    if (const velmo_parent::Outcome started = link.StartProcess(start); !started) return Fail(started.Why());
    std::printf("started       process %u with the id %s\n", link.ProcessId(), link.Id().c_str());

    velmo_parent::InitRequest request;
    request.deviceType = 2;  // "GPU", which the stand-in does not have: it falls back
    request.modelPath = folder + "demo";
    if (link.Init(request) != velmo_parent::SendResult::Sent) return Fail("can't send an Init");
    if (const auto result = printer.AwaitInit(); result != 0) {
        link.Kill();
        return Fail("Init did not succeed");
    }
    if (!SendVideo(link, printer)) {
        link.Kill();
        return Fail("a frame has no result");
    }
    std::printf("frames        %d sent, %d masks back; the last one:\n", kFrames, printer.Masks());
    PrintMask(printer.LastMask());

    (void)link.Terminate();
    const auto exit = link.WaitForExit(kPatienceMs);
    if (!exit) {
        link.Kill();
        return Fail("the process did not end");
    }
    std::printf("ended         exit code %d\n", exit->code);
    if (printer.Masks() != kFrames) return Fail("not every frame has a mask");
    return exit->code == 0 ? 0 : Fail("a process that was told to end ends with 0");
}
