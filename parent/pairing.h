#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

#include "velmo_parent/send_end.h"

// Which frame a result belongs to. The wire does not say it: results carry no number, and one that does not find a slot
// within half a second is dropped by the process without a word. What holds is that results come in the order of their
// frames, and that a drop needs half a second in which the process had no slot. Both can be seen from here:
//
//   - slots are counted. At a moment when the process has used up all that it was given, exactly so many results exist;
//   - frames are counted. The process gives a frame's slot back behind its result, or behind having dropped it.
//
// So whenever slots are given after a pause long enough for a drop, the two counts tell. If the process had nothing
// left to do, they tell exactly which frames went without a result: the last ones. If it was at work they can't, by one
// frame; then all frames on their way are given up, and their results, which come later, are thrown away. No result is
// ever given to a frame that may not be its own.
//
// The process's own time-out is 500 ms; 400 ms keep off clocks that tick coarsely.
//
// Thread: none of its own; the caller serialises.
namespace velmo_parent {

// What the parent remembers of a frame until its result comes.
struct PendingFrame {
    std::uint64_t tag = 0;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::int64_t submittedNs = 0;  // before its writer ran, on the clock of infra::NowNs
    bool temporal = false;         // the flag that went out with it
    bool mayFreeze = false;        // the caller insisted on a flag that may freeze the mask
};

class Pairing {
 public:
    static constexpr std::size_t kMostInFlight = 5;
    static constexpr std::int64_t kSafePauseMs = 400;

    // Whether another frame may be sent.
    bool HasRoom() const { return m_count < kMostInFlight && !m_discarding; }

    // True while results are thrown away until the process has nothing left to do.
    bool IsDiscarding() const { return m_discarding; }

    // A frame goes out. Only when there is room.
    void Submit(const PendingFrame& frame);

    // The next result has come: its frame, which is done with; nothing when the result belongs to none. Only when
    // TakeLost has nothing to give.
    std::optional<PendingFrame> Answer();

    // The oldest frame, if it gets no result; it is done with.
    std::optional<PendingFrame> TakeLost();

    // All that are left, oldest first, when no result can come any more.
    std::optional<PendingFrame> TakeAny();

    // Slots were given, at `nowNs` at the latest. `progress` was taken at `progressNs`, while the process had none;
    // `slots` and `pauseMs` as in ReceiveWatch::AfterGiving.
    void SlotsGiven(std::uint64_t slots, std::int64_t pauseMs, const SendProgress& progress, std::int64_t progressNs,
                    std::int64_t nowNs);

    // Around a look that delivers every result there is. `unfinished` is the process's remaining work at its beginning.
    void BeforeLook(std::int32_t unfinished) { m_wasQuiet = unfinished == 0; }
    void AfterLook();

    std::size_t InFlight() const { return m_count; }

 private:
    struct Entry {
        PendingFrame frame;
        bool isLost = false;
    };
    Entry& At(std::size_t position) { return m_entries[(m_first + position) % kMostInFlight]; }
    std::optional<PendingFrame> TakeFirst();
    bool IsYoung(std::uint64_t number, std::int64_t nowNs);
    // Frames are numbered from 1. These can't get a result.
    void GiveUp(std::uint64_t behind, std::uint64_t last);

    std::array<Entry, kMostInFlight> m_entries{};
    std::size_t m_first = 0;
    std::size_t m_count = 0;
    std::uint64_t m_submitted = 0;
    std::uint64_t m_results = 0;        // that came, the discarded ones too
    std::uint64_t m_withoutResult = 0;  // frames that are known to have none
    std::uint64_t m_lastPaired = 0;     // while discarding: the number of the last result that is still a frame's own
    bool m_discarding = false;
    bool m_wasQuiet = false;
};

}  // namespace velmo_parent
