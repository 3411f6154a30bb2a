#include "velmo_parent/process_run.h"

#include <algorithm>
#include <limits>
#include <span>
#include <string_view>
#include <type_traits>
#include <utility>

#include "infra/steady_clock.h"
#include "ipc/read_once.h"
#include "velmo_parent/steady_wait.h"

namespace velmo_parent {
namespace {

using calyr_ipc::InputSlot;
using calyr_ipc::OutputSlot;
using calyr_ipc::RvoCalyrIpcInput;
using calyr_ipc::RvoCalyrIpcOutput;
using calyr_ipc::RvoInhouseIpcOutput;
using Kind = CallbackScope::Kind;

constexpr std::int64_t kNsPerMs = 1'000'000;
constexpr std::int32_t kStatusNothingYet = 4;
constexpr std::uint32_t kKeeperRoundMs = 1000;  // between two looks at silence and damage

std::uint32_t PixelsOf(const FrameSize& size) {
    return size.width * size.height;
}

// Whether the pixels can be counted and travel at all.
bool CanTravel(const FrameSize& size) {
    const std::uint64_t pixels = std::uint64_t{size.width} * size.height;
    return pixels > 0 && pixels <= kMostPixels;
}

bool NamesSomething(const EngineRequest& request) {
    const auto device = static_cast<std::int32_t>(request.device);
    const auto quality = static_cast<std::int32_t>(request.quality);
    const auto family = static_cast<std::int32_t>(request.family);
    return device >= 0 && device <= 3 && quality >= 0 && quality <= 1 && family >= 0 && family <= 2;
}

// The family that makes networks of this name.
std::size_t FamilyOf(std::string_view networkId) {
    if (networkId.starts_with("calyr_re_")) return 1;
    return networkId.starts_with("inhouse_") ? 2 : 0;
}

}  // namespace

ProcessRun::ProcessRun(std::string id, ProcessListener& listener, const void* owner, const Link::Seams& seams)
    : m_listener(listener),
      m_owner(owner),
      m_lastHeardNs(infra::NowNs()),
      m_link(std::move(id), *this, HeartBeats::AnsweredByLink, seams) {
    m_link.WatchResults(*this);
}

Outcome ProcessRun::Start(const ProcessStart& start) {
    // The channels first: a process that comes at the very same moment could wipe them.
    Outcome outcome = m_link.Open();
    if (outcome) outcome = m_link.StartProcess(start);
    HeardOf();
    return outcome;
}

platform::ChildExit ProcessRun::AwaitEnd(std::chrono::milliseconds silence) {
    std::int64_t toldNs = 0;  // how long it was when it was told last
    bool toldDamage = false;
    for (;;) {
        if (const auto exit = m_link.WaitForExit(kKeeperRoundMs)) return *exit;
        if (!toldDamage) {
            if (const std::string damaged = m_link.DamagedChannels(); !damaged.empty()) {
                toldDamage = true;
                OnDamage("the lists of the channels " + damaged + " are damaged; they are dead");
            }
        }
        const std::int64_t limitNs = silence.count() * kNsPerMs;
        const std::int64_t durationNs = infra::NowNs() - m_lastHeardNs;
        if (durationNs < toldNs) toldNs = 0;  // it has spoken since
        if (limitNs <= 0 || durationNs < toldNs + limitNs) continue;
        toldNs = durationNs;
        Silence told{std::chrono::milliseconds(durationNs / kNsPerMs), false};
        {
            const std::lock_guard lock(m_mutex);
            told.initIsPending = !m_pendingInits.empty();
        }
        const CallbackScope scope(m_owner, Kind::Callback);
        m_listener.OnSilence(told);
    }
}

ProcessEnd ProcessRun::Finish(const platform::ChildExit& exit) {
    ProcessEnd end;
    end.processId = m_link.ProcessId();
    end.code = exit.code;
    end.signal = exit.signal;
    {
        const std::lock_guard lock(m_mutex);
        m_isOver = true;
    }
    m_changed.notify_all();
    m_link.Close();  // waits for a writer that runs; behind it no frame is added and no thread but this one is left
    TellLostFrames();
    for (;;) {
        std::optional<PendingFrame> frame;
        {
            const std::lock_guard lock(m_mutex);
            frame = m_pairing.TakeAny();
        }
        if (!frame) break;
        ++end.framesLost;
        TellLost(*frame, LossReason::ProcessEnded);
    }
    const std::lock_guard lock(m_mutex);
    end.wasAsked = m_wasAsked;
    end.lastLines.assign(m_lastLines.begin(), m_lastLines.end());
    return end;
}

InitStatus ProcessRun::Init(const EngineRequest& request) {
    if (!NamesSomething(request)) return InitStatus::BadRequest;
    const std::lock_guard order(m_initMutex);
    {
        const std::lock_guard lock(m_mutex);
        if (m_isOver) return InitStatus::NotRunning;
        const std::uint32_t pixels = m_families[static_cast<std::size_t>(request.family)].pixels;
        if (pixels != 0 && pixels != PixelsOf(SizeOf(request.quality))) return InitStatus::NeedsRestart;
        // The first of them to succeed fixes the size, and the other would then be one that needs a restart.
        const bool isUndecided =
            std::any_of(m_pendingInits.begin(), m_pendingInits.end(), [&](const EngineRequest& pending) {
                return pending.family == request.family && pending.quality != request.quality;
            });
        if (isUndecided) return InitStatus::Full;
    }
    // Before it is sent: the answer may be here at once. But not for one that is not sent: a guard that fears the worst
    // without a reason would set the flag where it was not wished.
    const auto expectAnswer = [&] {
        const std::lock_guard lock(m_mutex);
        m_pendingInits.push_back(request);
        m_skipGuard.HelperChanges();
    };
    const SendResult result = m_link.Init({.deviceType = static_cast<std::int32_t>(request.device),
                                           .modelQuality = static_cast<std::int32_t>(request.quality),
                                           .modelType = static_cast<std::int32_t>(request.family),
                                           .modelPath = request.modelPath,
                                           .enginePath = request.enginePath,
                                           .gpuCachePath = request.gpuCachePath},
                                          expectAnswer);
    switch (result) {
        case SendResult::Sent:
            return InitStatus::Sent;
        case SendResult::Full:
            return InitStatus::Full;
        case SendResult::Refused:
            return InitStatus::BadRequest;
        case SendResult::Closed:
        case SendResult::Declined:
            break;
    }
    return InitStatus::NotRunning;
}

void ProcessRun::Publish() {
    {
        const std::lock_guard lock(m_mutex);
        m_isPublished = true;
    }
    m_changed.notify_all();
}

void ProcessRun::AwaitPublication() {
    if (m_isPublished) return;
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [this] { return m_isPublished.load(); });
}

