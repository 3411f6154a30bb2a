#pragma once

#include <cstdint>
#include <vector>

#include "velmo_scenes/camera.h"
#include "velmo_scenes/frame.h"
#include "velmo_scenes/light.h"
#include "velmo_scenes/person.h"

namespace scenes {

struct SceneSettings {
    bool still = false;       // nothing moves; noise does, unless it's off
    bool cameraNoise = true;  // without it, and while nothing moves, frames are equal to the byte
};

// A made-up scene with people who move, or with none. All of it follows from the seed: the same seed, time and size
// give the same bytes on every system. Thread: one at a time for one object.
class Scene {
 public:
    explicit Scene(std::uint64_t seed, const SceneSettings& settings = {});

    // Draws the scene at a time, from 0 up; width and height are at least 1 and at most 4096.
    void Draw(double seconds, int width, int height, Frame& frame);

    // Whether nothing but noise differs between two times.
    bool IsStillBetween(double fromSeconds, double toSeconds) const;

 private:
    // The time that the movements follow: it stands while they pause.
    float MotionTime(double seconds) const;
    void PrepareBackground(int width, int height, Point shift);
    void PaintPeople(float time, Point shift, Frame& frame);
    void PaintDesk(Point shift);

    SceneSettings m_settings;
    std::uint64_t m_seed;
    Light m_light;
    Camera m_camera;
    Random m_backdrop;             // copied for each painting, so that it's the same every time
    std::vector<Person> m_people;  // the smallest first: that's also the order from back to front
    float m_shadow = 0.0F;
    Point m_shadowOffset;
    bool m_desk = false;
    Random m_deskRandom;
    float m_pausePeriod = 0.0F;  // seconds from pause to pause, 0 without any
    float m_pauseShare = 0.0F;

    Canvas m_canvas;
    Canvas m_background;  // of the last frame, with its place
    Point m_backgroundShift;
};

}  // namespace scenes
