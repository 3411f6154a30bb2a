// What one message costs on its way through a channel, on the system's own named objects: the process's end by the
// fixed steps, the parent's end by the peer's rules, each on a thread and a view of its own. Beside it the same message
// through the message queue of Boost.Interprocess, which one would use otherwise.
//
// OneWay      from the moment before the writer runs to the moment at which the reader has the message in its hands,
//             with the reader asleep before; this is what a single log line or command waits
// Throughput  as many messages as go through, the sender waiting only while the channel is full

#include <benchmark/benchmark.h>

#include <atomic>
#include <boost/interprocess/ipc/message_queue.hpp>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <string>
#include <thread>

#include "ipc/channel.h"
#include "platform/kernel_objects.h"
#include "platform/threads.h"
#include "velmo_parent/receive_end.h"
#include "velmo_parent/send_end.h"

namespace {

using Clock = std::chrono::steady_clock;

// As large as the slots of the two channels, and all of it is written and read.
template <std::size_t kBytes>
struct Message {
    std::int64_t stampNs;
    std::byte rest[kBytes - sizeof(std::int64_t)];
};
using LogSized = Message<512>;
using CommandSized = Message<3096>;

std::int64_t NowNs() {
    return std::chrono::nanoseconds(Clock::now().time_since_epoch()).count();
}

std::string FreshName() {
    static std::atomic<int> counter{0};
    return "bench" + std::to_string(platform::CurrentProcessId()) + "-" + std::to_string(++counter);
}

// Where the reader leaves what it has seen.
struct Arrivals {
    std::atomic<std::int64_t> count{0};
    std::atomic<std::int64_t> latestNs{0};

    template <class M>
    void Take(const M& message) {
        M copy;
        std::memcpy(&copy, &message, sizeof(copy));
        benchmark::DoNotOptimize(copy);
        latestNs.store(NowNs() - copy.stampNs);
        count.fetch_add(1);
        count.notify_one();
    }
};

template <class M>
void Fill(M& message) {
    const std::int64_t now = NowNs();
    std::memset(&message, 0x5A, sizeof(message));
    message.stampNs = now;
}

// The process sends, the parent receives: events, results, log lines.
template <class M, std::int32_t N>
class ProcessToParent {
 public:
    explicit ProcessToParent(Arrivals& arrivals) : m_sender(ipc::kSends) {
        const std::string name = FreshName();
        m_isOpen =
            static_cast<bool>(m_receiver.Open(name, [&arrivals](const M& message) { arrivals.Take(message); })) &&
            m_sender.Open(name);
    }
    bool IsOpen() const { return m_isOpen; }
    bool Send() {
        return m_sender.Send([](M& message) { Fill(message); }, false, platform::kNoTimeLimit);
    }

 private:
    velmo_parent::ReceiveEnd<M, N> m_receiver{platform::SystemKernelObjects(), platform::SystemThreads()};
    ipc::channel<M, N> m_sender;
    bool m_isOpen = false;
};

// The parent sends, the process receives: commands, frames.
template <class M, std::int32_t N>
class ParentToProcess {
 public:
    explicit ParentToProcess(Arrivals& arrivals) : m_receiver(ipc::kReceives) {
        const std::string name = FreshName();
        m_isOpen = static_cast<bool>(m_sender.Open(name)) && m_receiver.Open(name);
        m_thread = std::thread([this, &arrivals] {
            while (!m_stop)
                m_receiver.Receive([&arrivals](const M& message) { arrivals.Take(message); }, 1000);
        });
    }
    ~ParentToProcess() {
        m_stop = true;
        m_receiver.Wake();
        m_thread.join();
    }
    bool IsOpen() const { return m_isOpen; }
    bool Send() {
        for (;;) {
            const auto result = m_sender.Send([](M& message) { Fill(message); });
            if (result == velmo_parent::SendResult::Sent) return true;
            if (result == velmo_parent::SendResult::Closed) return false;
            std::this_thread::yield();
        }
    }

