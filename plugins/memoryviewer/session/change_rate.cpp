#include "session/change_rate.h"

#include <base/time.h>

#include <algorithm>

namespace memoryviewer {

namespace {

constexpr double a_windowSeconds = 5;
/**
 * For the way through the network and this program, in addition to the wait for the robot's update.
 */
constexpr double a_wayOfAChange = 0.3;
constexpr double a_longestStandstill = 10;
constexpr double a_periodsOfStandstill = 3;
/**
 * Changes closer together than this many periods of the robot's updates may hide others: neither
 * the updates nor the changes are exactly periodic.
 */
constexpr double a_periodsThatHide = 1.2;
/** Shown as nothing, since two decimals would be zeros. */
constexpr double a_lowestRate = 0.005;

double secondsBetween(std::int64_t earlier, std::int64_t later) {
    return static_cast<double>(later - earlier) / base::a_microsecondsPerSecond;
}

}  // namespace

void ChangeTimes::add(std::int64_t time) {
    if (time < fLast) {
        *this = ChangeTimes(time);
    } else if (time > fLast) {
        fShortestGap = std::min(fShortestGap, time - fLast);
        fLast = time;
        ++fCount;
    }
}

void ChangeRate::setUpdateRate(double updatesPerSecond) {
    if (updatesPerSecond == fUpdateRate) {
        return;
    }
    if (fUpdateRate == 0) {
        *this = ChangeRate();
    } else if (updatesPerSecond > 0 && fBase != 0) {
        // Changes at the previous rate say nothing about future ones; the displayed rate is kept
        // until then.
        xBegin(fLast);
    }
    fUpdateRate = updatesPerSecond;
}

void ChangeRate::xBegin(std::int64_t time) {
    fTurns = {};
    fBase = time;
    fLast = time;
}

void ChangeRate::add(const ChangeTimes& times, std::int64_t now) {
    if (fUpdateRate == 0) {
        return;
    }
    const bool isBeginning = fBase == 0 || times.first() < fLast;
    // A key that is subscribed again is sent again.
    const bool isKnown = isBeginning || times.first() == fLast;
    if (isBeginning) {
        xBegin(times.first());
        fArrival = now;
    }
    const int changes = isKnown ? times.count() - 1 : times.count();
    if (changes == 0) {
        return;
    }
    Turn& turn = fTurns.back();
    if (turn.fChanges == 0) {
        turn.fFirst = times.first();
    }
    turn.fChanges += changes;
    turn.fLast = times.last();
    turn.fShortestGap = std::min(turn.fShortestGap, times.shortestGap());
    if (!isKnown) {
        turn.fShortestGap = std::min(turn.fShortestGap, times.first() - fLast);
        turn.fLongestGap = std::max(turn.fLongestGap, times.first() - fLast);
    }
    fLast = times.last();
    fArrival = now;
}

ChangeRate::Turn ChangeRate::xSum() const {
    Turn sum;
    for (const Turn& turn : fTurns) {
        if (turn.fChanges == 0) {
            continue;
        }
        sum.fFirst = sum.fChanges == 0 ? turn.fFirst : sum.fFirst;
        sum.fChanges += turn.fChanges;
        sum.fLast = turn.fLast;
        sum.fShortestGap = std::min(sum.fShortestGap, turn.fShortestGap);
        sum.fLongestGap = std::max(sum.fLongestGap, turn.fLongestGap);
    }
    return sum;
}

void ChangeRate::endTurn(std::int64_t now) {
    if (fBase == 0 || fUpdateRate == 0) {
        return;
    }
    const Turn sum = xSum();
    if (sum.fChanges > 0) {
        xMeasure(sum);
    }
    xShow(sum, now);
    xStartTurn();
}

/**
 * Calculates the span of the changes: from the previous change, unless the key only then began to
 * change.
 */
void ChangeRate::xMeasure(const Turn& sum) {
    const bool hasJustBegun =
        sum.fChanges > 1 && secondsBetween(fBase, sum.fFirst) > a_windowSeconds;
    fSpan = hasJustBegun ? std::max(secondsBetween(sum.fFirst, sum.fLast), a_windowSeconds)
                         : secondsBetween(fBase, sum.fLast);
    fMeasured = std::min(sum.fChanges / fSpan, fUpdateRate);
    fPause =
        hasJustBegun ? 0 : static_cast<double>(sum.fLongestGap) / base::a_microsecondsPerSecond;
    const double hiding = a_periodsThatHide / fUpdateRate;
    fIsLowerBound = fMeasured * hiding > 1 ||
                    static_cast<double>(sum.fShortestGap) / base::a_microsecondsPerSecond < hiding;
}

void ChangeRate::xShow(const Turn& sum, std::int64_t now) {
    fPerSecond = fMeasured;
    if (fMeasured <= 0) {
        return;
    }
    const double standstill = secondsBetween(fArrival, now) - a_wayOfAChange - 1 / fUpdateRate;
    const double period = 1 / fMeasured;
    const double overdue = standstill - std::max(fPause, period);
    if (standstill > std::max(a_longestStandstill, a_periodsOfStandstill * period)) {
        fPerSecond = 0;
    } else if (overdue > 0) {
        fPerSecond = sum.fChanges > 0 ? sum.fChanges / (fSpan + overdue) : 1 / standstill;
    }
    fPerSecond = fPerSecond < a_lowestRate ? 0 : fPerSecond;
}

void ChangeRate::xStartTurn() {
    if (fTurns.front().fChanges > 0) {
        fBase = fTurns.front().fLast;
    }
    std::move(fTurns.begin() + 1, fTurns.end(), fTurns.begin());
    fTurns.back() = Turn();
}

}  // namespace memoryviewer
