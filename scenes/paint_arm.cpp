#include "velmo_scenes/paint_person.h"

namespace scenes {
namespace {

struct Arm {
    const Look& look;
    const Light& light;
    const Joints& joints;
    Placing body;
    float upper;   // radius at the shoulder
    float middle;  // at the elbow
    float wrist;
};

Arm ArmOf(const Sitter& sitter, std::size_t arm) {
    const Look& look = sitter.person.look;
    const float upper = look.armRadius;
    return {look,  sitter.light, sitter.pose.arms[arm],         sitter.body,
            upper, upper * 0.8F, 0.25F + 0.1F * (upper - 0.34F)};
}

Box BoxAround(Point a, Point b, Point c, float margin) {
    const Box first = Around(a, b, margin);
    const Box second = Around(b, c, margin);
    return {{Lower(first.low.x, second.low.x), Lower(first.low.y, second.low.y)},
            {Higher(first.high.x, second.high.x), Higher(first.high.y, second.high.y)}};
}

enum class Cover { Skin, Cloth };

template <typename Shape>
void PaintPart(Canvas& canvas, const Arm& arm, const Box& box, Cover cover, Shape&& shape) {
    canvas.Paint(arm.body, box, Role::Person, 1.0F, 0.0F, shape, [&](Point p, const Surface& s) {
        const Point still = p - arm.joints.elbow;  // the texture goes along with the arm
        // Near the joint the arm goes over into the shoulder, without an edge of its own.
        const float free = SmoothStep(0.1F, 1.3F, Length(p - arm.joints.shoulder));
        const Surface round{s.distance, s.leanX * free, Mix(-0.15F, s.leanY, free)};
        const Colour colour = cover == Cover::Cloth ? ClothAt(arm.look, still) : SkinAt(arm.look, still);
        return colour * arm.light.On(round, arm.look.bulge);
    });
}

// The bare arm, as far as no sleeve hides it.
void PaintSkin(Canvas& canvas, const Arm& arm) {
    const Joints& joints = arm.joints;
    const float elbow = arm.middle * 0.92F;
    const auto fore = [&](Point p) { return Capsule(p, joints.elbow, joints.hand, elbow, arm.wrist); };
    if (arm.look.sleeve > 0.0F) {
        PaintPart(canvas, arm, Around(joints.elbow, joints.hand, arm.middle + 0.1F), Cover::Skin, fore);
        return;
    }
    const Box box = BoxAround(joints.shoulder, joints.elbow, joints.hand, arm.upper + 0.1F);
    PaintPart(canvas, arm, box, Cover::Skin, [&](Point p) {
        return Join(Capsule(p, joints.shoulder, joints.elbow, arm.upper, elbow), fore(p), 0.12F);
    });
}

// Ends on the upper arm, cut off at the hem instead of round.
void PaintShortSleeve(Canvas& canvas, const Arm& arm) {
    const Joints& joints = arm.joints;
    const Point end = Mix(joints.shoulder, joints.elbow, 1.0F + arm.look.sleeve);
    const Point way = joints.elbow - joints.shoulder;
    const float length = Higher(Length(way), 0.01F);
    PaintPart(canvas, arm, Around(joints.shoulder, end, arm.upper + 0.2F), Cover::Cloth, [&](Point p) {
        Surface s = Capsule(p, joints.shoulder, end, arm.upper + 0.09F, arm.upper + 0.06F);
        const float past = ((p.x - end.x) * way.x + (p.y - end.y) * way.y) / length;
        s.distance = Higher(s.distance, past - 0.05F);
        return s;
    });
}

void PaintLongSleeve(Canvas& canvas, const Arm& arm) {
    constexpr float kLoose = 0.06F;
    const Joints& joints = arm.joints;
    const float covered = Clamp01(arm.look.sleeve);
    const Point cuff = Mix(joints.elbow, joints.hand, covered * 0.93F);
    const float cuffRadius = Mix(arm.middle, arm.wrist, covered) + kLoose;
    const Box box = BoxAround(joints.shoulder, joints.elbow, cuff, arm.upper + 0.3F);
    PaintPart(canvas, arm, box, Cover::Cloth, [&](Point p) {
        const Surface sleeve = Join(Capsule(p, joints.shoulder, joints.elbow, arm.upper + kLoose, arm.middle + kLoose),
                                    Capsule(p, joints.elbow, cuff, arm.middle + kLoose, cuffRadius), 0.12F);
        return Loosened(arm.look, sleeve, p - joints.elbow);
    });
}

// What the forearm takes of the light on that which is behind it.
void PaintArmShade(Canvas& canvas, const Arm& arm) {
    const Point aside{0.05F - 0.2F * arm.light.x, 0.15F};
    const Point from = arm.joints.elbow + aside;
    const Point to = arm.joints.hand + aside;
    canvas.PaintShade(arm.body, Around(from, to, arm.middle + 0.4F), 0.3F, 0.6F,
                      [&](Point p) { return Capsule(p, from, to, arm.middle, arm.wrist).distance; });
}

}  // namespace

void PaintArm(Canvas& canvas, const Sitter& sitter, std::size_t index) {
    const Arm arm = ArmOf(sitter, index);
    PaintArmShade(canvas, arm);
    PaintHand(canvas, sitter, index);
    PaintSkin(canvas, arm);
    if (arm.look.sleeve > 0.0F) {
        PaintLongSleeve(canvas, arm);
    } else if (arm.look.sleeve > -0.9F) {
        PaintShortSleeve(canvas, arm);
    }
}

}  // namespace scenes