 private:
    velmo_parent::SendEnd<M, N> m_sender{platform::SystemKernelObjects(), platform::SystemThreads()};
    ipc::channel<M, N> m_receiver;
    std::atomic<bool> m_stop{false};
    std::thread m_thread;
    bool m_isOpen = false;
};

// The same through Boost's queue: one copy in, one out.
template <class M, std::int32_t N>
class BoostQueue {
 public:
    explicit BoostQueue(Arrivals& arrivals)
        : m_name(FreshName()),
          m_sender(boost::interprocess::create_only, m_name.c_str(), N, sizeof(M)),
          m_receiver(boost::interprocess::open_only, m_name.c_str()) {
        m_thread = std::thread([this, &arrivals] {
            for (;;) {
                M message;
                boost::interprocess::message_queue::size_type bytes = 0;
                unsigned priority = 0;
                m_receiver.receive(&message, sizeof(message), bytes, priority);
                if (message.stampNs == 0) break;
                arrivals.Take(message);
            }
        });
    }
    ~BoostQueue() {
        M last;
        std::memset(&last, 0, sizeof(last));
        m_sender.send(&last, sizeof(last), 0);
        m_thread.join();
        boost::interprocess::message_queue::remove(m_name.c_str());
    }
    bool IsOpen() const { return true; }
    bool Send() {
        M message;
        Fill(message);
        m_sender.send(&message, sizeof(message), 0);
        return true;
    }

 private:
    const std::string m_name;
    boost::interprocess::message_queue m_sender;
    boost::interprocess::message_queue m_receiver;
    std::thread m_thread;
};

template <class Road>
void OneWay(benchmark::State& state) {
    Arrivals arrivals;
    Road road(arrivals);
    if (!road.IsOpen()) return state.SkipWithError("can't open");
    std::int64_t expected = 0;
    for (auto _ : state) {
        if (!road.Send()) return state.SkipWithError("can't send");
        for (std::int64_t seen = arrivals.count; seen == expected; seen = arrivals.count)
            arrivals.count.wait(seen);
        ++expected;
        state.SetIterationTime(static_cast<double>(arrivals.latestNs) * 1e-9);
        // Lets the reader fall asleep again: a message to a reader that is awake is the other benchmark's matter.
        std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
}

template <class Road, class M>
void Throughput(benchmark::State& state) {
    Arrivals arrivals;
    Road road(arrivals);
    if (!road.IsOpen()) return state.SkipWithError("can't open");
    for (auto _ : state) {
        if (!road.Send()) return state.SkipWithError("can't send");
    }
    const auto sent = static_cast<std::int64_t>(state.iterations());
    for (std::int64_t seen = arrivals.count; seen < sent; seen = arrivals.count)
        arrivals.count.wait(seen);
    state.SetItemsProcessed(sent);
    state.SetBytesProcessed(sent * static_cast<std::int64_t>(sizeof(M)));
}

// Given, as the pauses between them do not count into the time that the library would reach its number by.
constexpr int kOneWayMessages = 5000;

BENCHMARK(OneWay<ProcessToParent<LogSized, 30>>)
    ->UseManualTime()
    ->Iterations(kOneWayMessages)
    ->Name("OneWay/log/channel");
BENCHMARK(OneWay<BoostQueue<LogSized, 30>>)->UseManualTime()->Iterations(kOneWayMessages)->Name("OneWay/log/boost");
BENCHMARK(OneWay<ParentToProcess<CommandSized, 32>>)
    ->UseManualTime()
    ->Iterations(kOneWayMessages)
    ->Name("OneWay/command/channel");
BENCHMARK(OneWay<BoostQueue<CommandSized, 32>>)
    ->UseManualTime()
    ->Iterations(kOneWayMessages)
    ->Name("OneWay/command/boost");
BENCHMARK(Throughput<ProcessToParent<LogSized, 30>, LogSized>)->UseRealTime()->Name("Throughput/log/channel");
BENCHMARK(Throughput<BoostQueue<LogSized, 30>, LogSized>)->UseRealTime()->Name("Throughput/log/boost");
BENCHMARK(Throughput<ParentToProcess<CommandSized, 32>, CommandSized>)
    ->UseRealTime()
    ->Name("Throughput/command/channel");
BENCHMARK(Throughput<BoostQueue<CommandSized, 32>, CommandSized>)->UseRealTime()->Name("Throughput/command/boost");

}  // namespace
