#include "body/activity.h"

#include <algorithm>
#include <cmath>

namespace robot {

namespace {

// One round, in seconds.
constexpr double a_round = 80;
constexpr double a_walkStart = 15;
constexpr double a_walkEnd = 50;
constexpr double a_gestureStart = 58;
constexpr double a_gestureEnd = 68;
constexpr double a_fade = 2;

/** Rises smoothly from 0 at the start to 1 after the fade. */
double fadeIn(double time, double start) {
    const double x = std::clamp((time - start) / a_fade, 0.0, 1.0);
    return x * x * (3 - 2 * x);
}

/** The integral of fadeIn() over time, from the start on. */
double fadeInArea(double time, double start) {
    const double x = std::clamp((time - start) / a_fade, 0.0, 1.0);
    return a_fade * (x * x * x - x * x * x * x / 2) + std::max(0.0, time - start - a_fade);
}

double weight(double time, double start, double end) {
    const double inRound = std::fmod(time, a_round);
    return fadeIn(inRound, start) - fadeIn(inRound, end - a_fade);
}

double walkArea(double time) {
    const double inRound = std::fmod(time, a_round);
    const double wholeRounds = (time - inRound) / a_round;
    return wholeRounds * (a_walkEnd - a_fade - a_walkStart) + fadeInArea(inRound, a_walkStart) -
           fadeInArea(inRound, a_walkEnd - a_fade);
}

}  // namespace

double Activity::walking(double time) const {
    return weight(time + fOffset, a_walkStart, a_walkEnd);
}

double Activity::gesturing(double time) const {
    return weight(time + fOffset, a_gestureStart, a_gestureEnd);
}

double Activity::walkedTime(double time) const {
    return walkArea(time + fOffset) - walkArea(fOffset);
}

const char* Activity::name(double time) const {
    if (walking(time) > 0.5) {
        return "walking";
    }
    return gesturing(time) > 0.5 ? "gesturing" : "standing";
}

}  // namespace robot
