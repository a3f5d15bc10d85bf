#include "body/humanoid_inputs.h"

#include <cmath>

namespace robot {

double stepTime(std::uint64_t step) {
    return static_cast<double>(step) * static_cast<double>(a_stepPeriod.count()) / 1000.0;
}

double Transition::at(double time, double inertia) const {
    if (time <= fSince) {
        return fFrom;
    }
    return fTo + (fFrom - fTo) * std::exp((fSince - time) / inertia);
}

Transition Transition::towards(double value, double time, double inertia) const {
    return {at(time, inertia), value, time};
}

HumanoidInputs::HumanoidInputs() {
    const Transition held{1, 1, 0};
    fStiffness.fill(held);
    fHeat.fill(held);
}

}  // namespace robot
