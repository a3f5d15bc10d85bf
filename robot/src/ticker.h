#ifndef OBVISTA_ROBOT_TICKER_H
#define OBVISTA_ROBOT_TICKER_H

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <thread>

namespace robot {

/**
 * Calls a function with a step number once a period, on a thread of its own. Steps follow the
 * clock: when a call took too long, the steps that were missed are left out.
 */
class Ticker {
  public:
    /** The first call is step 1, one period from now. */
    Ticker(std::chrono::microseconds period, std::function<void(std::uint64_t step)> function);

    /** Returns when the function does not run any more. */
    ~Ticker();
    Ticker(const Ticker&) = delete;
    Ticker& operator=(const Ticker&) = delete;

  private:
    void xRun();

    const std::chrono::microseconds fPeriod;
    const std::function<void(std::uint64_t)> fFunction;
    std::mutex fMutex;
    std::condition_variable fWake;
    bool fStopping = false;
    std::thread fThread;
};

}  // namespace robot

#endif
