#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <type_traits>
#include <unordered_map>
#include <utility>
#include <vector>

#include "ipc/channel_layout.h"
#include "ipc/list_steps.h"

// Runs two parties of a channel through every interleaving of their accesses to the shared words.
//
// A party is a program of turns; a turn is one operation of the code under test, such as ipc::pop. A step of the search
// lets one party do one more access: its turn is run again from the local state at the turn's start, earlier accesses
// are answered from a log, the next one is made for real, and whatever the turn tries behind it is answered with
// harmless values and forgotten. A turn that makes no further access is over, and its local state is kept.
//
// The busy bytes and the `prev` and `slot` words are read by nobody, so they are no accesses here. The two events are
// modelled, as auto-reset: a party that waits does nothing until its event is set, so a signal that is missed shows as
// a state in which nobody can go on.
namespace list_search {

enum class Event { Available, Filled };

// One value for each of N nodes.
template <class T, std::int32_t N>
using PerNode = std::array<T, static_cast<std::size_t>(N)>;

// A number that is not negative as an index.
inline std::size_t IndexOf(std::int8_t number) {
    return static_cast<std::uint8_t>(number);
}

// The shared words, the message in each slot (0: none yet), and the events.
template <std::int32_t N>
struct Shared {
    std::array<std::int8_t, 4> ends{};  // zero, as in a fresh mapping
    PerNode<std::int8_t, N> next{};
    PerNode<std::int8_t, N> message{};
    std::array<bool, 2> signalled{};

    std::int8_t& EndOf(ipc::List list, ipc::End end) {
        return ends[(list == ipc::List::Used ? 2U : 0U) + (end == ipc::End::Tail ? 1U : 0U)];
    }
    std::int32_t Head(ipc::List list) const { return ends[list == ipc::List::Used ? 2U : 0U]; }
    std::int32_t Behind(std::int32_t node) const { return next[static_cast<std::size_t>(node)]; }
    bool IsSet(Event event) const { return signalled[event == Event::Filled ? 1U : 0U]; }
    bool& SignalOf(Event event) { return signalled[event == Event::Filled ? 1U : 0U]; }
};

// What the accesses of the current turn have answered so far.
struct AccessLog {
    std::array<std::int8_t, 24> results{};
    std::int8_t count = 0;
};

// Stands for the shared words in one step of one party; the Words type of the code under test.
template <std::int32_t N>
class SteppedWords {
 public:
    SteppedWords(Shared<N>& shared, AccessLog& log) : m_shared(shared), m_log(log), m_replayed(log.count) {}

    // False when the turn wanted more than one new access: it isn't over.
    bool TurnIsOver() const { return !m_wantedMore; }

    static constexpr std::int32_t NodeCount() { return N; }
    std::int32_t Load(ipc::List list, ipc::End end) {
        return Access([&] { return m_shared.EndOf(list, end); });
    }
    void Store(ipc::List list, ipc::End end, std::int32_t value) {
        (void)Access([&] { return m_shared.EndOf(list, end) = static_cast<std::int8_t>(value); });
    }
    std::int32_t Exchange(ipc::List list, ipc::End end, std::int32_t value) {
        return Access([&] { return std::exchange(m_shared.EndOf(list, end), static_cast<std::int8_t>(value)); });
    }
    bool CompareAndSwap(ipc::List list, ipc::End end, std::int32_t expected, std::int32_t desired) {
        return Access([&] {
                   std::int8_t& word = m_shared.EndOf(list, end);
                   if (word != expected) return std::int8_t{0};
                   word = static_cast<std::int8_t>(desired);
                   return std::int8_t{1};
               }) == 1;
    }
    void StoreBusy(ipc::List, std::uint8_t) {}
    std::uint8_t ExchangeBusy(ipc::List, std::uint8_t) { return 0; }
    std::int32_t LoadNext(std::int32_t index) {
        return Access([&] { return m_shared.next.at(static_cast<std::size_t>(index)); });
    }
    void StoreNext(std::int32_t index, std::int32_t value) {
        (void)Access(
            [&] { return m_shared.next.at(static_cast<std::size_t>(index)) = static_cast<std::int8_t>(value); });
    }
    void StorePrev(std::int32_t, std::int32_t) {}
    void StoreSlot(std::int32_t, std::int32_t) {}

