#pragma once

#include <array>
#include <cstdint>

#include "velmo_scenes/canvas.h"
#include "velmo_scenes/frame.h"
#include "velmo_scenes/staging.h"

namespace scenes {

inline constexpr double kLatestMoment = 100000.0;  // of a scene, in seconds

struct SceneSettings {
    bool still = false;       // nothing moves; noise does, unless it's off
    bool cameraNoise = true;  // without it, and while nothing moves, frames are equal to the byte
};

// A made-up scene with people who move, or with none. All of it follows from the seed: the same seed, time and size
// give the same bytes on every system. Thread: one at a time for one object.
class Scene {
 public:
    explicit Scene(std::uint64_t seed, const SceneSettings& settings = {});
    explicit Scene(const Staging& staging);

    // Draws the scene at a time, at least 0 and at most kLatestMoment, in any order of times; width and height are 1 to
    // 4096. `frame` is overwritten; its buffers are used again. Throws std::bad_alloc.
    void Draw(double seconds, int width, int height, Frame& frame);

    // Whether nothing but noise differs between two times.
    bool IsStillBetween(double fromSeconds, double toSeconds) const;

 private:
    float MotionTime(double seconds) const;
    void PrepareBackground(int width, int height, Point shift);
    void PaintPeople(float time, Point shift);
    void PaintDesk(Point shift);
    void TellPeople(Frame& frame) const;

    struct Told {
        PersonFacts facts;
        std::array<ArmState, 2> arms{ArmState::Down, ArmState::Down};
    };

    Staging m_staging;
    Canvas m_canvas;
    Canvas m_background;      // of the last frame: it is painted anew only when the size or the camera's place differs
    Point m_backgroundShift;  // where the camera was then
    std::array<Told, 2> m_told;
};

}  // namespace scenes
