#ifndef OBVISTA_ROBOT_BODY_JOINT_H
#define OBVISTA_ROBOT_BODY_JOINT_H

#include <array>
#include <cstddef>
#include <string>

namespace robot {

/** One joint of the humanoid: its limits and how it takes part in each motion. */
struct Joint {
    const char* fName;
    double fMin;         ///< lower limit, rad
    double fMax;         ///< upper limit, rad
    double fRest;        ///< where it stands at rest, rad
    double fIdle;        ///< amplitude of its small motions at rest, rad
    double fWalkOffset;  ///< how far walking shifts it from rest, rad
    double fWalkSwing;   ///< amplitude once a gait cycle, rad
    double fWalkPhase;   ///< its place in the gait cycle, rad
    double fGesture;     ///< how far a gesture lifts it, rad
    double fLoad;        ///< current that it draws to hold the body, A
};

constexpr std::size_t a_jointCount = 25;
constexpr std::size_t a_headYaw = 0;
constexpr std::size_t a_headPitch = 1;

/** The humanoid's joints; the head's are the first two. */
const std::array<Joint, a_jointCount>& joints();

/** The key of one figure of a joint, for instance "Joint/HeadYaw/Position". */
std::string jointKey(const Joint& joint, const char* figure);

}  // namespace robot

#endif
