#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "process_fixture.h"
#include "scripted_double/scripted_library.h"
#include "velmo_parent/inference_process.h"

namespace parent_process_tests {

using process_tests::kPatienceMs;
using velmo_parent::Frame;
using velmo_parent::FramePlanes;
using velmo_parent::FrameSize;
using velmo_parent::Skipping;
using velmo_parent::SubmitStatus;

inline constexpr std::chrono::milliseconds kPatience{kPatienceMs};
inline constexpr FrameSize kSmall{256, 144};
inline constexpr FrameSize kLarge{640, 360};

// A frame whose first plane begins with its tag, which the scripted network's mask then begins with as well.
void WriteTagged(std::uint64_t tag, FramePlanes& planes);
std::uint64_t TagIn(std::span<const std::uint8_t> mask);

// The layers of a scripted network that gives a frame's first plane as the mask.
std::string LayersOf(FrameSize size);

// One thing that a listener was told of a frame, in the order of the telling.
struct FrameNews {
    std::uint64_t tag = 0;
    bool isLost = false;
    velmo_parent::LossReason reason = velmo_parent::LossReason::Dropped;
    std::int32_t status = -1;
    std::uint64_t maskTag = 0;  // what the mask says
    std::size_t maskBytes = 0;
    bool isReused = false;
    bool temporal = false;
    bool isFull = false;
    std::int64_t ageMs = 0;
    std::int64_t latencyNs = 0;
    std::int64_t allocations = 0;  // of the thread, so far
};

// Keeps what it is told, and lets a test wait for it. An Await gives up after kPatience and returns false.
class Listener final : public velmo_parent::ProcessListener {
 public:
    void OnResult(const velmo_parent::Result& result) override;
    void OnFrameLost(const velmo_parent::LostFrame& lost) override;
    void OnMasksStale(const velmo_parent::StaleMasks& stale) override;
    void OnMasksFreshAgain() override;
    void OnInit(const velmo_parent::InitAnswer& answer) override;
    void OnLogLine(const velmo_parent::LogLine& line) override;
    void OnNotice(const velmo_parent::Notice& notice) override;
    void OnSilence(const velmo_parent::Silence& silence) override;
    void OnEnded(const velmo_parent::ProcessEnd& end) override;
    void OnDamage(const std::string& what) override;

    // Run at the end of the callback, on its thread, with no lock held. Set before there is one.
    std::function<void(const velmo_parent::Result&)> onResult;
    std::function<void()> onInit;
    std::function<void(const velmo_parent::LogLine&)> onLogLine;
    std::function<void(const velmo_parent::ProcessEnd&)> onEnded;

    template <class Condition>
    bool Await(Condition condition) {
        std::unique_lock lock(m_mutex);
        return m_changed.wait_until(lock, std::chrono::system_clock::now() + kPatience, condition);
    }
    bool AwaitFrames(std::size_t count) {
        return Await([&] { return m_frames.size() >= count; });
    }
    bool AwaitEnds(std::size_t count) {
        return Await([&] { return m_ends.size() >= count; });
    }
    bool AwaitSilences(std::size_t count) {
        return Await([&] { return m_silences.size() >= count; });
    }
    bool AwaitLine(const std::string& part, int times = 1);
    // Until so many notices of a kind have come.
    template <class Kind>
    bool AwaitNotices(std::size_t count) {
        return Await([&] { return CountNotices<Kind>() >= count; });
    }

    template <class Kind>
    std::vector<Kind> Notices() const {
        const std::lock_guard lock(m_mutex);
        std::vector<Kind> found;
        for (const velmo_parent::Notice& notice : m_notices) {
            if (const auto* value = std::get_if<Kind>(&notice)) found.push_back(*value);
        }
        return found;
    }
    std::vector<FrameNews> Frames() const { return Copy(m_frames); }
    std::size_t FrameCount() const {
        const std::lock_guard lock(m_mutex);
        return m_frames.size();
    }
    void ForgetFrames() {
        const std::lock_guard lock(m_mutex);
        m_frames.clear();
    }
    // The longest time between two results or losses.
    std::chrono::milliseconds LongestPause() const {
        const std::lock_guard lock(m_mutex);
        return std::chrono::duration_cast<std::chrono::milliseconds>(m_longestPause);
    }
    std::vector<velmo_parent::InitAnswer> Inits() const { return Copy(m_inits); }
    std::vector<velmo_parent::LogLine> Lines() const { return Copy(m_lines); }
    std::vector<velmo_parent::Silence> Silences() const { return Copy(m_silences); }
    std::vector<velmo_parent::ProcessEnd> Ends() const { return Copy(m_ends); }
    std::vector<std::string> Damages() const { return Copy(m_damages); }
    std::vector<velmo_parent::StaleMasks> Stales() const { return Copy(m_stales); }
    int Recoveries() const {
        const std::lock_guard lock(m_mutex);
        return m_recoveries;
    }

