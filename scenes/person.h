#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "velmo_scenes/colour.h"
#include "velmo_scenes/shapes.h"

namespace scenes {

enum class Hair { Bald, Cropped, Short, Fringe, Bob, Long, Curly, Afro, Bun, Tail, Cap, Beanie, Scarf };
enum class Clothes { Shirt, TShirt, VNeck, Sleeveless, Hoodie, Jacket, Turtleneck };
enum class Pattern { Plain, Across, Down, Plaid, Dots, Patches, Print, Gradient };
enum class Gesture { Hang, Desk, Lap, Crossed, Chin, Wave, Up, Out, Hip, Speak, Reach, Head, Chest };
enum class Held { Nothing, Cup, Phone, Paper };

// What a person looks like. Lengths are in half heights of the head.
struct Look {
    Colour skin;
    Colour hairColour;
    Colour cloth;
    Colour clothSecond;
    Colour trousers;
    Hair hair = Hair::Short;
    Clothes clothes = Clothes::TShirt;
    Pattern pattern = Pattern::Plain;
    float patternScale = 3.0F;
    float headWidth = 0.74F;  // half of it
    float jaw = 0.8F;         // its share of the head's width
    float shoulder = 1.7F;    // half of the width between the arms' joints
    float waist = 1.4F;       // half of its width
    float neck = 0.4F;
    float hem = 5.2F;    // where the upper clothes end, below the shoulders
    float loose = 0.0F;  // how far folds bulge beyond the body
    float armRadius = 0.42F;
    float hairVolume = 0.15F;
    float hairLength = 2.0F;
    float hairCurl = 0.05F;
    float hairline = 0.0F;
    float hairSoft = 0.0F;  // width of the hair's outline, where single hairs stand out
    float smile = 0.0F;     // below 0: the mouth's corners hang
    float beard = 0.0F;     // 0 none to 1 full
    float sleeve = 1.0F;    // share of the forearm that cloth covers; below 0 the upper arm is bare from there on
    bool glasses = false;
    bool darkGlasses = false;
    bool headphones = false;
    bool fromBehind = false;
    bool standing = false;
    bool chair = false;
    Colour chairColour;
    float bulge = 0.8F;  // how round the light makes everything
    Point grain;         // where this person's textures begin
};

struct ArmPose {
    float upperDegrees = 8.0F;  // 0 hangs down, 90 points out to the side, 180 up; below 0 towards the other side
    float upperReach = 1.0F;    // 1 in the picture's plane, less when it points to the viewer
    float foreDegrees = 5.0F;
    float foreReach = 1.0F;
    float handSize = 1.0F;
    float spread = 0.5F;  // of the fingers: 0 is a fist
};

struct Joints {
    Point shoulder, elbow, hand;
};

// A moment of a person's movement, in the person's coordinates: the origin between the shoulders, the unit half a head.
struct Pose {
    Point origin;  // in the picture, of height 1
    float scale = 0.1F;
    float leanDegrees = 0.0F;
    Point head;
    float headDegrees = 0.0F;
    float turn = 0.0F;   // of the face, -1 to 1
    float mouth = 0.0F;  // open: 1
    bool eyesShut = false;
    std::array<ArmPose, 2> armPoses;
    std::array<Joints, 2> arms;  // the picture's left one first
};

// How a person moves; everything follows from the seed and the time.
struct Motion {
    std::uint64_t seed = 0;
    float secondsPerPose = 2.0F;
    float liveliness = 1.0F;  // 0 holds one pose
    float sway = 1.0F;
    // What the picture's left arm and its right one do, pose by pose and from the start again; empty: what comes by
    // chance.
    std::vector<std::array<Gesture, 2>> script;
};

struct Person {
    Look look;
    Motion motion;
    float column = 0.5F;  // of the point between the shoulders, share of the picture's width
    float row = 0.7F;     // share of its height
    float scale = 0.13F;  // half a head in picture heights
    float leanDegrees = 0.0F;
    float turn = 0.0F;  // of the face, about which it moves
    Held held = Held::Nothing;
    int holdingArm = 0;
};

// A person somewhere in the picture; `rich` is a colour of the background, which clothes take at times.
Person DrawPerson(Random& random, Colour rich);

// The pose at a time in seconds. Thread: any.
Pose PoseAt(const Person& person, float seconds, float aspect);

}  // namespace scenes
