#pragma once

#include <array>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <vector>

#include "velmo_run/frame_slot.h"

namespace velmo_run {

// What is done with every frame, in this order, each by one thread.
enum class Stage { Read, Submit, Answer, Write };

// A few slots that go round: each stage takes the frames in their order, once the stage before has completed them; to
// read another one takes a slot that has been written. So memory is bounded, and a stage that is slow holds up those
// before it. Thread: one for each stage, and any for what asks.
class FrameBelt {
 public:
    explicit FrameBelt(std::size_t slots) : m_slots(slots) {}

    enum class Look {
        Ready,  // there is a frame for this stage
        NotYet,
        Ended,  // and there will be none any more
    };
    Look Await(Stage stage, std::chrono::milliseconds patience);

    // The stage's frame. Only while it is Ready, by the stage's thread.
    FrameSlot& Next(Stage stage);

    void Complete(Stage stage);

    // This stage completes no more frames; those behind it do what is left and end.
    void Close(Stage stage);

    // Waits until fewer than `most` frames have been submitted without being answered. False when the time ran out.
    bool AwaitFewerInFlight(std::uint64_t most, std::chrono::milliseconds patience);

    // Waits until the stage has completed more than so many frames. False when the time ran out.
    bool AwaitMore(Stage stage, std::uint64_t completed, std::chrono::milliseconds patience);

    // Waits until the stage is closed. False when the time ran out.
    bool AwaitClosed(Stage stage, std::chrono::milliseconds patience);

    std::uint64_t Completed(Stage stage) const;

 private:
    static constexpr std::size_t kStages = 4;
    static std::size_t At(Stage stage) { return static_cast<std::size_t>(stage); }
    Look LookAt(Stage stage) const;

    std::vector<FrameSlot> m_slots;
    mutable std::mutex m_mutex;  // guards the rest
    std::condition_variable m_changed;
    std::array<std::uint64_t, kStages> m_completed{};
    std::array<bool, kStages> m_closed{};
};

}  // namespace velmo_run
