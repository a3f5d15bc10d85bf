#include "session/robot_clock.h"

#include <base/time.h>

#include <algorithm>

namespace memoryviewer {

namespace {

/**
 * Maximum plausible latency in microseconds: two periods of the slowest subscription would be
 * longer, but the minimum of many latencies is far below that.
 */
constexpr std::int64_t a_longestWay = 100'000;
/** Tolerance for time stamps in the future before the clocks are considered to differ. */
constexpr std::int64_t a_tolerance = 1'000;

}  // namespace

void RobotClock::see(std::int64_t stamp, std::int64_t arrival) {
    fShortestWay = std::min(fShortestWay, arrival - stamp);
    const bool canAgree = fShortestWay >= -a_tolerance && fShortestWay <= a_longestWay;
    fOffset = canAgree ? 0 : fShortestWay;
}

std::int64_t RobotClock::now() const {
    return fReplayTime ? *fReplayTime : base::microsecondsNow() - fOffset;
}

}  // namespace memoryviewer
