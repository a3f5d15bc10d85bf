#include "retry_schedule.h"

#include <algorithm>
#include <utility>

namespace obvista {

namespace {

using Duration = RetrySchedule::Clock::duration;

constexpr Duration a_firstDelay = std::chrono::milliseconds(500);
constexpr Duration a_longestDelay = std::chrono::seconds(5);
constexpr double a_jitter = 0.25;

}  // namespace

RetrySchedule::RetrySchedule(Clock::time_point lost, Random random)
    : fRandom(std::move(random)), fDelay(a_firstDelay) {
    xWait(lost);
}

void RetrySchedule::attemptFailed(Clock::time_point now) {
    fDelay = std::min(2 * fDelay, a_longestDelay);
    xWait(now);
}

void RetrySchedule::hurry(Clock::time_point now) {
    fDelay = a_firstDelay;
    fNext = now;
}

void RetrySchedule::xWait(Clock::time_point now) {
    const std::chrono::duration<double> delay = fDelay;
    fNext = now + std::chrono::duration_cast<Duration>(delay * (1 - a_jitter * fRandom()));
}

}  // namespace obvista
