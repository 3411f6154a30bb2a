#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "velmo_parent/writing.h"

// Frames on their way to the process, and the results that come back.
namespace velmo_parent {

// The size of a frame, in pixels.
struct FrameSize {
    std::uint32_t width = 0;
    std::uint32_t height = 0;

    friend bool operator==(const FrameSize&, const FrameSize&) = default;
};

// The largest frame that travels: 640 × 360.
inline constexpr std::uint32_t kMostPixels = 230400;

// Whether the process may answer a frame with the last mask when little has changed since.
enum class Skipping {
    // It may: 17 frames in a row at most. The usual choice for video.
    Allowed,
    // It must not. When the last frame with Allowed was skipped, the process would go on skipping every frame of this
    // kind, for good: the mask would be frozen. So the frame goes out as Allowed until one is inferred, which takes 18
    // frames at most; see SubmitStatus::Settling and Result::temporal.
    Off,
    // The flag is cleared at once, whatever comes of it.
    OffEvenIfFrozen,
};

// What is told of a frame when it is submitted.
struct Frame {
    std::uint64_t tag = 0;  // the caller's own; comes back with the result
    FrameSize size;
    Skipping skipping = Skipping::Allowed;
};

// Where the pixels go: three planes of width × height bytes, row by row without padding, in the memory that the process
// reads. The library writes nothing of them, and they may hold an old frame: write every byte. Reading is slow on some
// machines; write in order. Valid while the writer runs.
// In which order the planes stand for which colours is between the caller and the model.
using FramePlanes = std::array<std::span<std::uint8_t>, 3>;

enum class [[nodiscard]] SubmitStatus{
    Sent,      // on its way: there will be a result with its tag, or the news that it is lost
    Full,      // five are on their way, or the process holds every slot. An ordinary event. The writer has not run, but
               // for the rare case that all frames were given up meanwhile (LossReason::Dropped)
    Settling,  // Skipping::Off: what became of the frames on their way decides whether this would freeze the mask. The
               // writer has not run; try again when the next result has come
    Declined,  // the writer returned Writing::Declined
    WrongSize,   // no pixels, more than kMostPixels, or another number of them than the engine takes; the writer has
                 // not run
    NotReady,    // no Init has been answered with 0 yet, or this call came out of a writer; the writer has not run
    NotRunning,  // no process; the writer has not run
};

// What the full family (ModelFamily::Calyr) has beside the mask. Valid as long as the result.
struct FullResult {
    std::span<const float, 9> gesture;
    std::span<const float, 207216> landmarks;  // 9 × 16 × 1439
    std::span<const float, 99> lutVertices;    // 3 × 33
    std::span<const float, 107811> lut;        // 3 × 33 × 33 × 33
    std::uint32_t motion;                      // the 32 bits of the layer's first element
};

// The result of one frame, in the memory into which the process has written it: valid until OnResult returns. The
// process does not touch it any more.
struct Result {
    std::uint64_t tag = 0;  // of its frame
    FrameSize size;         // of its frame
    bool temporal = false;  // whether the frame went out with skipping allowed

    // 0 good; 2 a layer of the network did not fit; 4 nothing has been inferred since the frames have this size, or the
    // result was damaged (ProcessListener::OnDamage). With any other than 0 there is no mask.
    std::int32_t status = 4;

    // One byte per pixel, row by row; above 128 is foreground. Empty when there is none.
    std::span<const std::uint8_t> mask;

    // True when the mask was made for an earlier frame: this one was skipped, or refused, or its inference failed,
    // which the wire does not tell apart. Two masks of the same millisecond count as reused too. Behind a
    // lost frame a mask that was made for that one may count as new.
    bool isReused = false;
    // How long ago the mask was made, and the number that stands for that moment: milliseconds of the machine's steady
    // clock (CLOCK_MONOTONIC, the performance counter). Both 0 without a mask.
    std::chrono::milliseconds age{0};
    std::uint64_t stampMs = 0;

    // From before the frame's writer ran to now.
    std::chrono::nanoseconds latency{0};

    // Null but for the full family with a status of 0.
    const FullResult* full = nullptr;
};

// A result to keep. Assigning to one again and again allocates nothing once its buffers have their sizes.
// Thread: a plain value.
class ResultCopy {
 public:
    ResultCopy() = default;
    explicit ResultCopy(const Result& result) { Assign(result); }
    ResultCopy(ResultCopy&& other) noexcept { Swap(other); }
    ResultCopy& operator=(ResultCopy&& other) noexcept {
        Swap(other);
        return *this;
    }
    ResultCopy(const ResultCopy&) = delete;  // up to 1.6 MB: say it by Assign(other.Get())
    ResultCopy& operator=(const ResultCopy&) = delete;

    void Assign(const Result& result);

    // The result, over this object's buffers: valid until the next Assign, move or end of this object.
    Result Get() const;

    void Swap(ResultCopy& other) noexcept;

 private:
    Result m_result;  // its span and its pointer are not used
    std::vector<std::uint8_t> m_mask;
    std::vector<float> m_floats;       // gesture, landmarks, vertices and table, one behind the other
    std::optional<FullResult> m_full;  // points into them
};

enum class LossReason {
    Dropped,       // the process found no room for a result for half a second, because OnResult did not return; told
                   // also of the frames about which nobody can say whether they were dropped
    ProcessEnded,  // the process ended before it gave one
};

// A frame that gets no result.
struct LostFrame {
    std::uint64_t tag = 0;
    LossReason reason = LossReason::Dropped;
};

}  // namespace velmo_parent
