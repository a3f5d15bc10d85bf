#ifndef OBVISTA_MEMORYVIEWER_ROBOT_CLOCK_H
#define OBVISTA_MEMORYVIEWER_ROBOT_CLOCK_H

#include <cstdint>
#include <optional>

namespace memoryviewer {

/**
 * The robot's clock as estimated from this computer, for the age of its values.
 *
 * The minimum time between a change at the robot and its arrival is the difference of the two
 * clocks plus the latency. As long as that can be the latency alone, the clocks are assumed to
 * agree, as they do on one machine, or if they are set over the network.
 */
class RobotClock {
  public:
    /**
     * Takes note of a change that happened while its key was subscribed to.
     *
     * @param stamp of the change, microseconds since 1970-01-01 UTC by the robot's clock
     * @param arrival by this machine's clock
     */
    void see(std::int64_t stamp, std::int64_t arrival);

    /**
     * Sets the time of a robot that is a replay, whose clock stands still while it is paused; from
     * then on nothing is estimated, until the time is nothing.
     */
    void setReplayTime(std::optional<std::int64_t> time) { fReplayTime = time; }
    bool isReplay() const { return fReplayTime.has_value(); }

    /** Returns the current time of the robot's clock, in microseconds since 1970-01-01 UTC. */
    std::int64_t now() const;

  private:
    std::int64_t fShortestWay = INT64_MAX;
    std::int64_t fOffset = 0;  // this machine's clock minus the robot's
    std::optional<std::int64_t> fReplayTime;
};

}  // namespace memoryviewer

#endif
