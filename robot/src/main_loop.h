#ifndef OBVISTA_ROBOT_MAIN_LOOP_H
#define OBVISTA_ROBOT_MAIN_LOOP_H

#include <chrono>
#include <functional>
#include <map>
#include <mutex>

namespace robot {

/**
 * The main thread's work: it waits for SIGTERM or SIGINT and runs what other threads post.
 *
 * The constructor blocks the two signals for the calling thread and for every thread that is
 * started after it, so that they arrive here and nowhere else: make it before any thread. One per
 * process.
 */
class MainLoop {
  public:
    using Clock = std::chrono::steady_clock;

    /** @throws std::system_error when the system has no descriptors left */
    MainLoop();
    ~MainLoop();
    MainLoop(const MainLoop&) = delete;
    MainLoop& operator=(const MainLoop&) = delete;

    /** Runs a function on the main thread after a delay; from any thread. */
    void post(std::function<void()> function, Clock::duration delay = Clock::duration::zero());

    /** Returns when SIGTERM or SIGINT came. Posted functions that are not due yet never run. */
    void run();

  private:
    int xMillisecondsToNext();
    void xRunDue();
    bool xTakeNextDue(std::function<void()>& function);

    int fSignals;  // descriptor from which the signals are read
    int fWake;     // descriptor that a post makes readable
    std::mutex fMutex;
    std::multimap<Clock::time_point, std::function<void()>> fPosted;
};

}  // namespace robot

#endif