 private:
    template <class List>
    List Copy(const List& list) const {
        const std::lock_guard lock(m_mutex);
        return list;
    }
    template <class Kind>
    std::size_t CountNotices() const {
        std::size_t count = 0;
        for (const velmo_parent::Notice& notice : m_notices)
            count += std::holds_alternative<Kind>(notice) ? 1U : 0U;
        return count;
    }
    void KeepFrame(const FrameNews& news);
    template <class List, class Value>
    void Keep(List& list, const Value& value) {
        const std::lock_guard lock(m_mutex);
        list.push_back(value);
        m_changed.notify_all();
    }

    mutable std::mutex m_mutex;  // guards the rest
    std::condition_variable m_changed;
    std::vector<FrameNews> m_frames;
    std::chrono::steady_clock::time_point m_lastFrame{};
    std::chrono::steady_clock::duration m_longestPause{0};
    std::vector<velmo_parent::InitAnswer> m_inits;
    std::vector<velmo_parent::LogLine> m_lines;
    std::vector<velmo_parent::Notice> m_notices;
    std::vector<velmo_parent::Silence> m_silences;
    std::vector<velmo_parent::ProcessEnd> m_ends;
    std::vector<velmo_parent::StaleMasks> m_stales;
    std::vector<std::string> m_damages;
    int m_recoveries = 0;
};

// A process beside a scripted library, through the whole of the parent's library.
class ParentProcess : public ::testing::Test {
 protected:
    ParentProcess();
    ~ParentProcess() override;

    // Writes the library's script and the models; starts the process.
    void Start(const std::string& script);
    // The same, and has an engine of this family for frames of this size.
    void StartInferring(const std::string& script, FrameSize size = kSmall,
                        velmo_parent::ModelFamily family = velmo_parent::ModelFamily::Inhouse);

    velmo_parent::EngineRequest Request(FrameSize size = kSmall,
                                        velmo_parent::ModelFamily family = velmo_parent::ModelFamily::Inhouse,
                                        velmo_parent::Device device = velmo_parent::Device::Cpu) const;
    // The status that the process answers; -1000 for none.
    std::int32_t Init(const velmo_parent::EngineRequest& request);

    SubmitStatus TrySubmit(std::uint64_t tag, FrameSize size = kSmall, Skipping skipping = Skipping::Off);
    // As soon as there is room for it.
    void Submit(std::uint64_t tag, FrameSize size = kSmall, Skipping skipping = Skipping::Off);
    // One behind the other, each as soon as there is room, and waits for all of them.
    void Stream(std::uint64_t first, int count, FrameSize size = kSmall, Skipping skipping = Skipping::Off);

    // Until the process has nothing left to do on the frames that were submitted.
    bool AwaitIdleProcess() const;

    // That what has been told of frames are results with their own masks, from this tag on.
    void ExpectResults(std::uint64_t first, std::size_t count);

    // That each frame, in order, has been told lost or has its own mask.
    void ExpectOwnMasksOrLosses(std::uint64_t first, std::size_t count);
    // That all are results with their own masks, in a stream that never stands still, where a machine that does may
    // cost frames: the process drops what nobody takes for half a second.
    void ExpectResultsOfAStream(std::uint64_t first, std::size_t count);

    void ExpectAGoodEnd();

    std::string CallsPath() const { return (m_library.Folder() / "calls.txt").string(); }

    scripted_double::ScratchLibrary m_library;
    process_tests::ScratchFile m_output;
    Listener m_listener;
    velmo_parent::ProcessOptions m_options;
    std::optional<velmo_parent::InferenceProcess> m_process;
};

}  // namespace parent_process_tests
