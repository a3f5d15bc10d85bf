#include "body/pose.h"

namespace robot {

Pose poseOf(const HumanoidBody& body, double time, const HumanoidInputs& inputs) {
    Pose pose;
    pose.fTime = time;
    for (std::size_t joint = 0; joint < a_jointCount; ++joint) {
        pose.fJoints[joint] = body.jointPosition(joint, time, inputs);
    }
    pose.fRoll = body.roll(time);
    pose.fPitch = body.pitch(time);
    pose.fHeading = body.heading(time);
    return pose;
}

}  // namespace robot