void ProcessRun::OnInit(std::uint32_t, std::int32_t result) {
    HeardOf();
    AwaitPublication();
    InitAnswer answer{result, {}};
    {
        const std::lock_guard lock(m_mutex);
        if (m_pendingInits.empty()) {
            m_framePixels = 0;  // somebody else sends commands; nothing is known of what they asked for
        } else {
            answer.request = m_pendingInits.front();
            m_pendingInits.pop_front();
            const auto family = static_cast<std::size_t>(answer.request.family);
            if (family != m_activeFamily) m_familyChanged = true;
            m_activeFamily = family;
            std::uint32_t& pixels = m_families[m_activeFamily].pixels;
            // The first good answer fixes the size of a family's frames.
            if (result == 0 && pixels == 0) pixels = PixelsOf(SizeOf(answer.request.quality));
            m_framePixels = pixels;
        }
        m_lastAnswer = answer;
        m_skipGuard.HelperChanges();
    }
    m_changed.notify_all();
    const CallbackScope scope(m_owner, Kind::Callback);
    m_listener.OnInit(answer);
}

std::optional<InitAnswer> ProcessRun::AwaitInit(std::chrono::milliseconds patience) {
    std::unique_lock lock(m_mutex);
    const auto deadline = DeadlineIn(patience);
    const bool answered = WaitUntil(m_changed, lock, deadline, [this] { return m_isOver || m_pendingInits.empty(); });
    if (!answered || !m_pendingInits.empty()) return std::nullopt;
    std::optional<InitAnswer> answer = m_lastAnswer;
    if (answer && answer->status == 0) {
        // The process has logged its device before it answered, but the log has a thread of its own. Not for longer
        // than somebody would notice: its callback may be held up, or the line cut.
        constexpr std::chrono::milliseconds kForTheLog{500};
        (void)WaitUntil(m_changed, lock, std::min(deadline, DeadlineIn(kForTheLog)),
                        [this] { return m_isOver || !m_families[m_activeFamily].device.empty(); });
    }
    return answer;
}

