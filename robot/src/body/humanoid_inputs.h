#ifndef OBVISTA_ROBOT_BODY_HUMANOID_INPUTS_H
#define OBVISTA_ROBOT_BODY_HUMANOID_INPUTS_H

#include "body/joint.h"

#include <robaxi/kv_value.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <string>

namespace robot {

/** Duration of a step of the humanoid. */
constexpr std::chrono::milliseconds a_stepPeriod{20};

/** Returns the seconds from the start of the run to a step. */
double stepTime(std::uint64_t step);

/** A quantity whose target changed at a step and which follows with inertia. */
struct Transition {
    double fFrom = 0;
    double fTo = 0;
    double fSince = 0;  ///< seconds since the start of the run

    /**
     * Returns its value at a time: 63 % of the way after `inertia` seconds. Before fSince it is
     * fFrom.
     */
    double at(double time, double inertia) const;

    /** Returns the transition from its value at `time` to another value. */
    Transition towards(double value, double time, double inertia) const;
};

constexpr double a_headInertia = 0.15;   ///< seconds
constexpr double a_heatInertia = 180.0;  ///< seconds
constexpr double a_gripInertia = 0.1;    ///< seconds

/**
 * The humanoid's inputs from clients: besides seed and step, its values depend only on these. They
 * result from the writes in order, so that the same writes at the same steps reproduce a run.
 */
struct HumanoidInputs {
    HumanoidInputs();

    std::array<Transition, a_jointCount> fStiffness;  ///< 0 limp to 1 held
    std::array<Transition, a_jointCount> fHeat;  ///< the stiffness as it affects the motors' heat
    std::array<Transition, 2> fHeadTarget;       ///< yaw and pitch, rad
    Transition fHeadHeld;                        ///< 0 looks around by itself, 1 holds still
    bool fHeadIdle = true;
    std::int64_t fVolume = 60;  ///< percent
    std::string fNote;
    double fLedsSince = 0;  ///< start of the newest LED animation, seconds
    double fLedsUntil = 0;  ///< its end; not after its start if there was none
};

}  // namespace robot

#endif
