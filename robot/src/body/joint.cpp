#include "body/joint.h"

namespace robot {

namespace {

constexpr double a_left = 0;
constexpr double a_right = 3.14159265358979323846;  // half a gait cycle later

// Left and right mirror each other: pitch joints have equal signs, roll and yaw joints opposite
// ones. The gesture is made with the right arm.
// clang-format off
constexpr std::array<Joint, a_jointCount> a_joints{{
    // name                min    max    rest   idle  offset  swing  phase            gesture load
    {"HeadYaw",           -2.00,  2.00,  0.00, 0.450,  0.00,  0.06, a_left,             0.20, 0.10},
    {"HeadPitch",         -0.65,  0.50, -0.05, 0.120,  0.05,  0.02, a_left,            -0.10, 0.15},
    {"WaistYaw",          -0.80,  0.80,  0.00, 0.030,  0.00,  0.08, a_right,            0.15, 0.25},
    {"LeftShoulderPitch", -2.00,  2.00,  1.40, 0.030,  0.10,  0.35, a_right,            0.00, 0.30},
    {"LeftShoulderRoll",  -0.30,  1.30,  0.15, 0.020,  0.05,  0.03, a_right,            0.00, 0.20},
    {"LeftElbowYaw",      -2.00,  2.00, -1.20, 0.030,  0.00,  0.05, a_right,            0.00, 0.10},
    {"LeftElbowRoll",     -1.50, -0.03, -0.45, 0.030, -0.30,  0.15, a_right,            0.00, 0.15},
    {"LeftWristYaw",      -1.80,  1.80,  0.00, 0.040,  0.00,  0.00, a_right,            0.00, 0.05},
    {"LeftHand",           0.00,  1.00,  0.30, 0.050,  0.10,  0.00, a_right,            0.00, 0.05},
    {"RightShoulderPitch",-2.00,  2.00,  1.40, 0.030,  0.10,  0.35, a_left,            -2.30, 0.30},
    {"RightShoulderRoll", -1.30,  0.30, -0.15, 0.020, -0.05,  0.03, a_left,            -0.40, 0.20},
    {"RightElbowYaw",     -2.00,  2.00,  1.20, 0.030,  0.00,  0.05, a_left,            -0.60, 0.10},
    {"RightElbowRoll",     0.03,  1.50,  0.45, 0.030,  0.30,  0.15, a_left,             0.60, 0.15},
    {"RightWristYaw",     -1.80,  1.80,  0.00, 0.040,  0.00,  0.00, a_left,             0.30, 0.05},
    {"RightHand",          0.00,  1.00,  0.30, 0.050,  0.10,  0.00, a_left,             0.60, 0.05},
    {"LeftHipYaw",        -0.80,  0.60,  0.00, 0.004,  0.00,  0.06, a_left,             0.00, 0.40},
    {"LeftHipRoll",       -0.40,  0.70,  0.02, 0.006,  0.00,  0.10, a_left,             0.00, 0.60},
    {"LeftHipPitch",      -1.60,  0.50, -0.20, 0.008, -0.15,  0.35, a_left,             0.00, 0.90},
    {"LeftKneePitch",     -0.10,  2.00,  0.40, 0.010,  0.30,  0.30, a_left + 0.9,       0.00, 1.20},
    {"LeftAnklePitch",    -1.10,  0.90, -0.20, 0.008, -0.10,  0.20, a_left + 1.8,       0.00, 0.80},
    {"RightHipYaw",       -0.60,  0.80,  0.00, 0.004,  0.00,  0.06, a_right,            0.00, 0.40},
    {"RightHipRoll",      -0.70,  0.40, -0.02, 0.006,  0.00,  0.10, a_left,             0.00, 0.60},
    {"RightHipPitch",     -1.60,  0.50, -0.20, 0.008, -0.15,  0.35, a_right,            0.00, 0.90},
    {"RightKneePitch",    -0.10,  2.00,  0.40, 0.010,  0.30,  0.30, a_right + 0.9,      0.00, 1.20},
    {"RightAnklePitch",   -1.10,  0.90, -0.20, 0.008, -0.10,  0.20, a_right + 1.8,      0.00, 0.80},
}};
// clang-format on

}  // namespace

const std::array<Joint, a_jointCount>& joints() {
    return a_joints;
}

std::string jointKey(const Joint& joint, const char* figure) {
    return std::string("Joint/") + joint.fName + '/' + figure;
}

}  // namespace robot
