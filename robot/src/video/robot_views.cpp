#include "video/robot_views.h"

#include "video/projector.h"
#include "video/room.h"

namespace robot {

namespace {

constexpr double a_quarter = 3.14159265358979323846 / 2;
constexpr double a_circleRadius = 1.5;

constexpr double a_shoulderHeight = 1.02;
constexpr double a_shoulderWidth = 0.14;  // from the middle
constexpr double a_upperArm = 0.2;
constexpr double a_foreArm = 0.2;
constexpr double a_handLength = 0.07;

constexpr double a_headWidth = 1.12;
constexpr double a_chestWidth = 1.65;
constexpr double a_chestTilt = 0.62;

constexpr Colour a_shell{222, 226, 232};
constexpr Colour a_shade{150, 158, 170};
constexpr Colour a_joint{72, 80, 94};

/** The joints of one arm, in the order of the pose. */
struct Arm {
    std::size_t fFirst;
    double fSide;  // 1 left, -1 right
};

constexpr Arm a_leftArm{3, 1};
constexpr Arm a_rightArm{9, -1};

/** The humanoid's trunk in the room, at floor level. */
struct Trunk {
    Vector fPlace;
    Axes fAxes;
};

Trunk trunkOf(const Pose& pose) {
    // It walks in a circle to the left around the middle of the room.
    const double along = pose.fHeading - a_quarter;
    const Axes upright = Axes().yawed(pose.fHeading);
    return {{a_circleRadius * std::cos(along), a_circleRadius * std::sin(along), 0},
            upright.pitched(pose.fPitch).rolled(pose.fRoll)};
}

Vector onTrunk(const Trunk& trunk, const Vector& place) {
    return trunk.fPlace + trunk.fAxes.outside(place);
}

void drawArm(Projector& projector, const Trunk& trunk, const Pose& pose, const Arm& arm) {
    const auto joint = [&](std::size_t number) { return pose.fJoints[arm.fFirst + number]; };
    const Vector shoulder = onTrunk(trunk, {0, arm.fSide * a_shoulderWidth, a_shoulderHeight});
    const Axes upper = trunk.fAxes.pitched(joint(0)).yawed(joint(1));
    const Vector elbow = shoulder + a_upperArm * upper.fForward;
    const Axes fore = upper.rolled(joint(2)).yawed(joint(3));
    const Vector wrist = elbow + a_foreArm * fore.fForward;
    const Axes hand = fore.rolled(joint(4));
    const Vector knuckles = wrist + a_handLength * hand.fForward;
    projector.drawRod(shoulder, elbow, 0.042, a_shade);
    projector.drawBall(elbow, 0.044, a_joint);
    projector.drawRod(elbow, wrist, 0.036, a_shell);
    projector.drawRod(wrist, knuckles, 0.03, a_joint);
    // Three fingers that spread when the hand opens.
    for (const double finger : {-1.0, 0.0, 1.0}) {
        const Axes spread = hand.yawed(finger * (0.1 + 0.4 * joint(5)));
        projector.drawRod(knuckles, knuckles + 0.05 * spread.fForward, 0.01, a_shell);
    }
}

}  // namespace

void drawHeadView(Canvas& canvas, const Pose& pose) {
    const Trunk trunk = trunkOf(pose);
    const Vector neck = onTrunk(trunk, {0, 0, a_shoulderHeight + 0.12});
    const Axes head = trunk.fAxes.yawed(pose.fJoints[a_headYaw]).pitched(pose.fJoints[a_headPitch]);
    Projector projector(canvas, {neck + head.outside({0.06, 0, 0.1}), head, a_headWidth});
    drawRoom(projector, pose.fTime);
}

void drawChestView(Canvas& canvas, const Pose& pose) {
    const Trunk trunk = trunkOf(pose);
    const Vector place = onTrunk(trunk, {-0.02, 0, a_shoulderHeight + 0.06});
    Projector projector(canvas, {place, trunk.fAxes.pitched(a_chestTilt), a_chestWidth});
    drawRoom(projector, pose.fTime);
    drawArm(projector, trunk, pose, a_leftArm);
    drawArm(projector, trunk, pose, a_rightArm);
}

}  // namespace robot
