#pragma once

#include <cstdint>
#include <vector>

#include "velmo_scenes/camera.h"
#include "velmo_scenes/light.h"
#include "velmo_scenes/person.h"

namespace scenes {

// When everything stands for a while. Movement slows down into a pause and starts slowly after it.
struct Pauses {
    float period = 0.0F;  // seconds from one pause's end to the next one's; 0 is no pause ever
    float share = 0.0F;   // of the period that is pause, below 1

    // The time that movements follow; it stands during a pause. `seconds` is at least 0.
    float MotionTime(float seconds) const;
};

// All that a scene is made of. Painting it adds nothing.
struct Staging {
    std::uint64_t noiseSeed = 0;
    Light light;
    Light personLight;  // people stand nearer to a window or a lamp than the wall does
    Camera camera;
    Random backdrop{0};          // what PaintBackdrop is given
    std::vector<Person> people;  // two at most, the farthest first: the order from back to front
    float shadow = 0.0F;         // of people on what is behind them, 0 to 1
    Point shadowOffset;          // in half heads
    bool desk = false;
    Random deskThings{0};
    Pauses pauses;
    bool still = false;  // nothing moves at all
};

// A scene of any kind. Thread: any.
Staging DrawStaging(std::uint64_t seed);

}  // namespace scenes
