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

// A person is seen when more than this share of the picture's area is that person's, after all that stands in front was
// painted. What else of somebody is in the mask comes without facts.
inline constexpr double kLeastSeen = 0.0004;

struct PersonFacts {
    bool visible = false;  // the middle of the head is in the picture, hidden or not; the rest is told anyway
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
    int people = 0;                      // that are seen, 0 to 2: see kLeastSeen
    std::array<PersonFacts, 2> persons;  // of these alone, the nearest (so as a rule the largest) first
    std::array<ArmState, 2> arms{ArmState::Down,
                                 ArmState::Down};  // of the nearest of these, the picture's left one first
};

}  // namespace scenes
