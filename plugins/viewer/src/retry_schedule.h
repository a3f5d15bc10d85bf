#ifndef OBVISTA_VIEWER_RETRY_SCHEDULE_H
#define OBVISTA_VIEWER_RETRY_SCHEDULE_H

#include <chrono>
#include <functional>

namespace obvista {

/**
 * Times of the attempts to reach a lost robot: the first after 0.5 s, then after delays that double
 * up to 5 s. Each delay is up to a quarter shorter, at random, so that the viewers of one robot do
 * not connect at the same time.
 */
class RetrySchedule {
  public:
    using Clock = std::chrono::steady_clock;
    /** Returns a random number from 0 to 1. */
    using Random = std::function<double()>;

    RetrySchedule(Clock::time_point lost, Random random);

    bool isDue(Clock::time_point now) const { return now >= fNext; }
    /** To be called when an attempt has failed. */
    void attemptFailed(Clock::time_point now);
    /** Makes an attempt due, since the robot seems to be there; delays begin at 0.5 s again. */
    void hurry(Clock::time_point now);

  private:
    void xWait(Clock::time_point now);

    const Random fRandom;
    Clock::duration fDelay;
    Clock::time_point fNext;
};

}  // namespace obvista

#endif
