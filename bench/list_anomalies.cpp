// Counts what a channel's lists lose when both sides work at once: fixed steps against fixed steps, and fixed steps
// against the peer's rules. Two threads on one memory, no events: both sides look as often as they can, which is the
// worst case.
//
//   list_anomalies [MILLIONS]     messages per case, in millions; 2 when not given
//
// Prints one line per case with what went wrong per million messages. Exit status 1 when the peer's rules lost
// anything.

#include <atomic>
#include <barrier>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <thread>

#include "ipc/list_steps.h"
#include "velmo_parent/peer_lists.h"

namespace {

using ipc::AtomicWords;
using ipc::kNoNode;
using ipc::List;

constexpr std::uint64_t kRound = 50'000;  // messages between two audits
// Looks that find nothing, of a side whose other side rests: then nothing comes any more. Looks are counted and not
// time, since a thread may be kept from running for as long as the machine likes.
constexpr std::uint64_t kFruitless = 1000;

template <std::int32_t N>
struct Memory {
    ipc::channel_header header{};
    ipc::channel_node nodes[static_cast<std::size_t>(N)]{};
    std::atomic<std::uint64_t> slots[static_cast<std::size_t>(N)]{};

    AtomicWords Words() { return AtomicWords(header, nodes); }
};

struct Anomalies {
    std::uint64_t messages = 0;  // that a sender sent
    std::uint64_t lost = 0;      // sent, but never received
    std::uint64_t astray = 0;    // received twice or out of order
    std::uint64_t leaked = 0;    // nodes that stood in neither list when all was quiet
    std::uint64_t stalls = 0;    // rounds that could not be finished
};

// The four ways to be one side. Send is false when no slot is free just now, Receive when nothing is there.
template <std::int32_t N>
class FixedSender {
 public:
    bool Send(Memory<N>& memory, std::uint64_t value) {
        AtomicWords words = memory.Words();
        const std::int32_t node = ipc::pop(words, List::Free);
        if (node == kNoNode) return false;
        memory.slots[node].store(value, std::memory_order_relaxed);
        ipc::push(words, List::Used, node);
        return true;
    }
    void Flush(Memory<N>&) {}
    int InHand() const { return 0; }
};

template <std::int32_t N>
class FixedReceiver {
 public:
    bool Receive(Memory<N>& memory, std::uint64_t& value) {
        AtomicWords words = memory.Words();
        const std::int32_t node = ipc::pop(words, List::Used);
        if (node == kNoNode) return false;
        value = memory.slots[node].load(std::memory_order_relaxed);
        ipc::push(words, List::Free, node);
        return true;
    }
    int InHand() const { return 0; }
};

template <std::int32_t N>
class PeerSender {
 public:
    bool Send(Memory<N>& memory, std::uint64_t value) {
        AtomicWords words = memory.Words();
        const std::int32_t node = m_lists.TakeFree(words);
        if (node != kNoNode) {
            memory.slots[node].store(value, std::memory_order_relaxed);
            m_lists.Keep();
        }
        (void)m_lists.GiveFilled(words);
        return node != kNoNode;
    }
    void Flush(Memory<N>& memory) {
        AtomicWords words = memory.Words();
        (void)m_lists.GiveFilled(words);
    }
    int InHand() const { return m_lists.Aside().Count(); }

 private:
    velmo_parent::SenderLists<N> m_lists;
};

template <std::int32_t N>
class PeerReceiver {
 public:
    bool Receive(Memory<N>& memory, std::uint64_t& value) {
        AtomicWords words = memory.Words();
        const std::int32_t node = m_lists.TakeNext(words);
        if (node != kNoNode) value = memory.slots[node].load(std::memory_order_relaxed);
        (void)m_lists.GiveBack(words);
        return node != kNoNode;
    }
    int InHand() const { return m_lists.Aside().Count(); }

