#ifndef MATROSKA_RECORDING_CLOCK_H
#define MATROSKA_RECORDING_CLOCK_H

#include <cstdint>
#include <optional>

namespace matroska {

/**
 * Times of a recording's frames, which start at 0 and always increase.
 *
 * They follow the robot's stamps. If the robot's clock was set, has stopped or is implausible (a
 * step back, or one that differs by more than a_tolerance from the time between the arrivals), the
 * time between the arrivals is used for that step.
 */
class RecordingClock {
  public:
    /** Microseconds. More than any network delay that should be kept out of a recording. */
    static constexpr std::int64_t a_tolerance = 2'000'000;

    /**
     * Returns the time of the next frame in microseconds since the first one.
     *
     * @param stamp microseconds of the robot's clock
     * @param arrival microseconds of a monotonic clock here
     */
    std::int64_t next(std::int64_t stamp, std::int64_t arrival);

  private:
    struct Frame {
        std::int64_t fStamp;
        std::int64_t fArrival;
        std::int64_t fTime;
    };

    std::optional<Frame> fLast;
};

}  // namespace matroska

#endif
