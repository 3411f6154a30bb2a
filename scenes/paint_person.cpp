#include "velmo_scenes/paint_person.h"

namespace scenes {
namespace {

// Whether the arm is in front of all else. One that hangs at the side may as well be behind.
bool InFront(const Sitter& sitter, std::size_t arm) {
    const Joints& joints = sitter.pose.arms[arm];
    const float side = arm == 0 ? -1.0F : 1.0F;
    return side * joints.hand.x < sitter.person.look.shoulder || joints.hand.y < 1.0F ||
           sitter.pose.armPoses[arm].handSize > 1.1F;
}

}  // namespace

Sitter MakeSitter(const Person& person, const Pose& pose, const Light& light) {
    const Placing upright{pose.origin, pose.scale, 1.0F, 0.0F};
    const Placing body = upright.Within({}, pose.leanDegrees);
    return {person, pose, light, body, body.Within(pose.head, pose.headDegrees)};
}

void PaintPerson(Canvas& canvas, const Sitter& sitter) {
    PaintChair(canvas, sitter);
    PaintHairBehind(canvas, sitter);
    PaintLegs(canvas, sitter);
    for (std::size_t arm = 0; arm < 2; ++arm) {
        if (!InFront(sitter, arm)) PaintArm(canvas, sitter, arm);
    }
    PaintNeck(canvas, sitter);
    PaintTorso(canvas, sitter);
    PaintHead(canvas, sitter);
    PaintHairInFront(canvas, sitter);
    for (std::size_t arm = 0; arm < 2; ++arm) {
        if (InFront(sitter, arm)) PaintArm(canvas, sitter, arm);
    }
}

void PaintShadow(Canvas& canvas, const Sitter& sitter, Point offset, float strength) {
    const Look& look = sitter.person.look;
    const Point head = sitter.pose.head + offset;
    const Box box{{-5.0F + offset.x, -5.5F + offset.y}, {5.0F + offset.x, 8.0F + offset.y}};
    canvas.PaintShade(sitter.body, box, strength, 1.4F, [&](Point p) {
        const Surface body =
            Capsule(p, Point{0.0F, 1.4F} + offset, Point{0.0F, 5.0F} + offset, look.shoulder, look.shoulder);
        return Join(Ellipse(p, head, look.headWidth, 1.0F), body, 0.6F).distance;
    });
}

}  // namespace scenes
