#ifndef OBVISTA_ROBOT_ROUNDED_H
#define OBVISTA_ROBOT_ROUNDED_H

#include <cmath>

namespace robot {

/** A reading in whole steps of a resolution, which is given as steps a unit: 10 for 0.1. */
inline double rounded(double value, double perUnit) {
    return std::round(value * perUnit) / perUnit;
}

}  // namespace robot

#endif