    std::int32_t ReadSlot(std::int32_t index) {
        return Access([&] { return m_shared.message.at(static_cast<std::size_t>(index)); });
    }
    void WriteSlot(std::int32_t index, std::int32_t message) {
        (void)Access(
            [&] { return m_shared.message.at(static_cast<std::size_t>(index)) = static_cast<std::int8_t>(message); });
    }
    void Signal(Event event) {
        (void)Access([&] {
            m_shared.SignalOf(event) = true;
            return std::int8_t{0};
        });
    }
    // Called only when the event is set.
    void TakeSignal(Event event) {
        (void)Access([&] {
            m_shared.SignalOf(event) = false;
            return std::int8_t{0};
        });
    }

 private:
    template <class Do>
    std::int32_t Access(Do&& access) {
        if (m_cursor < m_replayed) return m_log.results[IndexOf(m_cursor++)];
        if (m_done) {
            m_wantedMore = true;
            return ipc::kNoNode;
        }
        m_done = true;
        const std::int8_t result = access();
        m_log.results.at(IndexOf(m_log.count)) = result;
        ++m_log.count;
        return result;
    }

    Shared<N>& m_shared;
    AccessLog& m_log;
    std::int8_t m_replayed;
    std::int8_t m_cursor = 0;
    bool m_done = false;
    bool m_wantedMore = false;
};

// A party: its local state at the start of its turn, and the turn so far. Local has
//   template <class Words> void Turn(Words&)     one turn, with one access at least
//   bool CanGoOn(const Shared<N>&) const         false when it is done or waits for an event that isn't set
//   void Encode(std::string&) const              everything that distinguishes two states
template <class Local>
struct Party {
    Local local;
    AccessLog log;

    template <std::int32_t N>
    void Step(Shared<N>& shared) {
        Local attempt = local;
        SteppedWords<N> words(shared, log);
        attempt.Turn(words);
        if (words.TurnIsOver()) {
            local = attempt;
            log = AccessLog{};
        }
    }

    void Encode(std::string& key) const {
        local.Encode(key);
        key.push_back(static_cast<char>(log.count));
        for (std::int8_t i = 0; i < log.count; ++i) {
            key.push_back(static_cast<char>(log.results[IndexOf(i)]));
        }
    }
};

// What is wrong in one state. The kinds do not exclude each other.
struct Verdict {
    bool nodeLost = false;      // in no list, no hand, not aside
    bool nodeDoubled = false;   // in two of them, or a list runs in a ring
    bool wrongMessage = false;  // the receiver has read something other than the next message

    bool Good() const { return !nodeLost && !nodeDoubled && !wrongMessage; }
};

struct Figures {
    std::uint64_t states = 0;
    std::uint64_t steps = 0;  // from state to state
    std::uint64_t badStates = 0;
    std::uint64_t nodeLost = 0;
    std::uint64_t nodeDoubled = 0;
    std::uint64_t wrongMessage = 0;
    std::uint64_t stuck = 0;     // nobody can go on, and not all messages have arrived
    std::uint64_t hopeless = 0;  // no continuation delivers everything; the stuck ones are among them
    std::uint64_t complete = 0;  // everything sent has arrived
};

// Everything that two parties can do from the given start.
template <class Sender, class Receiver, std::int32_t N>
class Search {
 public:
    struct State {
        Shared<N> shared;
        Party<Sender> sender;
        Party<Receiver> receiver;
    };

    static Figures Run(const State& start) {
        Search search;
        search.Visit(start);
        for (std::size_t i = 0; i < search.m_states.size(); ++i)
            search.Expand(static_cast<std::uint32_t>(i));
        search.CountHopeless();
        return search.m_figures;
    }

 private:
    void Expand(std::uint32_t from) {
        const State state = m_states[from];
        const bool sends = state.sender.local.CanGoOn(state.shared);
        const bool receives = state.receiver.local.CanGoOn(state.shared);
        if (sends) {
            State next = state;
            next.sender.Step(next.shared);
            AddStep(from, next);
        }
        if (receives) {
            State next = state;
            next.receiver.Step(next.shared);
            AddStep(from, next);
        }
        const bool complete = IsComplete(state);
        if (!sends && !receives && !complete) ++m_figures.stuck;
        // The expanded state is not looked at again, except for whether it reaches the end.
        m_reaches.resize(m_states.size(), false);
        if (complete) {
            m_reaches[from] = true;
            ++m_figures.complete;
        }
    }

