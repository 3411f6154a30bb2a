#include "host/rvo_calyr_ml_host.h"

#include <exception>
#include <utility>

#include "helpers/calyr_output.h"
#include "helpers/hvq_input.h"
#include "helpers/pixel_count.h"
#include "helpers/status.h"
#include "host/command_dispatch.h"
#include "host/log_chunks.h"
#include "infra/log_line.h"
#include "ipc/read_once.h"

namespace rvo_calyr {
namespace {

constexpr bool kKeepOldest = false;  // nothing of this process overtakes what the parent has not read yet
constexpr int kAttachFailedExitCode = 3;
constexpr std::int32_t kWatchdogExitCode = -1;
constexpr std::uint32_t kHeartBeatPeriodMs = 1000;
constexpr std::uint32_t kForever = 0;         // as a timer's count
constexpr std::uint32_t kHeartBeatLimit = 6;  // unanswered ones, then the process ends
constexpr std::int32_t kFullFamily = 0;       // the model type whose results are sent whole

// Wakes both ends of the channel, so that nobody waits on what is about to go.
template <class Channel>
void WakeAndRelease(std::shared_ptr<Channel>& channel) {
    if (channel) channel->Wake();
    channel.reset();
}

}  // namespace

RvoCalyrMlHost::RvoCalyrMlHost(const HostSeams& seams)
    : m_seams(seams), m_timer(seams.threads), m_inputReader(seams.threads) {
    g_logger.SetLevel(kInfoLevel);
    g_logger.SetTraceSink(this);
}

RvoCalyrMlHost::~RvoCalyrMlHost() {
    m_stop = true;
    WindDown();
}

int RvoCalyrMlHost::Attach(const std::string& ipcId) {
    if (InitIpc(ipcId)) return 0;
    m_seams.streams.Write(platform::StandardStream::Output, "[RVO_CALYR] InitIpc() fail, ipcId=" + ipcId + "\n");
    CloseIpc();
    return kAttachFailedExitCode;
}

template <class Channel>
std::shared_ptr<Channel> RvoCalyrMlHost::OpenChannel(const std::string& ipcId, const char* suffix, std::int32_t role) {
    auto channel = std::make_shared<Channel>(role, m_seams.kernelObjects, m_seams.streams);
    return channel->Open(ipcId + suffix) ? channel : nullptr;
}

bool RvoCalyrMlHost::InitIpc(const std::string& ipcId) {
    {
        const std::lock_guard lock(m_ipcMutex);
        m_commandChannel = OpenChannel<calyr_ipc::CommandChannel>(ipcId, calyr_ipc::kCommandSuffix, ipc::kReceives);
        if (!m_commandChannel) return false;
        m_inputChannel = OpenChannel<calyr_ipc::InputChannel>(ipcId, calyr_ipc::kInputSuffix, ipc::kReceives);
        if (!m_inputChannel) return false;
        m_eventChannel = OpenChannel<calyr_ipc::EventChannel>(ipcId, calyr_ipc::kEventSuffix, ipc::kSends);
        if (!m_eventChannel) return false;
        m_outputChannel = OpenChannel<calyr_ipc::OutputChannel>(ipcId, calyr_ipc::kOutputSuffix, ipc::kSends);
        if (!m_outputChannel) return false;
        // Frames are taken from here on, before the log channel stands; the first waits for the lock.
        m_inputReader.Start(
            m_inputChannel, [this](const calyr_ipc::InputSlot& slot) { VisitInputSlot(slot); },
            calyr_ipc::kInputReceiveTimeoutMs);
    }
    const std::lock_guard lock(m_logMutex);
    m_logChannel = OpenChannel<calyr_ipc::LogChannel>(ipcId, calyr_ipc::kLogSuffix, ipc::kSends);
    return m_logChannel != nullptr;
}

std::uint32_t RvoCalyrMlHost::Start() {
    m_pid = platform::CurrentProcessId();
    m_timer.Start(this, kHeartBeatPeriodMs, kForever);
    LogLine("RvoCalyrMlHost::Start(), success").Value("pid", m_pid.load()).This(this).Log(kInfoLevel);
    while (!m_stop) {
        // Not read under m_ipcMutex, which a frame may hold for long: only this thread sets and clears the pointer.
        if (const std::shared_ptr<calyr_ipc::CommandChannel> channel = m_commandChannel) {
            channel->Receive([this](const calyr_ipc::CommandSlot& slot) { DispatchCommand(slot, *this); },
                             calyr_ipc::kCommandReceiveTimeoutMs);
        }
    }
    LogLine("RvoCalyrMlHost::Start(), exit normally").Value("pid", m_pid.load()).This(this).Log(kInfoLevel);
    return 0;
}

std::uint32_t RvoCalyrMlHost::Stop() {
    m_stop = true;
    WindDown();
    return 0;
}

void RvoCalyrMlHost::WindDown() {
    m_timer.Stop();
    m_inputReader.Stop();
    {
        const std::lock_guard lock(m_ipcMutex);
        m_output.reset();
    }
    CloseIpc();
    g_logger.SetTraceSink(nullptr);
}

void RvoCalyrMlHost::CloseIpc() {
    {
        const std::lock_guard lock(m_ipcMutex);
        WakeAndRelease(m_commandChannel);
        WakeAndRelease(m_inputChannel);
        WakeAndRelease(m_eventChannel);
        WakeAndRelease(m_outputChannel);
    }
    // A thread that waits for room in the log channel holds this lock, and only the parent can let it go on.
    const std::lock_guard lock(m_logMutex);
    WakeAndRelease(m_logChannel);
}

void RvoCalyrMlHost::Init(const _CalyrPortraitOption& option) {
    const std::lock_guard lock(m_ipcMutex);
    m_modelType = option.modelType;
    const std::uint32_t status = InitHelper(option);
    if (m_eventChannel) {
        const auto writeOnInit = [status](calyr_ipc::EventSlot& slot) {
            calyr_ipc::IpcEventOnInit& event = slot.As<calyr_ipc::IpcEventOnInit>();
            event.one = {1, 0};
            event.pid = platform::CurrentProcessId();
            event.result = static_cast<std::int32_t>(status);
            slot.index = 0;
        };
        // A parent that does not read its events misses this one, by design.
        (void)m_eventChannel->Send(writeOnInit, kKeepOldest, calyr_ipc::kEventSendTimeoutMs);
    }
    LogLine("RvoCalyrMlHost::Init() ret=").Text(status).This(this).Log(kInfoLevel);
}

std::uint32_t RvoCalyrMlHost::InitHelper(const _CalyrPortraitOption& option) {
    try {
        if (IRvoCalyrHelper* const chosen = m_seams.helpers.HelperFor(option.modelType)) {
            m_helper = chosen;
        } else {
            LogLine("RvoCalyrMlHost::Init() fail, error model type")
                .Value("option.modelType", option.modelType)
                .This(this)
                .Log(kErrorLevel);
        }
        // An earlier helper gets the option even when this Init's model type is a bad one, and its word counts.
        return m_helper != nullptr ? m_helper->Init(option) : kStatusBadArguments;
    } catch (const std::exception& error) {
        // A file system that fails, no memory, no thread, or an engine that does not tell its input's shape: the parent
        // is told, and may try again.
        LogLine("RvoCalyrMlHost::Init() fail, error=").Text(error.what()).This(this).Log(kErrorLevel);
        return kStatusNoEngine;
    }
}

void RvoCalyrMlHost::Fini(const calyr_ipc::IpcCommandFini& /*record*/) {
    LogLine("RvoCalyrMlHost::Fini()").This(this).Log(kInfoLevel);
}

void RvoCalyrMlHost::AckHeartBeat(const calyr_ipc::IpcCommandAckHeartBeat& /*record*/) {
    m_heartBeatCount = 0;
}

void RvoCalyrMlHost::Terminate(const calyr_ipc::IpcCommandTerminate& /*record*/) {
    LogLine("RvoCalyrMlHost::Terminate()").This(this).Log(kInfoLevel);
    m_stop = true;  // the exit code stays: 0, unless the watchdog spoke before
}

void RvoCalyrMlHost::VisitInputSlot(const calyr_ipc::InputSlot& slot) {
    (void)calyr_ipc::RequireAlternative(slot);
    const calyr_ipc::RvoCalyrIpcInput& record = slot.As<calyr_ipc::RvoCalyrIpcInput>();
    RvoHvqInput input;
    input.temporalEnabled = ipc::ReadOnce(record.temporalEnabled);
    input.dataSize = ipc::ReadOnce(record.dataSize);
    input.data = record.data;
    input.header = record.header;
    input.header.width = ipc::ReadOnce(record.header.width);  // so that nothing looks at the slot for them again
    input.header.height = ipc::ReadOnce(record.header.height);
    OnInputFrame(input);
}

void RvoCalyrMlHost::OnInputFrame(RvoHvqInput& input) {
    const std::lock_guard lock(m_ipcMutex);
    KeepOrMakeOutput(input.header);
    // The output's own status tells what became of the frame, and keeps its last value when there was no round at all.
    if (m_helper != nullptr) (void)m_helper->Infer(&input, m_output.get());
    if (m_outputChannel) {
        const auto writeResult = [this](calyr_ipc::OutputSlot& slot) { m_output->CopyToIpcRecord(slot); };
        // A parent that does not read its results misses this one, by design: a late mask is worth nothing.
        (void)m_outputChannel->Send(writeResult, kKeepOldest, calyr_ipc::kOutputSendTimeoutMs);
    }
}

void RvoCalyrMlHost::KeepOrMakeOutput(const calyr_ipc::IpcFrameHeader& header) {
    // Products only, on purpose: 640 × 360 after 360 × 640 keeps the object and with it the first frame's header.
    if (m_output && PixelCount(m_output->header) == PixelCount(header)) return;
    // By zero alone, on purpose: parents know that a new object of type 1 sends the mask and nothing else.
    if (m_modelType == kFullFamily) {
        m_output = std::make_unique<RvoCalyrOutput>(header);
    } else {
        m_output = std::make_unique<RvoHvqOutput>(header);
    }
}

std::int32_t RvoCalyrMlHost::OnTrace(std::uint32_t level, const char* text) {
    char prefixBuffer[64];
    infra::TextFormator prefix(prefixBuffer, sizeof(prefixBuffer));
    prefix << "[" << m_pid.load() << ":" << platform::CurrentThreadId() << "] ";
    const std::lock_guard lock(m_logMutex);
    if (!m_logChannel) return 0;
    ForEachLogChunk(level, {prefix.Text(), prefix.Length()}, text, [this](const LogChunk& chunk) {
        // Without a time limit: a line is never lost while the channel is open. A closed one says so at once.
        (void)m_logChannel->Send([&chunk](calyr_ipc::IpcLogChunk& slot) { chunk.WriteTo(slot); }, kKeepOldest,
                                 calyr_ipc::kLogSendTimeoutMs);
    });
    return 0;
}

void RvoCalyrMlHost::OnTimer(infra::Timer& /*timer*/) {
    if (m_heartBeatCount < kHeartBeatLimit) {
        const std::lock_guard lock(m_ipcMutex);
        if (m_eventChannel) {
            const auto writeHeartBeat = [](calyr_ipc::EventSlot& slot) {
                slot.As<calyr_ipc::IpcEventOnHeartBeat>().meaningless = 0;  // the other bytes keep what the slot held
                slot.index = 1;
            };
            (void)m_eventChannel->Send(writeHeartBeat, kKeepOldest, calyr_ipc::kEventSendTimeoutMs);
        }
        ++m_heartBeatCount;  // also when the channel was full: what counts is that nobody answered
        return;
    }
    // The line comes before the flags, and blocks while the log channel is full: a parent that is gone with a full
    // channel behind it keeps the process, as peers know it.
    LogLine("RvoCalyrMlHost::OnTimer() heart beat timeout, will terminate process").This(this).Log(kInfoLevel);
    m_exitCode = kWatchdogExitCode;
    m_stop = true;
}

}  // namespace rvo_calyr
