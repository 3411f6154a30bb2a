// How long a frame's result takes, from before the frame is written to its result in the parent's hands, with the real
// process on the scripted library, whose network does next to nothing:
//
//   skipped   skipping is allowed and nothing changes: the mask of before is sent
//   inferred  skipping is off: every frame goes to the network
//
// each through the bare channels (velmo_parent::Link) and through the whole library (velmo_parent::InferenceProcess),
// by turns: what the library adds is the difference. One frame at a time. For both systems; no library needed.
//   usage: parent_latency [FRAMES]     of each row, 3000 by default

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "infra/module_directory.h"
#include "infra/steady_clock.h"
#include "ipc/channels.h"
#include "platform/threads.h"
#include "scripted_double/scripted_library.h"
#include "velmo_parent/inference_process.h"
#include "velmo_parent/link.h"

namespace {

using velmo_parent::FrameSize;
using velmo_parent::ModelFamily;

constexpr std::chrono::seconds kPatience{60};
constexpr std::int64_t kWarmUp = 200;

struct Case {
    FrameSize size;
    ModelFamily family;
    bool isSkipped;
};

std::string ProgramPath() {
    static const int kHere = 0;
    char folder[1024];
    if (infra::GetModuleDirectory(&kHere, folder, sizeof(folder)) != 0) return {};
    return std::string(folder).append(infra::g_pathSeparator).append(VELMOML_PROGRAM);
}

std::string FreshId() {
    static int counter = 0;
    return "latency" + std::to_string(platform::CurrentProcessId()) + "-" + std::to_string(++counter);
}

[[noreturn]] void Fail(const std::string& why) {
    std::fprintf(stderr, "parent_latency: %s\n", why.c_str());
    std::exit(1);
}

// Lets the sender wait for what a callback has seen.
class Arrivals {
 public:
    void Add(std::int64_t latencyNs, bool isReused) {
        const std::lock_guard lock(m_mutex);
        m_latencyNs = latencyNs;
        m_isReused = isReused;
        ++m_count;
        m_changed.notify_all();
    }
    void Await(std::int64_t count) {
        std::unique_lock lock(m_mutex);
        if (!m_changed.wait_for(lock, kPatience, [&] { return m_count >= count; })) Fail("nothing comes");
    }
    std::int64_t LatencyNs() const { return m_latencyNs; }  // of the one awaited
    bool IsReused() const { return m_isReused; }

 private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::int64_t m_count = 0;
    std::int64_t m_latencyNs = 0;
    bool m_isReused = false;
};

// One way to the process and back.
class Road {
 public:
    virtual ~Road() = default;
    virtual bool Submit() = 0;
    Arrivals arrivals;
};

class BareChannels final : public Road, private velmo_parent::LinkListener {
 public:
    BareChannels(const Case& measured, const std::string& folder) : m_case(measured), m_link(FreshId(), *this) {
        if (const auto opened = m_link.Open(); !opened) Fail(opened.Why());
        if (const auto started = m_link.StartProcess({ProgramPath()}); !started) Fail(started.Why());
        (void)m_link.Init({.deviceType = 1,
                           .modelQuality = m_case.size.width == 640 ? 1 : 0,
                           .modelType = static_cast<std::int32_t>(m_case.family),
                           .modelPath = folder,
                           .enginePath = folder});
        m_init.Await(1);
    }
    ~BareChannels() override {
        (void)m_link.Terminate();
        (void)m_link.WaitForExit(10'000);
        m_link.Close();
    }

    bool Submit() override {
        m_submittedNs = infra::NowNs();
        return m_link.SubmitFrame([this](calyr_ipc::InputSlot& slot) {
            auto& record = slot.As<calyr_ipc::RvoCalyrIpcInput>();
            record.temporalEnabled = m_case.isSkipped ? 1 : 0;
            record.dataSize = 3 * m_case.size.width * m_case.size.height;
            std::memset(record.data, 0x33, record.dataSize);
            record.header = {};
            record.header.width = m_case.size.width;
            record.header.height = m_case.size.height;
            slot.index = 0;
        }) == velmo_parent::SendResult::Sent;
    }

 private:
    void OnInit(std::uint32_t, std::int32_t) override { m_init.Add(0, false); }
    void OnFrameResult(const calyr_ipc::OutputSlot& slot) override {
        const std::uint64_t stampMs = slot.As<calyr_ipc::RvoInhouseIpcOutput>().header.stampMs;
        arrivals.Add(infra::NowNs() - m_submittedNs, stampMs == m_lastStampMs);
        m_lastStampMs = stampMs;
    }

    const Case m_case;
    Arrivals m_init;
    std::int64_t m_submittedNs = 0;  // one frame at a time
    std::uint64_t m_lastStampMs = 0;
    velmo_parent::Link m_link;
};

class WholeLibrary final : public Road, private velmo_parent::ProcessListener {
 public:
    WholeLibrary(const Case& measured, const std::string& folder)
        : m_case(measured), m_process({.program = ProgramPath()}, *this) {
        if (const auto started = m_process.Start(); !started) Fail(started.Why());
        velmo_parent::EngineRequest request;
        request.device = velmo_parent::Device::Cpu;
        request.quality = m_case.size.width == 640 ? velmo_parent::ModelQuality::High : velmo_parent::ModelQuality::Low;
        request.family = m_case.family;
        request.modelPath = request.enginePath = folder;
        (void)m_process.Init(request);
        const auto answer = m_process.AwaitInit(kPatience);
        if (!answer || answer->status != 0) Fail("no engine");
    }

