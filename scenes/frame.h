#pragma once

#include <array>
#include <cstdint>
#include <vector>

namespace scenes {

// Where an arm is: judged by the hand and the joint at the shoulder.
enum class ArmState {
    Down,    // hanging, on a desk, crossed, or before the body
    Out,     // the hand well out to the side
    Raised,  // the hand above the shoulder
};

struct PersonFacts {
    bool visible = false;  // the middle of the head is in the picture; the rest is told anyway
    float headX = 0.0F;    // in pixels from the left, and from the top
    float headY = 0.0F;
    float headHalfWidth = 0.0F;  // in pixels, without hair
    float headHalfHeight = 0.0F;
};

// A drawn picture and what is true of it.
struct Frame {
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> rgb;       // width x height x 3, row by row
    std::vector<std::uint8_t> mask;      // width x height: the share of the pixel that is a person, 255 is all of it
    int people = 0;                      // that can be seen, 0 to 2
    std::array<PersonFacts, 2> persons;  // the largest first; `people` of them
    std::array<ArmState, 2> arms{ArmState::Down,
                                 ArmState::Down};  // of the largest person, the picture's left one first
};

}  // namespace scenes
