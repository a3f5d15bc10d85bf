#ifndef OBVISTA_TOOLS_ROBAXI_PROCESS_BELL_H
#define OBVISTA_TOOLS_ROBAXI_PROCESS_BELL_H

#include "process/interruption.h"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>

namespace robaxi_tool {

using Clock = std::chrono::steady_clock;

/**
 * Lets the command's thread wait for events of other threads and for interruption by the user.
 *
 * Code that changes an awaited condition rings afterwards.
 */
class Bell {
  public:
    explicit Bell(Interruption& interruption);
    Bell(const Bell&) = delete;
    Bell& operator=(const Bell&) = delete;

    /** Wakes the waiting thread. May be called from any thread. */
    void ring();

    /**
     * Returns when the condition is true; it is checked at once, and after each ring.
     *
     * @return false if it is not true by the deadline
     * @throws Interrupted
     */
    bool waitUntil(Clock::time_point deadline, const std::function<bool()>& condition);

    /** Waits until the deadline. @throws Interrupted */
    void sleepUntil(Clock::time_point deadline);

  private:
    Interruption& fInterruption;
    std::mutex fMutex;
    std::condition_variable fRang;
    std::uint64_t fRings = 0;
    InterruptionHandler fHandler;  ///< last, since it may ring at once
};

}  // namespace robaxi_tool

#endif
