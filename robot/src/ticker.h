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
 * Calls a function with a step number once a period, on a dedicated thread. Steps follow the clock:
 * after a call that took too long, the missed steps are skipped.
 */
class Ticker {
  public:
    /** The first call is step 1, one period from now. */
    Ticker(std::chrono::microseconds period, std::function<void(std::uint64_t step)> function);

    /** Returns when the function is not running. */
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