    void AddStep(std::uint32_t from, const State& next) {
        const std::uint32_t to = Visit(next);
        m_steps.emplace_back(from, to);
        ++m_figures.steps;
    }

    std::uint32_t Visit(const State& state) {
        m_key.clear();
        for (const std::int8_t word : state.shared.ends)
            m_key.push_back(static_cast<char>(word));
        for (const std::int8_t word : state.shared.next)
            m_key.push_back(static_cast<char>(word));
        for (const std::int8_t word : state.shared.message)
            m_key.push_back(static_cast<char>(word));
        for (const bool set : state.shared.signalled)
            m_key.push_back(set ? '\1' : '\0');
        state.sender.Encode(m_key);
        state.receiver.Encode(m_key);
        const auto [found, isNew] = m_seen.try_emplace(m_key, static_cast<std::uint32_t>(m_states.size()));
        if (isNew) {
            m_states.push_back(state);
            Judge(state);
        }
        return found->second;
    }

    void Judge(const State& state) {
        ++m_figures.states;
        const Verdict verdict = VerdictOn(state);
        m_figures.nodeLost += verdict.nodeLost ? 1U : 0U;
        m_figures.nodeDoubled += verdict.nodeDoubled ? 1U : 0U;
        m_figures.wrongMessage += verdict.wrongMessage ? 1U : 0U;
        m_figures.badStates += verdict.Good() ? 0U : 1U;
    }

    // Where each node is. A node that is being put onto a list may be in it already or not yet, and nowhere else.
    static Verdict VerdictOn(const State& state) {
        Verdict verdict;
        verdict.wrongMessage = state.receiver.local.WrongMessage();
        if (state.sender.local.IsMaking() || state.receiver.local.IsMaking()) return verdict;
        PerNode<std::int32_t, N> places{};
        CountWalk(state, ipc::List::Free, state.receiver.local.PuttingDown(), places, verdict);
        CountWalk(state, ipc::List::Used, state.sender.local.PuttingDown(), places, verdict);
        state.sender.local.CountHeld(places);
        state.receiver.local.CountHeld(places);
        for (const std::int32_t count : places) {
            if (count == 0) verdict.nodeLost = true;
            if (count > 1) verdict.nodeDoubled = true;
        }
        return verdict;
    }

    static void CountWalk(const State& state, ipc::List list, std::int32_t beingPut, PerNode<std::int32_t, N>& places,
                          Verdict& verdict) {
        std::int32_t node = state.shared.Head(list);
        for (std::int32_t walked = 0; node >= 0 && node < N; ++walked) {
            if (walked == N) {
                verdict.nodeDoubled = true;
                return;
            }
            if (node != beingPut) ++places[static_cast<std::size_t>(node)];
            node = state.shared.Behind(node);
        }
    }

    static bool IsComplete(const State& state) {
        return state.sender.local.HasSentAll() && state.receiver.local.HasReceivedAll();
    }

    // Backwards from the complete states along all steps.
    void CountHopeless() {
        std::vector<std::uint32_t> first(m_states.size() + 1, 0);
        for (const auto& [from, to] : m_steps)
            ++first[to + 1U];
        for (std::size_t i = 1; i < first.size(); ++i)
            first[i] += first[i - 1];
        std::vector<std::uint32_t> before(m_steps.size());
        std::vector<std::uint32_t> fill(first.begin(), first.end() - 1);
        for (const auto& [from, to] : m_steps)
            before[fill[to]++] = from;

        std::vector<std::uint32_t> open;
        for (std::size_t i = 0; i < m_reaches.size(); ++i) {
            if (m_reaches[i]) open.push_back(static_cast<std::uint32_t>(i));
        }
        while (!open.empty()) {
            const std::uint32_t state = open.back();
            open.pop_back();
            for (std::uint32_t i = first[state]; i < first[state + 1U]; ++i) {
                if (m_reaches[before[i]]) continue;
                m_reaches[before[i]] = true;
                open.push_back(before[i]);
            }
        }
        for (const bool reaches : m_reaches)
            m_figures.hopeless += reaches ? 0U : 1U;
    }

    std::unordered_map<std::string, std::uint32_t> m_seen;
    std::deque<State> m_states;
    std::vector<std::pair<std::uint32_t, std::uint32_t>> m_steps;
    std::vector<bool> m_reaches;
    std::string m_key;
    Figures m_figures;
};

}  // namespace list_search