bool ProcessRun::AwaitFrames(std::chrono::milliseconds patience) {
    std::unique_lock lock(m_mutex);
    const std::uint64_t submitted = m_counts.submitted;
    return WaitUntil(m_changed, lock, DeadlineIn(patience), [&] { return m_framesTold >= submitted; });
}

SubmitStatus ProcessRun::CheckSize(const FrameSize& size) const {
    if (!CanTravel(size)) return SubmitStatus::WrongSize;
    const std::uint32_t pixels = m_framePixels;
    if (pixels == 0) return SubmitStatus::NotReady;
    return pixels == PixelsOf(size) ? SubmitStatus::Sent : SubmitStatus::WrongSize;
}

SubmitStatus ProcessRun::Submit(const Frame& frame, ipc::function_ref<Writing(FramePlanes&)> writer) {
    if (CallbackScope::Of(m_owner) == Kind::Writer) return SubmitStatus::NotReady;
    const std::lock_guard order(m_submitMutex);
    if (const SubmitStatus size = CheckSize(frame.size); size != SubmitStatus::Sent) return size;
    const std::int64_t submittedNs = infra::NowNs();
    bool temporal = false;
    {
        std::unique_lock lock(m_mutex);
        if (m_isOver) return SubmitStatus::NotRunning;
        if (!m_pairing.HasRoom()) {
            ++m_counts.full;
            const bool isDiscarding = m_pairing.IsDiscarding();
            lock.unlock();
            if (isDiscarding) m_link.LookForResults();  // it ends once the process is seen to have nothing left to do
            return SubmitStatus::Full;
        }
        const SkipGuard::Flag flag = m_skipGuard.FlagFor(frame.skipping);
        if (flag == SkipGuard::Flag::Unknown) return SubmitStatus::Settling;
        temporal = flag == SkipGuard::Flag::Set;
    }
    Filling filling = Filling::Done;
    const auto fill = [&](InputSlot& slot) {
        filling = FillSlot(slot, frame, temporal, submittedNs, writer);
        return filling == Filling::Done ? Writing::Done : Writing::Declined;
    };
    switch (m_link.SubmitFrameIf(fill)) {
        case SendResult::Sent:
            return SubmitStatus::Sent;
        case SendResult::Declined: {
            const std::lock_guard lock(m_mutex);
            const bool isTooLate = filling == Filling::TooLate;
            ++(isTooLate ? m_counts.full : m_counts.declined);
            return isTooLate ? SubmitStatus::Full : SubmitStatus::Declined;
        }
        case SendResult::Full: {
            const std::lock_guard lock(m_mutex);
            ++m_counts.full;
            return SubmitStatus::Full;
        }
        case SendResult::Closed:
        case SendResult::Refused:
            break;
    }
    return SubmitStatus::NotRunning;
}

ProcessRun::Filling ProcessRun::FillSlot(InputSlot& slot, const Frame& frame, bool temporal, std::int64_t submittedNs,
                                         ipc::function_ref<Writing(FramePlanes&)> writer) {
    auto& record = slot.As<RvoCalyrIpcInput>();
    const std::size_t pixels = PixelsOf(frame.size);
    FramePlanes planes;
    for (std::size_t plane = 0; plane < planes.size(); ++plane)
        planes[plane] = {record.data + plane * pixels, pixels};
    {
        const CallbackScope scope(m_owner, Kind::Writer);
        if (writer(planes) == Writing::Declined) return Filling::Declined;
    }
    record.temporalEnabled = temporal ? 1 : 0;
    record.dataSize = static_cast<std::uint32_t>(planes.size() * pixels);
    record.header = {};
    record.header.width = frame.size.width;
    record.header.height = frame.size.height;
    slot.index = InputSlot::IndexOf<RvoCalyrIpcInput>();
    // Before the slot is handed over: the result may be here at once.
    const std::lock_guard lock(m_mutex);
    // While the writer ran all frames may have been given up. One more in between would shift the pairing.
    if (!m_pairing.HasRoom()) return Filling::TooLate;
    const bool mayFreeze = !temporal && m_skipGuard.MayFreeze();
    m_pairing.Submit({frame.tag, frame.size.width, frame.size.height, submittedNs, temporal, mayFreeze});
    m_skipGuard.Sent(temporal);
    ++m_counts.submitted;
    return Filling::Done;
}