 private:
    velmo_parent::ReceiverLists<N> m_lists;
};

// How many nodes a list holds, at most N.
template <std::int32_t N>
int Length(Memory<N>& memory, List list) {
    AtomicWords words = memory.Words();
    int length = 0;
    for (std::int32_t node = words.Load(list, ipc::End::Head); node >= 0 && node < N && length < N;
         node = words.LoadNext(node)) {
        ++length;
    }
    return length;
}

enum class Pace { Bursts, OneByOne };

// Rounds of kRound messages; each begins with fresh lists and ends with an audit, when both sides rest.
template <std::int32_t N, class Sender, class Receiver>
Anomalies Run(Pace pace, std::uint64_t messages) {
    Anomalies total;
    const auto memory = std::make_unique<Memory<N>>();
    while (total.messages < messages) {
        AtomicWords words = memory->Words();
        ipc::InitialiseLists(words);
        Sender sender;
        Receiver receiver;
        std::atomic<std::uint64_t> received{0};
        std::atomic<std::uint64_t> receiverLooks{0};  // that found nothing, in all
        std::atomic<bool> sending{true};
        std::barrier together(2);
        std::uint64_t astray = 0;

        std::thread receiving([&] {
            together.arrive_and_wait();
            std::uint64_t newest = 0;
            // Begun anew with each message, and counted only while the sender rests.
            for (std::uint64_t fruitless = 0; fruitless < kFruitless;) {
                const bool last = !sending.load();
                std::uint64_t value = 0;
                if (receiver.Receive(*memory, value)) {
                    if (value <= newest) ++astray;
                    newest = value;
                    fruitless = 0;
                    received.fetch_add(1);
                } else {
                    receiverLooks.fetch_add(1);
                    std::this_thread::yield();  // the other side may be waiting for this very processor
                    if (last) ++fruitless;
                }
            }
        });
        together.arrive_and_wait();

        std::uint64_t sent = 0;
        // Stuck when the receiver has looked in vain for long, then the sender has, then the receiver again, and
        // nothing has arrived meanwhile: whatever the one did last, the other has had its chance to see it.
        int phase = 0;
        std::uint64_t looks = 0;  // of the sender, in this phase
        std::uint64_t receiverLooksBefore = receiverLooks.load();
        const auto goOn = [&] {
            phase = 0;
            looks = 0;
            receiverLooksBefore = receiverLooks.load();
        };
        const auto isStuck = [&](std::uint64_t seen) {
            const bool enough =
                phase == 1 ? looks > kFruitless : receiverLooks.load() - receiverLooksBefore > kFruitless;
            if (!enough) return false;
            if (phase == 2) return received.load() == seen;
            ++phase;
            looks = 0;
            receiverLooksBefore = receiverLooks.load();
            return false;
        };
        std::uint64_t seen = 0;
        while (sent < kRound && !isStuck(seen)) {
            const std::uint64_t nowReceived = received.load();
            if (nowReceived != seen) goOn();
            seen = nowReceived;
            if (pace == Pace::OneByOne && nowReceived < sent) {
                sender.Flush(*memory);
                ++looks;
                std::this_thread::yield();
            } else if (sender.Send(*memory, sent + 1)) {
                ++sent;
                goOn();
            } else {
                ++looks;
            }
        }
        if (sent < kRound) ++total.stalls;
        for (goOn(); sender.InHand() > 0 && !isStuck(seen); ++looks) {
            if (received.load() != seen) goOn();
            seen = received.load();
            sender.Flush(*memory);
        }
        sending = false;
        receiving.join();

        total.messages += sent;
        total.astray += astray;
        const std::uint64_t arrived = received.load() - astray;
        total.lost += sent > arrived ? sent - arrived : 0;
        const int found =
            Length(*memory, List::Free) + Length(*memory, List::Used) + sender.InHand() + receiver.InHand();
        if (found < N) total.leaked += static_cast<std::uint64_t>(N - found);
    }
    return total;
}

bool Report(const char* name, const Anomalies& counts) {
    const auto perMillion = [&](std::uint64_t count) {
        return 1e6 * static_cast<double>(count) / static_cast<double>(counts.messages);
    };
    std::printf("%-36s %10llu messages, per million: %8.2f lost, %8.2f astray, %8.2f nodes leaked, %6.2f stalls\n",
                name, static_cast<unsigned long long>(counts.messages), perMillion(counts.lost),
                perMillion(counts.astray), perMillion(counts.leaked), perMillion(counts.stalls));
    return counts.lost == 0 && counts.astray == 0 && counts.leaked == 0 && counts.stalls == 0;
}

template <std::int32_t N>
bool RunAll(std::uint64_t messages) {
    bool clean = true;
    for (const Pace pace : {Pace::Bursts, Pace::OneByOne}) {
        const std::string tail = ", N " + std::to_string(N) + (pace == Pace::Bursts ? ", bursts" : ", one by one");
        (void)Report(("fixed to fixed" + tail).c_str(), Run<N, FixedSender<N>, FixedReceiver<N>>(pace, messages));
        clean &= Report(("fixed to rules" + tail).c_str(), Run<N, FixedSender<N>, PeerReceiver<N>>(pace, messages));
        clean &= Report(("rules to fixed" + tail).c_str(), Run<N, PeerSender<N>, FixedReceiver<N>>(pace, messages));
    }
    return clean;
}

}  // namespace

int main(int argumentCount, char** arguments) {
    const double millions = argumentCount > 1 ? std::atof(arguments[1]) : 2;
    if (argumentCount > 2 || !(millions > 0)) {
        std::fputs("usage: list_anomalies [MILLIONS]\n", stderr);
        return 2;
    }
    const auto messages = static_cast<std::uint64_t>(millions * 1e6);
    const bool clean = RunAll<5>(messages) && RunAll<30>(messages);
    return clean ? 0 : 1;
}
