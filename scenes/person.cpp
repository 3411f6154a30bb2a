#include "velmo_scenes/person.h"

#include "velmo_scenes/value_noise.h"

namespace scenes {
namespace {

struct Range {
    float low, high;
    float Pick(Random& random) const { return random.Between(low, high); }
};

// One way to hold an arm, in the order of Gesture.
struct Habit {
    float share;  // how often, against the others
    Range upperDegrees, upperReach, foreDegrees, foreReach, handSize;
    float waving;  // degrees by which the forearm swings
};

constexpr std::array<Habit, 13> kHabits{{
    {16, {2, 16}, {0.9F, 1.0F}, {-8, 12}, {0.85F, 1.0F}, {0.9F, 1.0F}, 0},       // hangs
    {16, {4, 24}, {0.8F, 1.0F}, {-80, -30}, {0.5F, 0.95F}, {0.9F, 1.15F}, 2},    // on the desk
    {7, {8, 26}, {0.8F, 1.0F}, {-45, -15}, {0.6F, 0.9F}, {0.9F, 1.0F}, 0},       // in the lap
    {7, {-2, 14}, {0.8F, 0.95F}, {-98, -78}, {0.85F, 1.05F}, {0.9F, 1.0F}, 0},   // crossed
    {7, {2, 26}, {0.75F, 0.95F}, {-168, -138}, {0.85F, 1.0F}, {0.9F, 1.0F}, 2},  // at the chin
    {9, {25, 85}, {0.8F, 1.0F}, {145, 195}, {0.85F, 1.0F}, {0.95F, 1.1F}, 22},   // waves
    {6, {135, 176}, {0.85F, 1.0F}, {150, 190}, {0.85F, 1.0F}, {0.9F, 1.0F}, 8},  // up
    {8, {65, 105}, {0.85F, 1.0F}, {65, 125}, {0.7F, 1.0F}, {0.9F, 1.0F}, 6},     // out
    {4, {38, 55}, {0.85F, 1.0F}, {-48, -25}, {0.8F, 1.0F}, {0.9F, 1.0F}, 0},     // on the hip
    {9, {8, 35}, {0.7F, 0.95F}, {85, 160}, {0.6F, 0.95F}, {0.95F, 1.15F}, 12},   // speaks with the hand
    {5, {15, 40}, {0.45F, 0.8F}, {-170, 60}, {0.15F, 0.5F}, {1.2F, 1.7F}, 5},    // reaches for the viewer
    {4, {50, 95}, {0.75F, 0.95F}, {-178, -140}, {0.8F, 1.0F}, {0.9F, 1.0F}, 2},  // at the head
    {5, {8, 30}, {0.8F, 0.95F}, {-140, -100}, {0.7F, 0.95F}, {0.9F, 1.1F}, 6},   // before the chest
}};

const Habit& PickHabit(Random& random) {
    float total = 0.0F;
    for (const Habit& habit : kHabits)
        total += habit.share;
    float at = random.Unit() * total;
    for (const Habit& habit : kHabits) {
        at -= habit.share;
        if (at < 0.0F) return habit;
    }
    return kHabits.front();
}

struct HeldPose {
    ArmPose pose;
    float waving = 0.0F;
};

HeldPose PoseOf(const Habit& habit, Random& random) {
    HeldPose held;
    held.pose.upperDegrees = habit.upperDegrees.Pick(random);
    held.pose.upperReach = habit.upperReach.Pick(random);
    held.pose.foreDegrees = habit.foreDegrees.Pick(random);
    held.pose.foreReach = habit.foreReach.Pick(random);
    held.pose.handSize = habit.handSize.Pick(random);
    held.pose.spread = random.Unit();
    held.waving = habit.waving;
    return held;
}

// What the arm does around the key moment `key`.
HeldPose PoseOfKey(const Motion& motion, int arm, std::int32_t key) {
    Random random(motion.seed + static_cast<std::uint64_t>(static_cast<std::uint32_t>(key)) * 8191U);
    if (!motion.script.empty()) {
        const auto length = static_cast<std::int32_t>(motion.script.size());
        const auto step = static_cast<std::size_t>((key % length + length) % length);
        const Gesture gesture = motion.script[step][static_cast<std::size_t>(arm)];
        return PoseOf(kHabits[static_cast<std::size_t>(gesture)], random);
    }
    const bool changes = random.Chance(motion.liveliness);
    const bool both = random.Chance(0.35F);
    Random shared = random.Fork();
    Random own(motion.seed * 3U + static_cast<std::uint64_t>(arm) * 77U +
               (changes ? static_cast<std::uint64_t>(static_cast<std::uint32_t>(key)) * 131U : 1U));
    return both && changes ? PoseOf(PickHabit(shared), shared) : PoseOf(PickHabit(own), own);
}

ArmPose ArmAt(const Motion& motion, int arm, float seconds) {
    const float keys = seconds / motion.secondsPerPose;
    const std::int32_t key = FloorToInt(keys);
    const HeldPose from = PoseOfKey(motion, arm, key);
    const HeldPose to = PoseOfKey(motion, arm, key + 1);
    const float share = SmoothStep(0.3F, 0.85F, keys - static_cast<float>(key));
    const float swing = Mix(from.waving, to.waving, share) * motion.sway * SineOfTurns(seconds * 1.7F);
    return {Mix(from.pose.upperDegrees, to.pose.upperDegrees, share),
            Mix(from.pose.upperReach, to.pose.upperReach, share),
            Mix(from.pose.foreDegrees, to.pose.foreDegrees, share) + swing,
            Mix(from.pose.foreReach, to.pose.foreReach, share),
            Mix(from.pose.handSize, to.pose.handSize, share),
            Mix(from.pose.spread, to.pose.spread, share)};
}

Joints JointsOf(const ArmPose& pose, float side, const Look& look) {
    constexpr float kUpper = 2.7F;
    constexpr float kFore = 2.3F;
    const auto limb = [&](float degrees, float length) {
        return Point{side * SineOfDegrees(degrees) * length, CosineOfDegrees(degrees) * length};
    };
    Joints joints;
    joints.shoulder = {side * look.shoulder, 0.3F};
    joints.elbow = joints.shoulder + limb(pose.upperDegrees, kUpper * pose.upperReach);
    joints.hand = joints.elbow + limb(pose.foreDegrees, kFore * pose.foreReach);
    return joints;
}

void DrawHead(Look& look, Random& random) {
    static constexpr std::array<Hair, 24> kHair{
        {Hair::Bald,   Hair::Cropped, Hair::Cropped, Hair::Short, Hair::Short, Hair::Short, Hair::Short,  Hair::Fringe,
         Hair::Fringe, Hair::Bob,     Hair::Bob,     Hair::Bob,   Hair::Long,  Hair::Long,  Hair::Long,   Hair::Long,
         Hair::Curly,  Hair::Curly,   Hair::Afro,    Hair::Bun,   Hair::Tail,  Hair::Cap,   Hair::Beanie, Hair::Scarf}};
    look.skin = DrawSkinColour(random);
    look.hairColour = DrawHairColour(random);
    look.hair = kHair[static_cast<std::size_t>(random.Index(static_cast<int>(kHair.size())))];
    look.headWidth = random.Between(0.66F, 0.84F);
    look.jaw = random.Between(0.72F, 0.92F);
    look.hairVolume = random.Between(0.06F, 0.28F);
    look.hairLength = random.Between(1.2F, 4.2F);
    look.hairCurl = random.Chance(0.5F) ? random.Between(0.0F, 0.05F) : random.Between(0.03F, 0.16F);
    look.hairSoft = random.Chance(0.5F) ? random.Between(0.02F, 0.14F) : 0.0F;
    look.hairline = random.Between(-0.12F, 0.14F);
    look.smile = random.Between(-0.4F, 1.0F);
    look.beard = random.Chance(0.25F) ? random.Between(0.3F, 1.0F) : 0.0F;
    look.glasses = random.Chance(0.28F);
    look.darkGlasses = look.glasses && random.Chance(0.2F);
    look.headphones = random.Chance(0.08F);
    look.fromBehind = random.Chance(0.03F);
}

void DrawBody(Look& look, Random& random, Colour rich) {
    look.cloth = DrawClothColour(random);
    look.clothSecond = DrawClothColour(random);
    look.trousers = DrawClothColour(random);
    look.clothes = static_cast<Clothes>(random.Index(7));
    look.pattern = random.Chance(0.55F) ? Pattern::Plain : static_cast<Pattern>(1 + random.Index(7));
    look.patternScale = random.Between(0.8F, 4.0F);
    look.shoulder = random.Between(1.4F, 2.0F);
    look.waist = look.shoulder * random.Between(0.72F, 1.15F);
    look.hem = random.Chance(0.85F) ? random.Between(4.9F, 5.7F) : random.Between(6.2F, 8.8F);
    if (look.hem > 6.0F) look.waist *= random.Between(0.9F, 1.25F);
    look.loose = random.Chance(0.6F) ? random.Between(0.02F, 0.13F) : 0.0F;
    look.neck = random.Between(0.33F, 0.5F);
    look.armRadius = random.Between(0.34F, 0.52F);
    look.sleeve = random.Chance(0.55F) ? random.Between(0.75F, 1.0F) : random.Between(-0.7F, 0.7F);
    if (look.clothes == Clothes::TShirt) look.sleeve = random.Between(-0.7F, 0.0F);
    if (look.clothes == Clothes::Sleeveless) look.sleeve = -0.95F;
    if (look.clothes == Clothes::Jacket || look.clothes == Clothes::Hoodie) look.sleeve = 0.95F;
    if (random.Chance(0.16F)) look.cloth = rich * random.Between(0.85F, 1.15F);
    if (random.Chance(0.04F)) look.cloth = look.skin * random.Between(0.9F, 1.1F);
    look.chair = random.Chance(0.2F);
    look.chairColour = DrawThingColour(random);
    look.bulge = random.Between(0.55F, 0.95F);
    look.grain = {random.Between(0.0F, 32.0F), random.Between(0.0F, 32.0F)};
}

// Where the person sits or stands: mostly as in a video call.
void DrawFraming(Person& person, Random& random) {
    const float kind = random.Unit();
    person.column = 0.5F + 0.36F * random.Bell();
    float headRow = random.Between(0.26F, 0.5F);
    if (kind < 0.56F) {
        person.scale = random.Between(0.11F, 0.22F);
    } else if (kind < 0.67F) {
        person.scale = random.Between(0.22F, 0.42F);
        headRow = random.Between(0.35F, 0.6F);
    } else if (kind < 0.82F) {
        person.scale = random.Between(0.07F, 0.12F);
        headRow = random.Between(0.15F, 0.55F);
    } else if (kind < 0.90F) {
        person.scale = random.Between(0.045F, 0.068F);
        headRow = random.Between(0.08F, 0.26F);
        person.look.standing = true;
    } else {
        person.scale = random.Between(0.022F, 0.06F);
        headRow = random.Between(0.2F, 0.6F);
        person.look.standing = true;
        person.column = random.Between(0.05F, 0.95F);
    }
    if (random.Chance(0.07F))
        person.column = random.Chance(0.5F) ? random.Between(-0.08F, 0.1F) : random.Between(0.9F, 1.08F);
    person.row = headRow + person.scale * 2.0F;
    const float tilt = random.Bell();
    person.leanDegrees = tilt * (random.Chance(0.1F) ? 25.0F : 6.0F);
}

}  // namespace

Person DrawPerson(Random& random, Colour rich) {
    Person person;
    DrawHead(person.look, random);
    DrawBody(person.look, random, rich);
    DrawFraming(person, random);
    person.turn = random.Chance(0.25F) ? random.Between(-0.9F, 0.9F) : 0.3F * random.Bell();
    person.motion.seed = random.Bits();
    person.motion.secondsPerPose = random.Between(1.0F, 3.0F);
    person.motion.liveliness = random.Chance(0.5F) ? random.Unit() : 0.1F;
    person.motion.sway = random.Between(0.2F, 1.4F);
    if (random.Chance(0.1F)) person.held = static_cast<Held>(1 + random.Index(3));
    person.holdingArm = random.Index(2);
    return person;
}

Pose PoseAt(const Person& person, float seconds, float aspect) {
    const ValueNoise& noise = ValueNoise::Instance();
    const float start = static_cast<float>(person.motion.seed & 0xFFFU) * (1.0F / 128.0F);
    const float sway = person.motion.sway;
    const auto drift = [&](float rate, float line) { return noise.SoftAt(start + seconds * rate, line); };
    Pose pose;
    pose.scale = person.scale * Lower(1.0F, aspect * 0.75F) * (1.0F + 0.05F * sway * drift(0.03F, 1.1F));
    pose.origin = {person.column * aspect + pose.scale * 0.9F * sway * drift(0.04F, 2.3F),
                   person.row + pose.scale * 0.25F * sway * drift(0.05F, 3.4F)};
    pose.leanDegrees = person.leanDegrees + 6.0F * sway * drift(0.05F, 4.7F);
    pose.headDegrees = 9.0F * sway * drift(0.08F, 5.2F) - person.leanDegrees * 0.4F;
    pose.head = {0.3F * sway * drift(0.07F, 6.9F) + 0.015F * pose.headDegrees,
                 -1.95F + 0.12F * sway * drift(0.1F, 8.3F)};
    pose.turn = Clamp(person.turn + sway * (0.5F * drift(0.03F, 9.6F) + 0.3F * drift(0.09F, 10.2F)), -1.0F, 1.0F);
    pose.mouth = Clamp01(2.0F * drift(0.5F, 11.8F));
    pose.eyesShut = Fraction(seconds * 0.27F + start) < 0.04F;
    for (int arm = 0; arm < 2; ++arm) {
        const auto index = static_cast<std::size_t>(arm);
        pose.armPoses[index] = ArmAt(person.motion, arm, seconds);
        pose.arms[index] = JointsOf(pose.armPoses[index], arm == 0 ? -1.0F : 1.0F, person.look);
    }
    return pose;
}

}  // namespace scenes