    bool Submit() override {
        const auto skipping = m_case.isSkipped ? velmo_parent::Skipping::Allowed : velmo_parent::Skipping::Off;
        return m_process.Submit({1, m_case.size, skipping}, [](velmo_parent::FramePlanes& planes) {
            std::memset(planes[0].data(), 0x33, 3 * planes[0].size());  // one behind the other
        }) == velmo_parent::SubmitStatus::Sent;
    }

 private:
    void OnResult(const velmo_parent::Result& result) override {
        arrivals.Add(result.latency.count(), result.isReused);
    }

    const Case m_case;
    velmo_parent::InferenceProcess m_process;
};

double AtMicroseconds(std::vector<std::int64_t>& sorted, double share) {
    if (sorted.empty()) return 0;
    const auto at = static_cast<std::size_t>(share * static_cast<double>(sorted.size() - 1));
    return static_cast<double>(sorted[at]) / 1000.0;
}

void Measure(const Case& measured, std::int64_t frames) {
    const scripted_double::ScratchLibrary library;
    const std::string sides = std::to_string(measured.size.height) + " " + std::to_string(measured.size.width);
    library.Put("hvq.script", "quiet\nlayer input input 1 4 " + sides + "\nlayer output segmentation 1 1 " + sides +
                                  "\nfill segmentation constant 0\n");
    for (const char* model :
         {"calyr_144p_input.dll", "calyr_360p_input.dll", "inhouse_144p_input.dll", "inhouse_360p_input.dll"}) {
        library.Put(model, "a network");
    }
    const std::string folder = library.Folder().string();
    const std::unique_ptr<Road> roads[] = {std::make_unique<BareChannels>(measured, folder),
                                           std::make_unique<WholeLibrary>(measured, folder)};
    std::vector<std::int64_t> latencies[2];
    for (std::int64_t frame = 1; frame <= frames + kWarmUp; ++frame) {
        for (std::size_t road = 0; road < 2; ++road) {
            while (!roads[road]->Submit()) {
            }
            roads[road]->arrivals.Await(frame);
            // Of those that may be skipped, every 18th is not.
            const bool counts = !measured.isSkipped || roads[road]->arrivals.IsReused();
            if (frame > kWarmUp && counts) latencies[road].push_back(roads[road]->arrivals.LatencyNs());
        }
    }
    for (auto& list : latencies)
        std::sort(list.begin(), list.end());
    std::printf(
        "%4u x %-4u %-8s %-9s %10.1f %10.1f   %10.1f %10.1f   %+8.1f\n", measured.size.width, measured.size.height,
        measured.family == ModelFamily::Calyr ? "calyr" : "inhouse", measured.isSkipped ? "skipped" : "inferred",
        AtMicroseconds(latencies[0], 0.5), AtMicroseconds(latencies[0], 0.99), AtMicroseconds(latencies[1], 0.5),
        AtMicroseconds(latencies[1], 0.99), AtMicroseconds(latencies[1], 0.5) - AtMicroseconds(latencies[0], 0.5));
    (void)std::fflush(stdout);
}

}  // namespace

int main(int count, char** arguments) {
    const std::int64_t frames = count > 1 ? std::atoll(arguments[1]) : 3000;
    std::printf("microseconds                    bare: p50        p99   library: p50       p99      added\n");
    for (const FrameSize size : {FrameSize{256, 144}, FrameSize{640, 360}}) {
        for (const ModelFamily family : {ModelFamily::Inhouse, ModelFamily::Calyr}) {
            for (const bool isSkipped : {true, false})
                Measure({size, family, isSkipped}, frames);
        }
    }
    return 0;
}
