#include "parent_fixture.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstring>
#include <thread>

#include "ipc/channels.h"
#include "platform/kernel_objects.h"
#include "support/allocation_counter.h"
#include "velmo_parent/channel_snapshot.h"

namespace parent_process_tests {

using ::testing::IsEmpty;

void WriteTagged(std::uint64_t tag, FramePlanes& planes) {
    std::memset(planes[0].data(), static_cast<int>(tag % 251), planes[0].size());
    std::memcpy(planes[0].data(), &tag, sizeof(tag));
    std::memset(planes[1].data(), 0x33, planes[1].size());
    std::memset(planes[2].data(), 0x33, planes[2].size());
}

std::uint64_t TagIn(std::span<const std::uint8_t> mask) {
    std::uint64_t tag = 0;
    if (mask.size() >= sizeof(tag)) std::memcpy(&tag, mask.data(), sizeof(tag));
    return tag;
}

std::string LayersOf(FrameSize size) {
    const std::string sides = std::to_string(size.height) + " " + std::to_string(size.width);
    return "layer input input 1 4 " + sides + "\nlayer output segmentation 1 1 " + sides +
           "\nfill segmentation copy input 0\n";
}

void Listener::OnResult(const velmo_parent::Result& result) {
    FrameNews news;
    news.tag = result.tag;
    news.status = result.status;
    news.maskTag = TagIn(result.mask);
    news.maskBytes = result.mask.size();
    news.isReused = result.isReused;
    news.temporal = result.temporal;
    news.isFull = result.full != nullptr;
    news.ageMs = result.age.count();
    news.latencyNs = result.latency.count();
    news.allocations = AllocationCount();
    KeepFrame(news);
    if (onResult) onResult(result);
}

void Listener::OnFrameLost(const velmo_parent::LostFrame& lost) {
    FrameNews news;
    news.tag = lost.tag;
    news.isLost = true;
    news.reason = lost.reason;
    KeepFrame(news);
}

void Listener::KeepFrame(const FrameNews& news) {
    {
        const std::lock_guard lock(m_mutex);
        const auto now = std::chrono::steady_clock::now();
        if (!m_frames.empty()) m_longestPause = std::max(m_longestPause, now - m_lastFrame);
        m_lastFrame = now;
    }
    Keep(m_frames, news);
}

void Listener::OnMasksStale(const velmo_parent::StaleMasks& stale) {
    Keep(m_stales, stale);
}

void Listener::OnMasksFreshAgain() {
    const std::lock_guard lock(m_mutex);
    ++m_recoveries;
    m_changed.notify_all();
}

void Listener::OnInit(const velmo_parent::InitAnswer& answer) {
    Keep(m_inits, answer);
    if (onInit) onInit();
}

void Listener::OnLogLine(const velmo_parent::LogLine& line) {
    Keep(m_lines, line);
    if (onLogLine) onLogLine(line);
}

void Listener::OnNotice(const velmo_parent::Notice& notice) {
    Keep(m_notices, notice);
}

void Listener::OnSilence(const velmo_parent::Silence& silence) {
    Keep(m_silences, silence);
}

void Listener::OnEnded(const velmo_parent::ProcessEnd& end) {
    Keep(m_ends, end);
    if (onEnded) onEnded(end);
}

void Listener::OnDamage(const std::string& what) {
    Keep(m_damages, what);
}

bool Listener::AwaitLine(const std::string& part, int times) {
    return Await([&] {
        return std::ranges::count_if(m_lines, [&](const velmo_parent::LogLine& line) {
                   return line.text.find(part) != std::string::npos;
               }) >= times;
    });
}

ParentProcess::ParentProcess() {
    m_options.program = process_tests::ProcessProgram();
    m_options.idPrefix = process_tests::FreshId();
    m_options.standardOutputPath = m_output.Path();  // once the log channel is gone, what it says goes there
    m_options.silence = std::chrono::milliseconds(0);
}

ParentProcess::~ParentProcess() {
    if (m_process) m_process->Kill();
    m_process.reset();  // before the library's folder goes
}

void ParentProcess::Start(const std::string& script) {
    m_library.Put("hvq.script", script + "\n");
    for (const char* model : {"calyr_144p_input.dll", "calyr_360p_input.dll", "calyr_re_144p_input.dll",
                              "calyr_re_360p_input.dll", "inhouse_144p_input.dll", "inhouse_360p_input.dll"}) {
        m_library.Put(model, "a network");
    }
    m_process.emplace(m_options, m_listener);
    const velmo_parent::Outcome started = m_process->Start();
    ASSERT_TRUE(started) << started.Why();
}

void ParentProcess::StartInferring(const std::string& script, FrameSize size, velmo_parent::ModelFamily family) {
    ASSERT_NO_FATAL_FAILURE(Start(LayersOf(size) + script));
    ASSERT_EQ(Init(Request(size, family)), 0);
}

velmo_parent::EngineRequest ParentProcess::Request(FrameSize size, velmo_parent::ModelFamily family,
                                                   velmo_parent::Device device) const {
    velmo_parent::EngineRequest request;
    request.device = device;
    request.quality = size == kLarge ? velmo_parent::ModelQuality::High : velmo_parent::ModelQuality::Low;
    request.family = family;
    request.modelPath = request.enginePath = m_library.Folder().string();
    return request;
}

std::int32_t ParentProcess::Init(const velmo_parent::EngineRequest& request) {
    EXPECT_EQ(m_process->Init(request), velmo_parent::InitStatus::Sent);
    const auto answer = m_process->AwaitInit(kPatience);
    return answer ? answer->status : -1000;
}

SubmitStatus ParentProcess::TrySubmit(std::uint64_t tag, FrameSize size, Skipping skipping) {
    return m_process->Submit({tag, size, skipping}, [&](FramePlanes& planes) { WriteTagged(tag, planes); });
}

void ParentProcess::Submit(std::uint64_t tag, FrameSize size, Skipping skipping) {
    const auto end = std::chrono::steady_clock::now() + kPatience;
    for (;;) {
        const SubmitStatus status = TrySubmit(tag, size, skipping);
        if (status == SubmitStatus::Sent) return;
        ASSERT_TRUE(status == SubmitStatus::Full || status == SubmitStatus::Settling) << static_cast<int>(status);
        ASSERT_LT(std::chrono::steady_clock::now(), end) << "no room for frame " << tag;
        std::this_thread::yield();
    }
}

void ParentProcess::Stream(std::uint64_t first, int count, FrameSize size, Skipping skipping) {
    const std::size_t before = m_listener.FrameCount();
    for (int frame = 0; frame < count; ++frame)
        ASSERT_NO_FATAL_FAILURE(Submit(first + static_cast<std::uint64_t>(frame), size, skipping));
    ASSERT_TRUE(m_listener.AwaitFrames(before + static_cast<std::size_t>(count)));
}

bool ParentProcess::AwaitIdleProcess() const {
    const auto layout = ipc::kLayoutOf<calyr_ipc::InputSlot, 5>;
    const auto mapping = platform::SystemKernelObjects().OpenMapping(m_process->Id() + calyr_ipc::kInputSuffix + "_shm",
                                                                     platform::MappingAccess::ReadOnly);
    if (!mapping) return false;
    const std::byte* const view = mapping->Map(layout.mappingSize);
    if (view == nullptr) return false;
    // Nobody tells of this.
    const auto end = std::chrono::steady_clock::now() + kPatience;
    while (std::chrono::steady_clock::now() < end) {
        const auto snapshot = velmo_parent::TakeSnapshot({view, layout.mappingSize}, layout);
        if (snapshot.free.nodes.size() == 5) return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return false;
}

void ParentProcess::ExpectResults(std::uint64_t first, std::size_t count) {
    const auto frames = m_listener.Frames();
    ASSERT_EQ(frames.size(), count);
    for (std::size_t at = 0; at < count; ++at) {
        ASSERT_EQ(frames[at].tag, first + at);
        ASSERT_FALSE(frames[at].isLost) << "frame " << first + at;
        ASSERT_EQ(frames[at].status, 0);
        ASSERT_EQ(frames[at].maskTag, first + at);
    }
}

void ParentProcess::ExpectOwnMasksOrLosses(std::uint64_t first, std::size_t count) {
    const auto frames = m_listener.Frames();
    ASSERT_EQ(frames.size(), count);
    for (std::size_t at = 0; at < count; ++at) {
        EXPECT_EQ(frames[at].tag, first + at);
        if (!frames[at].isLost) {
            EXPECT_EQ(frames[at].maskTag, first + at);
        }
    }
}

void ParentProcess::ExpectResultsOfAStream(std::uint64_t first, std::size_t count) {
    const auto frames = m_listener.Frames();
    ASSERT_EQ(frames.size(), count);
    std::size_t lost = 0;
    for (std::size_t at = 0; at < count; ++at) {
        ASSERT_EQ(frames[at].tag, first + at);
        if (frames[at].isLost) {
            ASSERT_EQ(frames[at].reason, velmo_parent::LossReason::Dropped);
            ++lost;
            continue;
        }
        ASSERT_EQ(frames[at].status, 0);
        ASSERT_EQ(frames[at].maskTag, first + at);
    }
    constexpr std::chrono::milliseconds kStandstill{400};  // below it nothing can be dropped
    if (lost > 0) {
        EXPECT_GE(m_listener.LongestPause(), kStandstill) << lost << " frames are lost without a reason";
    }
}

void ParentProcess::ExpectAGoodEnd() {
    const auto end = m_process->Stop(kPatience);
    ASSERT_TRUE(end);
    EXPECT_EQ(end->code, 0);
    EXPECT_EQ(end->signal, 0);
    EXPECT_TRUE(end->wasAsked);
    EXPECT_THAT(m_listener.Damages(), IsEmpty());
}

}  // namespace parent_process_tests
