#ifndef OBVISTA_ROBOT_BODY_JOINT_H
#define OBVISTA_ROBOT_BODY_JOINT_H

#include <array>
#include <cstddef>
#include <string>

namespace robot {

/** One joint of the humanoid: its limits and its part in each motion. */
struct Joint {
    const char* fName;
    double fMin;         ///< lower limit, rad
    double fMax;         ///< upper limit, rad
    double fRest;        ///< position at rest, rad
    double fIdle;        ///< amplitude of its small motions at rest, rad
    double fWalkOffset;  ///< shift from rest while walking, rad
    double fWalkSwing;   ///< amplitude once a gait cycle, rad
    double fWalkPhase;   ///< phase in the gait cycle, rad
    double fGesture;     ///< amplitude of a gesture, rad
    double fLoad;        ///< current for holding the body, A
};

constexpr std::size_t a_jointCount = 25;
constexpr std::size_t a_headYaw = 0;
constexpr std::size_t a_headPitch = 1;

/** The humanoid's joints; the head's are the first two. */
const std::array<Joint, a_jointCount>& joints();

/** Returns the key of one quantity of a joint, for instance "Joint/HeadYaw/Position". */
std::string jointKey(const Joint& joint, const char* figure);

}  // namespace robot

#endif