void ProcessRun::OnFrameResult(const OutputSlot& slot) {
    HeardOf();
    AwaitPublication();
    TellLostFrames();
    std::optional<PendingFrame> frame;
    bool isDiscarded = false;
    {
        const std::lock_guard lock(m_mutex);
        isDiscarded = m_pairing.IsDiscarding();
        frame = m_pairing.Answer();
    }
    if (frame) {
        TellResult(slot, *frame);
    } else if (!isDiscarded) {
        OnDamage("a result that belongs to no frame");
    }
    TellLostFrames();
}

// Reads each word once: the slot holds input.
bool ProcessRun::ReadResult(const OutputSlot& slot, Result& result, std::optional<FullResult>& extras) {
    const std::int8_t index = ipc::ReadOnce(slot.index);
    const bool isFull = index == OutputSlot::IndexOf<RvoCalyrIpcOutput>();
    if (!isFull && index != OutputSlot::IndexOf<RvoInhouseIpcOutput>()) {
        OnDamage("a result with index " + std::to_string(index));
        return false;
    }
    // The two records begin alike.
    const auto& plain = slot.As<RvoInhouseIpcOutput>();
    const auto& full = slot.As<RvoCalyrIpcOutput>();
    const std::int32_t status = ipc::ReadOnce(plain.status);
    if (status == 0) {
        const std::uint32_t pixels = PixelsOf(result.size);
        const std::uint32_t length = ipc::ReadOnce(isFull ? full.maskLength : plain.maskLength);
        if (length != pixels) {
            OnDamage("a mask of " + std::to_string(length) + " bytes for " + std::to_string(pixels) + " pixels");
            return false;
        }
        result.mask = {plain.mask, pixels};
        result.stampMs = ipc::ReadOnce(plain.header.stampMs);
        if (isFull) {
            extras.emplace(FullResult{std::span(full.gesture), std::span(full.landmarks), std::span(full.lutVertices),
                                      std::span(full.lut), ipc::ReadOnce(full.motion)});
            result.full = &*extras;
        }
    }
    result.status = status;
    return true;
}

void ProcessRun::TellResult(const OutputSlot& slot, const PendingFrame& frame) {
    const std::int64_t nowNs = infra::NowNs();
    Result result;
    result.tag = frame.tag;
    result.size = {frame.width, frame.height};
    result.temporal = frame.temporal;
    result.latency = std::chrono::nanoseconds(nowNs - frame.submittedNs);
    std::optional<FullResult> extras;  // what result.full points at
    const bool isSound = ReadResult(slot, result, extras);
    MaskFreshness::Verdict verdict;
    if (!result.mask.empty()) {
        if (m_familyChanged.exchange(false)) m_freshness.HelperChanges();
        verdict = m_freshness.See(result.stampMs, static_cast<std::uint64_t>(frame.submittedNs / kNsPerMs),
                                  static_cast<std::uint64_t>(nowNs / kNsPerMs));
        result.isReused = verdict.isReused;
        result.age = std::chrono::milliseconds(verdict.ageMs);
    }
    // Before the first mask nothing is skipped.
    const bool wasInferred =
        isSound && (result.status == kStatusNothingYet || (result.status == 0 && !verdict.isReused));
    {
        const std::lock_guard lock(m_mutex);
        m_skipGuard.Answered(frame.temporal, wasInferred);
        ++m_counts.results;
        if (result.isReused) ++m_counts.reused;
    }
    {
        const CallbackScope scope(m_owner, Kind::Callback);
        m_listener.OnResult(result);
        TellStaleness(frame, verdict);
    }
    HasTold();
}

void ProcessRun::HasTold() {
    {
        const std::lock_guard lock(m_mutex);
        ++m_framesTold;
    }
    m_changed.notify_all();
}

void ProcessRun::TellStaleness(const PendingFrame& frame, const MaskFreshness::Verdict& verdict) {
    if (verdict.hasGoneStale) {
        const auto cause = frame.mayFreeze ? StaleMasks::Cause::FrozenByCaller : StaleMasks::Cause::InferenceFails;
        m_listener.OnMasksStale({cause, verdict.oldInARow, std::chrono::milliseconds(verdict.ageMs)});
    } else if (verdict.hasRecovered) {
        m_listener.OnMasksFreshAgain();
    }
}

void ProcessRun::TellLostFrames() {
    for (;;) {
        std::optional<PendingFrame> frame;
        {
            const std::lock_guard lock(m_mutex);
            frame = m_pairing.TakeLost();
        }
        if (!frame) return;
        TellLost(*frame, LossReason::Dropped);
    }
}

