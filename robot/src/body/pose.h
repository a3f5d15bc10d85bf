#ifndef OBVISTA_ROBOT_BODY_POSE_H
#define OBVISTA_ROBOT_BODY_POSE_H

#include "body/humanoid_body.h"
#include "body/joint.h"

#include <array>

namespace robot {

/** How and where the humanoid stands at an instant. */
struct Pose {
    double fTime = 0;                            ///< seconds since the start of the run
    std::array<double, a_jointCount> fJoints{};  ///< rad
    double fRoll = 0;                            ///< rad
    double fPitch = 0;                           ///< rad
    double fHeading = 0;                         ///< rad, see HumanoidBody::heading()
};

Pose poseOf(const HumanoidBody& body, double time, const HumanoidInputs& inputs);

}  // namespace robot

#endif
