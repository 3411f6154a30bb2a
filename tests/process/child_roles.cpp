#include "child_roles.h"

#include <memory>
#include <utility>

#include "numbered_message.h"
#include "platform/kernel_objects.h"
#include "process_fixture.h"
#include "velmo_parent/link.h"

namespace process_tests {
namespace {

constexpr int kUnknownRole = 2;
constexpr int kCannotOpen = 3;
constexpr int kOutOfOrder = 4;
constexpr int kNothingCame = 5;

// Sets an event with the first heartbeat.
class FirstHeartBeat final : public velmo_parent::LinkListener {
 public:
    explicit FirstHeartBeat(platform::NamedEvent& event) : m_event(event) {}
    void OnHeartBeat() override {
        if (!std::exchange(m_hasCome, true)) (void)m_event.Set();
    }

 private:
    platform::NamedEvent& m_event;
    bool m_hasCome = false;
};

// Sets "_step" when the link is open, when its process lives, and, told by "_gone" that the process is dead, when
// commands wait for it.
int Hold(const std::string& id) {
    const auto step = platform::SystemKernelObjects().CreateOrOpenEvent(id + "_step");
    const auto gone = platform::SystemKernelObjects().CreateOrOpenEvent(id + "_gone");
    const auto never = platform::SystemKernelObjects().CreateOrOpenEvent(id + "_never");
    if (!step || !gone || !never) return kCannotOpen;
    FirstHeartBeat listener(*step);
    velmo_parent::Link link(id, listener, velmo_parent::HeartBeats::LeftToCaller);
    if (!link.Open() || !step->Set()) return kCannotOpen;
    if (gone->Wait(kPatienceMs) != platform::WaitResult::Signalled) return kNothingCame;
    for (int i = 0; i < 3; ++i)
        if (link.Fini() != velmo_parent::SendResult::Sent) return kNothingCame;
    if (!step->Set()) return kCannotOpen;
    (void)never->Wait(2 * kPatienceMs);
    return 0;
}

int Receive(const std::string& id, std::uint32_t count) {
    NumberedChannel channel(ipc::kReceives);
    if (!channel.Open(id)) return kCannotOpen;
    std::uint32_t received = 0;
    bool inOrder = true;
    while (received < count && inOrder) {
        const std::uint32_t before = received;
        channel.Receive(
            [&](const NumberedMessage& message) {
                ++received;
                inOrder = message.number == received && message.inverse == ~received;
            },
            kPatienceMs);
        if (received == before) return kNothingCame;
    }
    return inOrder ? 0 : kOutOfOrder;
}

int Send(const std::string& id, std::uint32_t count, const std::string& pace) {
    NumberedChannel channel(ipc::kSends);
    if (!channel.Open(id)) return kCannotOpen;
    // One at a time: each goes out when the other side has said that it has the one before.
    const auto taken = platform::SystemKernelObjects().CreateOrOpenEvent(id + "_taken");
    if (!taken) return kCannotOpen;
    for (std::uint32_t number = 1; number <= count; ++number) {
        const bool sent = channel.Send(
            [&](NumberedMessage& message) {
                message = {number, ~number};
            },
            false, kPatienceMs);
        if (!sent) return kNothingCame;
        if (pace == "singly" && taken->Wait(kPatienceMs) != platform::WaitResult::Signalled) return kNothingCame;
    }
    // The mapping has to stand until the other side has read it all.
    return taken->Wait(kPatienceMs) == platform::WaitResult::Signalled ? 0 : kNothingCame;
}

}  // namespace

int RunRole(const std::vector<std::string>& words) {
    if (words.size() == 2 && words[0] == "hold") return Hold(words[1]);
    if (words.size() == 3 && words[0] == "receive") {
        return Receive(words[1], static_cast<std::uint32_t>(std::stoul(words[2])));
    }
    if (words.size() == 4 && words[0] == "send") {
        return Send(words[1], static_cast<std::uint32_t>(std::stoul(words[2])), words[3]);
    }
    return kUnknownRole;
}

}  // namespace process_tests
