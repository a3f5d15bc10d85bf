#ifndef SERVING_MAIN_LOOP_H
#define SERVING_MAIN_LOOP_H

#include <boost/asio/io_context.hpp>
#include <boost/asio/signal_set.hpp>

#include <chrono>
#include <functional>

namespace serving {

/**
 * The main thread's loop: it waits for SIGTERM or SIGINT and runs functions posted by other
 * threads.
 *
 * The constructor blocks the two signals for the calling thread and for every thread started after
 * it, so that they interrupt no other thread: create it before any thread. One per process.
 */
class MainLoop {
  public:
    using Clock = std::chrono::steady_clock;

    /** @throws boost::system::system_error if the system has no descriptors left */
    MainLoop();
    MainLoop(const MainLoop&) = delete;
    MainLoop& operator=(const MainLoop&) = delete;

    /** Runs a function on the main thread after a delay; from any thread. */
    void post(std::function<void()> function, Clock::duration delay = Clock::duration::zero());

    /** Returns after SIGTERM or SIGINT. Posted functions that are not yet due never run. */
    void run();

  private:
    boost::asio::io_context fContext;
    boost::asio::signal_set fSignals;
};

}  // namespace serving

#endif