void ProcessRun::TellLost(const PendingFrame& frame, LossReason reason) {
    {
        const std::lock_guard lock(m_mutex);
        m_skipGuard.Lost(frame.temporal);
        ++m_counts.lost;
    }
    {
        const CallbackScope scope(m_owner, Kind::Callback);
        m_listener.OnFrameLost({frame.tag, reason});
    }
    HasTold();
}

void ProcessRun::BeforeLook() {
    bool isDiscarding = false;
    {
        const std::lock_guard lock(m_mutex);
        isDiscarding = m_pairing.IsDiscarding();
    }
    if (!isDiscarding) return;
    const std::int32_t unfinished = m_link.FrameProgress().unfinished;  // takes the sender's lock: not under ours
    const std::lock_guard lock(m_mutex);
    m_pairing.BeforeLook(unfinished);
}

void ProcessRun::AfterLook() {
    {
        const std::lock_guard lock(m_mutex);
        m_pairing.AfterLook();
    }
    TellLostFrames();
}

void ProcessRun::BeforeGiving(std::int64_t pauseMs) {
    m_progressNs = std::numeric_limits<std::int64_t>::min() / 2;  // none was taken
    if (pauseMs < Pairing::kSafePauseMs) return;  // the usual case: it must not wait for a writer that runs
    m_progress = m_link.FrameProgress();
    m_progressNs = infra::NowNs();
}

void ProcessRun::AfterGiving(std::uint64_t slots, std::int64_t pauseMs) {
    const std::int64_t nowNs = infra::NowNs();
    const std::lock_guard lock(m_mutex);
    m_pairing.SlotsGiven(slots, pauseMs, m_progress, m_progressNs, nowNs);
}

void ProcessRun::OnHeartBeat() {
    HeardOf();
}

void ProcessRun::HeardOf() {
    m_lastHeardNs = infra::NowNs();
}

void ProcessRun::OnLogLine(const LogLine& line) {
    AwaitPublication();
    std::optional<Notice> notice = ParseNotice(line.text);
    if (m_entryThread == 0 && line.text.starts_with("[RVO_CALYR]RvoCalyrMlHost::Start(), success")) {
        m_entryThread = line.threadId;
    }
    {
        const std::lock_guard lock(m_mutex);
        if (m_lastLines.size() == kLastLines) m_lastLines.pop_front();
        m_lastLines.push_back(line);
        if (notice) FollowNotice(*notice, line);
    }
    if (notice) m_changed.notify_all();
    const CallbackScope scope(m_owner, Kind::Callback);
    m_listener.OnLogLine(line);
    if (notice) m_listener.OnNotice(*notice);
}

// Lock: m_mutex held.
void ProcessRun::FollowNotice(Notice& notice, const LogLine& line) {
    const BringUpPlace place = line.threadId == m_entryThread ? BringUpPlace::WithinInit : BringUpPlace::Background;
    std::visit(
        [&](auto& value) {
            using Type = std::decay_t<decltype(value)>;
            if constexpr (std::is_same_v<Type, BringUpBegan> || std::is_same_v<Type, BringUpFailed>) {
                value.place = place;
            } else if constexpr (std::is_same_v<Type, BringUpReady>) {
                value.place = place;
                Family& family = m_families[FamilyOf(value.networkId)];
                (place == BringUpPlace::WithinInit ? family.device : family.readyDevice) = value.device;
            } else if constexpr (std::is_same_v<Type, EngineSwapped>) {
                if (value.to.family < 0 || value.to.family > 2) return;
                Family& family = m_families[static_cast<std::size_t>(value.to.family)];
                family.device = family.readyDevice;
            }
        },
        notice);
}

void ProcessRun::OnDamage(const std::string& what) {
    AwaitPublication();
    const CallbackScope scope(m_owner, Kind::Callback);
    m_listener.OnDamage(what);
}

bool ProcessRun::AskToEnd() {
    {
        const std::lock_guard lock(m_mutex);
        m_wasAsked = true;
    }
    return m_link.Terminate() == SendResult::Sent;
}

void ProcessRun::Kill() {
    {
        const std::lock_guard lock(m_mutex);
        m_wasAsked = true;
    }
    m_link.Kill();
}

Counts ProcessRun::CountsSoFar() const {
    const std::lock_guard lock(m_mutex);
    Counts counts = m_counts;
    counts.inFlight = static_cast<std::uint32_t>(m_pairing.InFlight());
    return counts;
}

std::string ProcessRun::DeviceInUse() const {
    const std::lock_guard lock(m_mutex);
    return m_families[m_activeFamily].device;
}

}  // namespace velmo_parent
