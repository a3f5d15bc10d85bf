#include "change_rate.h"

#include <algorithm>

namespace memoryviewer {

namespace {

constexpr double a_microsecondsInSecond = 1e6;
constexpr double a_longestStandstill = 10;
constexpr double a_periodsOfStandstill = 3;

}  // namespace

void ChangeRate::add(std::int64_t time, int changes) {
    if (fBase == 0 || time < fLast) {
        reset();  // the first change, or the robot's clock was set back
        fBase = time;
    } else {
        fChanges += changes;
    }
    fLast = time;
}

void ChangeRate::endTurn(std::int64_t now) {
    if (fBase == 0) {
        return;
    }
    if (fChanges > 0 && fLast > fBase) {
        fMeasured = fChanges * a_microsecondsInSecond / static_cast<double>(fLast - fBase);
        fBase = fLast;
        fChanges = 0;
    }
    if (fMeasured <= 0) {
        return;
    }
    const double standstill = static_cast<double>(now - fLast) / a_microsecondsInSecond;
    const double limit = std::max(a_longestStandstill, a_periodsOfStandstill / fMeasured);
    if (standstill > limit) {
        fPerSecond = 0;
    } else {
        fPerSecond = standstill > 0 ? std::min(fMeasured, 1 / standstill) : fMeasured;
    }
}

}  // namespace memoryviewer
