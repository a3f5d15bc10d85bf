#ifndef OBVISTA_ROBOT_BODY_HUMANOID_BODY_H
#define OBVISTA_ROBOT_BODY_HUMANOID_BODY_H

#include "body/activity.h"
#include "body/humanoid_inputs.h"
#include "body/joint.h"
#include "body/noise.h"

#include <array>
#include <cstdint>

namespace robot {

/** Posture and orientation of the humanoid at one time. */
struct Pose {
    double fTime = 0;                            ///< seconds since the start of the run
    std::array<double, a_jointCount> fJoints{};  ///< rad
    double fRoll = 0;                            ///< rad
    double fPitch = 0;                           ///< rad
    double fHeading = 0;                         ///< rad, see HumanoidBody::heading()
};

/**
 * The humanoid's motion, heat and battery: pure functions of seed, time and inputs, without sensor
 * noise. Times are seconds since the start of the run.
 */
class HumanoidBody {
  public:
    explicit HumanoidBody(std::uint64_t seed);

    const Activity& activity() const { return fActivity; }

    /** Returns the target of the joint, rad; within its limits. */
    double jointTarget(std::size_t joint, double time, const HumanoidInputs& inputs) const;
    /** Returns the position of the joint, rad; within its limits. */
    double jointPosition(std::size_t joint, double time, const HumanoidInputs& inputs) const;
    double jointVelocity(std::size_t joint, double time, const HumanoidInputs& inputs) const;
    double jointCurrent(std::size_t joint, double time, const HumanoidInputs& inputs) const;
    double jointTemperature(std::size_t joint, double time, const HumanoidInputs& inputs) const;

    Pose pose(double time, const HumanoidInputs& inputs) const;
    /** Half a turn is one step of the walk, rad. */
    double gaitPhase(double time) const;
    double roll(double time) const;
    double pitch(double time) const;
    /** Returns the direction since the start of the run, rad, increasing: it walks in a circle. */
    double heading(double time) const;
    double distanceWalked(double time) const;
    /** Share of the weight on the left foot, 0 to 1. */
    double leftFootShare(double time) const;

    bool isCharging(double time) const;
    /** Percent. */
    double batteryCharge(double time) const;
    /** Positive while charging, A. */
    double batteryCurrent(double time) const;
    /** Seconds until it is empty, or full while it charges. */
    double batteryTimeLeft(double time) const;

    double ambientTemperature() const { return fAmbient; }

  private:
    double xMotion(std::size_t joint, double time) const;
    double xHeadMotion(std::size_t joint, double time, const HumanoidInputs& inputs) const;
    double xIdle(std::size_t joint, double time) const;
    double xBatteryPhase(double time) const;

    Noise fNoise;
    Activity fActivity;
    double fAmbient;
    double fBatteryOffset;
};

}  // namespace robot

#endif
