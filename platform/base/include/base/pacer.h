#ifndef BASE_PACER_H
#define BASE_PACER_H

#include <chrono>
#include <cstdint>

namespace base {

/**
 * Times at which a camera's frames are due: they follow the clock, so that the rate is exact over
 * any time; frames that would be late are skipped.
 */
class Pacer {
  public:
    using Clock = std::chrono::steady_clock;

    /** Starts; the first frame is due at once. @param rate frames a second */
    void start(Clock::time_point now, double rate);

    /**
     * Changes the rate; the next frame is due one new period after the last one, or now if that
     * time has passed. A first frame stays due at once.
     */
    void setRate(Clock::time_point now, double rate);

    Clock::time_point due() const;

    /** Takes the frame that is due. @return number of frames skipped before it */
    std::uint64_t take(Clock::time_point now);

  private:
    Clock::time_point fStart;
    double fRate = 1;
    std::int64_t fStep = 0;
};

}  // namespace base

#endif
