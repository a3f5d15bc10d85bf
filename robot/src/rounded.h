#ifndef OBVISTA_ROBOT_ROUNDED_H
#define OBVISTA_ROBOT_ROUNDED_H

#include <cmath>

namespace robot {

/** Rounds a reading to a resolution, which is given in steps per unit: 10 for 0.1. */
inline double rounded(double value, double perUnit) {
    return std::round(value * perUnit) / perUnit;
}

}  // namespace robot

#endif
