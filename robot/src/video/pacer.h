#ifndef OBVISTA_ROBOT_VIDEO_PACER_H
#define OBVISTA_ROBOT_VIDEO_PACER_H

#include <chrono>
#include <cstdint>

namespace robot {

/**
 * When a camera's frames are due: they follow the clock, so that the rate is held over any time,
 * and those for which it is too late are left out.
 */
class Pacer {
  public:
    using Clock = std::chrono::steady_clock;

    /** From now on; the first frame is due at once. @param rate frames a second */
    void start(Clock::time_point now, double rate);

    /** Changes the rate; the next frame is due one new period after the last one, or now when that
     *  is over. The first frame stays due at once. */
    void setRate(Clock::time_point now, double rate);

    Clock::time_point due() const;

    /** The frame that is due is made now. @return how many frames are left out before it */
    std::uint64_t take(Clock::time_point now);

  private:
    Clock::time_point fStart;
    double fRate = 1;
    std::int64_t fStep = 0;
};

}  // namespace robot

#endif
