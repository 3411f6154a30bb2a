#include "velmo_parent/link.h"

#include <cstddef>
#include <cstring>

#include "ipc/read_once.h"
#include "velmo_parent/ipc_id.h"

namespace velmo_parent {
namespace {

using calyr_ipc::CommandSlot;
using calyr_ipc::EventSlot;

// Whether `text` and its terminator fit a field of so many bytes.
template <std::size_t Bytes>
bool Fits(const std::string& text) {
    return text.size() < Bytes && text.find('\0') == std::string::npos;
}

// Writes all of the field, so that nothing of an earlier message goes along.
template <std::size_t Bytes>
void CopyText(const std::string& text, char (&field)[Bytes]) {
    std::memset(field, 0, Bytes);
    std::memcpy(field, text.data(), text.size());
}

}  // namespace

Link::Link(std::string id, LinkListener& listener, HeartBeats heartBeats)
    : Link(std::move(id), listener, heartBeats, Seams{}) {}

Link::Link(std::string id, LinkListener& listener, HeartBeats heartBeats, const Seams& seams)
    : m_id(std::move(id)),
      m_listener(listener),
      m_seams(seams),
      m_heartBeats(heartBeats),
      m_commands(seams.kernelObjects, seams.threads),
      m_frames(seams.kernelObjects, seams.threads),
      m_events(seams.kernelObjects, seams.threads),
      m_results(seams.kernelObjects, seams.threads),
      m_logs(seams.kernelObjects, seams.threads) {}

Link::~Link() {
    Close();
}

Outcome Link::Open() {
    if (m_wasOpened) return Outcome::Failure("this link has been opened before");
    Outcome outcome = CheckId(m_id, m_seams.textConversion);
    if (outcome) outcome = m_commands.Open(m_id + calyr_ipc::kCommandSuffix);
    if (outcome) outcome = m_frames.Open(m_id + calyr_ipc::kInputSuffix);
    if (outcome) {
        outcome = m_events.Open(m_id + calyr_ipc::kEventSuffix, [this](const EventSlot& slot) { TakeEvent(slot); });
    }
    if (outcome) {
        outcome = m_results.Open(
            m_id + calyr_ipc::kOutputSuffix,
            [this](const calyr_ipc::OutputSlot& slot) { m_listener.OnFrameResult(slot); }, m_resultWatch);
    }
    if (outcome) {
        outcome = m_logs.Open(m_id + calyr_ipc::kLogSuffix,
                              [this](const calyr_ipc::IpcLogChunk& chunk) { TakeLogChunk(chunk); });
    }
    if (!outcome) Close();
    m_wasOpened = static_cast<bool>(outcome);
    return outcome;
}

Outcome Link::StartProcess(const ProcessStart& start) {
    if (m_process) return Outcome::Failure("this link has started its process already");
    if (Outcome outcome = CheckId(m_id, m_seams.textConversion); !outcome) return outcome;
    std::string error;
    m_process = m_seams.childProcesses.Start({.program = start.program,
                                              .commandTail = m_id,
                                              .environment = start.environment,
                                              .standardOutputPath = start.standardOutputPath,
                                              .standardErrorPath = start.standardErrorPath,
                                              .lifetime = start.lifetime,
                                              .outputToError = start.outputToError},
                                             error);
    if (!m_process) return Outcome::Failure("can't start " + start.program + ": " + error);
    m_processId = m_process->Id();
    return Outcome::Success();
}

SendResult Link::Init(const InitRequest& request, ipc::function_ref<void()> beforeSending) {
    using Record = calyr_ipc::IpcCommandInit;
    if (!Fits<sizeof(Record::modelPath)>(request.modelPath) || !Fits<sizeof(Record::enginePath)>(request.enginePath) ||
        !Fits<sizeof(Record::gpuCachePath)>(request.gpuCachePath)) {
        return SendResult::Refused;
    }
    return SendCommand([&](CommandSlot& slot) {
        auto& record = slot.As<Record>();
        std::memset(record.unread, 0, sizeof record.unread);
        record.deviceType = request.deviceType;
        record.modelQuality = request.modelQuality;
        record.modelType = request.modelType;
        CopyText(request.modelPath, record.modelPath);
        CopyText(request.enginePath, record.enginePath);
        CopyText(request.gpuCachePath, record.gpuCachePath);
        slot.index = CommandSlot::IndexOf<Record>();
        if (beforeSending) beforeSending();
    });
}

SendResult Link::Fini() {
    return SendIndex(CommandSlot::IndexOf<calyr_ipc::IpcCommandFini>());
}

SendResult Link::Terminate() {
    return SendIndex(CommandSlot::IndexOf<calyr_ipc::IpcCommandTerminate>());
}

SendResult Link::AcknowledgeHeartBeats() {
    return SendIndex(CommandSlot::IndexOf<calyr_ipc::IpcCommandAckHeartBeat>());
}

// Commands that are no more than their index.
SendResult Link::SendIndex(std::int8_t index) {
    return SendCommand([index](CommandSlot& slot) { slot.index = index; });
}

SendResult Link::SendCommand(ipc::function_ref<void(CommandSlot&)> writer) {
    return m_commands.Send(writer);
}

SendResult Link::SubmitFrame(ipc::function_ref<void(calyr_ipc::InputSlot&)> writer) {
    return m_frames.Send(writer);
}

SendResult Link::SubmitFrameIf(ipc::function_ref<Writing(calyr_ipc::InputSlot&)> writer) {
    return m_frames.SendIf(writer);
}

std::optional<platform::ChildExit> Link::WaitForExit(std::uint32_t timeoutMs) {
    if (!m_process) return std::nullopt;
    const std::optional<platform::ChildExit> exit = m_process->WaitForExit(timeoutMs);
    if (exit) Drain();
    return exit;
}

void Link::Drain() {
    m_events.Drain();
    m_results.Drain();
    m_logs.Drain();
}

std::string Link::DamagedChannels() const {
    std::string names;
    const auto add = [&names](bool damaged, const char* suffix) {
        if (damaged) names += (names.empty() ? "" : " ") + std::string(suffix);
    };
    add(m_commands.Damaged(), calyr_ipc::kCommandSuffix);
    add(m_frames.Damaged(), calyr_ipc::kInputSuffix);
    add(m_events.Damaged(), calyr_ipc::kEventSuffix);
    add(m_results.Damaged(), calyr_ipc::kOutputSuffix);
    add(m_logs.Damaged(), calyr_ipc::kLogSuffix);
    return names;
}

void Link::Kill() {
    if (m_processId != 0) m_process->Kill();
}

void Link::Close() {
    m_events.Close();  // the receiving ends first: their threads send
    m_results.Close();
    m_logs.Close();
    m_frames.Close();
    m_commands.Close();
}

void Link::TakeEvent(const EventSlot& slot) {
    const std::int8_t index = ipc::ReadOnce(slot.index);
    if (index == EventSlot::IndexOf<calyr_ipc::IpcEventOnHeartBeat>()) {
        // Full: the process is busy with what was sent before. The next heartbeat brings the next answer, and six go by
        // before the process minds.
        if (m_heartBeats == HeartBeats::AnsweredByLink) (void)AcknowledgeHeartBeats();
        m_listener.OnHeartBeat();
    } else if (index == EventSlot::IndexOf<calyr_ipc::IpcEventOnInit>()) {
        const auto& record = slot.As<calyr_ipc::IpcEventOnInit>();
        m_listener.OnInit(ipc::ReadOnce(record.pid), ipc::ReadOnce(record.result));
    } else {
        m_listener.OnDamage("an event with index " + std::to_string(index));
    }
}

void Link::TakeLogChunk(const calyr_ipc::IpcLogChunk& chunk) {
    const bool complete = m_log.Take(chunk);
    if (!m_log.Damage().empty()) m_listener.OnDamage(m_log.Damage());
    if (complete) m_listener.OnLogLine(m_log.Line());
}

}  // namespace velmo_parent
