#ifndef OBVISTA_ROBOT_TICKER_H
#define OBVISTA_ROBOT_TICKER_H

#include <boost/asio/io_context.hpp>
#include <boost/asio/steady_timer.hpp>

#include <chrono>
#include <cstdint>
#include <functional>
#include <thread>

namespace robot {

/**
 * Calls a function with a step number once a period, on a separate thread. Steps follow the clock:
 * when a call took too long, the steps that were missed are left out.
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
    void xWait();

    const std::chrono::microseconds fPeriod;
    const std::function<void(std::uint64_t)> fFunction;
    const std::chrono::steady_clock::time_point fStart = std::chrono::steady_clock::now();
    std::uint64_t fStep = 0;
    boost::asio::io_context fContext;
    boost::asio::steady_timer fTimer;
    std::thread fThread;
};

}  // namespace robot

#endif
