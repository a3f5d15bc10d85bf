#ifndef OBVISTA_CAMERAVIEWER_RECORDING_CLOCK_H
#define OBVISTA_CAMERAVIEWER_RECORDING_CLOCK_H

#include <cstdint>
#include <optional>

namespace cameraviewer {

/**
 * The times of a recording's frames, which begin at 0 and always go forward.
 *
 * They follow the robot's stamps. Where the robot's clock was set, stands still or is not to be
 * believed (a step back, or one that differs by more than a_tolerance from the time between the
 * arrivals), the time between the arrivals is taken for that step.
 */
class RecordingClock {
  public:
    /** Microseconds. More than any delay in the network that is worth keeping out of a recording.
     */
    static constexpr std::int64_t a_tolerance = 2'000'000;

    /**
     * The time of the next frame in microseconds since the first one.
     *
     * @param stamp microseconds, of the robot's clock
     * @param arrival microseconds, of a clock here that is never set
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

}  // namespace cameraviewer

#endif
