// Three seconds of video through an inference process: what a media engine does around its frames.
//
//   mask_stream PROGRAM ENGINE_FOLDER MODEL_FOLDER
//
// PROGRAM is velmoml or velmoml.exe, the folders hold hvq.dll and the model files. The last line printed tells how many
// frames had a mask; the exit code is 0 when all had one.

#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <thread>

#include "velmo_parent/inference_process.h"

namespace {

using namespace std::chrono_literals;

constexpr velmo_parent::FrameSize kSize{256, 144};
constexpr std::uint64_t kFrames = 90;
constexpr auto kFrameTime = 33'333us;

// Stands for what composites frames with their masks. Everything here runs on threads of the library.
class Compositor final : public velmo_parent::ProcessListener {
 public:
    void OnResult(const velmo_parent::Result& result) override {
        // The mask is read where it lies; behind this call it is gone.
        if (!result.mask.empty()) ++m_masks;
        if (result.isReused) ++m_reused;
    }

    void OnFrameLost(const velmo_parent::LostFrame& lost) override {
        std::printf("frame %llu is lost\n", static_cast<unsigned long long>(lost.tag));
    }

    void OnMasksStale(const velmo_parent::StaleMasks& stale) override {
        std::printf("the mask is %lld ms old: inference fails\n", static_cast<long long>(stale.age.count()));
    }

    void OnNotice(const velmo_parent::Notice& notice) override {
        if (const auto* fallback = std::get_if<velmo_parent::DeviceFellBack>(&notice)) {
            std::printf("no %s here, %s instead\n", fallback->missing.c_str(), fallback->taken.c_str());
        }
    }

    void OnEnded(const velmo_parent::ProcessEnd& end) override {
        if (end.wasAsked) return;
        std::printf("the process ended with %d; its last words:\n", end.code);
        for (const velmo_parent::LogLine& line : end.lastLines)
            std::printf("  %s\n", line.text.c_str());
        // A real program would Start() it again, here or later, and Init it anew.
    }

    std::uint64_t Masks() const { return m_masks; }
    std::uint64_t Reused() const { return m_reused; }

 private:
    std::atomic<std::uint64_t> m_masks{0};
    std::atomic<std::uint64_t> m_reused{0};
};

// A light bar on a dark ground, which goes to the right. Every byte of the planes is written.
void Draw(std::uint64_t frame, velmo_parent::FramePlanes& planes) {
    for (auto& plane : planes) {
        for (std::uint32_t y = 0; y < kSize.height; ++y) {
            auto row = plane.subspan(static_cast<std::size_t>(y) * kSize.width, kSize.width);
            std::memset(row.data(), 20, row.size());
            std::memset(row.data() + frame % (kSize.width - 64), 250, 64);
        }
    }
}

int Fail(const char* what, const char* why) {
    std::fprintf(stderr, "%s: %s\n", what, why);
    return 1;
}

}  // namespace

int main(int count, char** arguments) {
    if (count != 4) return Fail("usage", "mask_stream PROGRAM ENGINE_FOLDER MODEL_FOLDER");
    Compositor compositor;
    velmo_parent::ProcessOptions options;
    options.program = arguments[1];
    velmo_parent::InferenceProcess process(options, compositor);
    if (const auto started = process.Start(); !started) return Fail("no process", started.Why().c_str());

    velmo_parent::EngineRequest request;
    request.device = velmo_parent::Device::Gpu;
    request.quality = velmo_parent::ModelQuality::Low;
    request.enginePath = arguments[2];
    request.modelPath = arguments[3];
    if (process.Init(request) != velmo_parent::InitStatus::Sent) return Fail("no Init", "it can't be sent");
    const auto answer = process.AwaitInit(60s);
    if (!answer || answer->status != 0) return Fail("no engine", "its log says why");
    std::printf("engine on %s\n", process.DeviceInUse().c_str());

    const auto start = std::chrono::steady_clock::now();
    std::uint64_t skippedByUs = 0;
    for (std::uint64_t frame = 0; frame < kFrames; ++frame) {
        std::this_thread::sleep_until(start + frame * kFrameTime);
        const auto status = process.Submit({.tag = frame, .size = kSize},
                                           [&](velmo_parent::FramePlanes& planes) { Draw(frame, planes); });
        // A frame that finds no room is left out: video does not wait.
        if (status == velmo_parent::SubmitStatus::Full)
            ++skippedByUs;
        else if (status != velmo_parent::SubmitStatus::Sent)
            return Fail("a frame was refused", "see SubmitStatus");
    }
    (void)process.AwaitFrames(5s);

    const auto end = process.Stop();
    std::printf("%llu frames, %llu left out, %llu with a mask, %llu of them reused\n",
                static_cast<unsigned long long>(kFrames), static_cast<unsigned long long>(skippedByUs),
                static_cast<unsigned long long>(compositor.Masks()),
                static_cast<unsigned long long>(compositor.Reused()));
    return end && end->code == 0 && compositor.Masks() + skippedByUs == kFrames ? 0 : 1;
}
