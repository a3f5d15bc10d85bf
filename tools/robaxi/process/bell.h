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
 * Lets the command's thread wait for what other threads do and for the user's wish to end.
 *
 * Whoever changes what is waited for rings afterwards.
 */
class Bell {
  public:
    explicit Bell(Interruption& interruption);
    Bell(const Bell&) = delete;
    Bell& operator=(const Bell&) = delete;

    /** From any thread. */
    void ring();

    /**
     * Returns as soon as the condition holds; it is asked at once, and after each ring.
     *
     * @return false when it does not hold by the deadline
     * @throws Interrupted
     */
    bool waitUntil(Clock::time_point deadline, const std::function<bool()>& condition);

    /** Waits for the deadline. @throws Interrupted */
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
