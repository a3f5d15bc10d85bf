#ifndef OBVISTA_ROBOT_MAIN_LOOP_H
#define OBVISTA_ROBOT_MAIN_LOOP_H

#include <chrono>
#include <functional>
#include <map>
#include <mutex>

namespace robot {

/**
 * The main thread's loop: it waits for SIGTERM or SIGINT and runs functions posted by other
 * threads.
 *
 * The constructor blocks the two signals for the calling thread and for every thread started after
 * it, so that they arrive only here: create it before any thread. One per process.
 */
class MainLoop {
  public:
    using Clock = std::chrono::steady_clock;

    /** @throws std::system_error if the system has no descriptors left */
    MainLoop();
    ~MainLoop();
    MainLoop(const MainLoop&) = delete;
    MainLoop& operator=(const MainLoop&) = delete;

    /** Runs a function on the main thread after a delay; from any thread. */
    void post(std::function<void()> function, Clock::duration delay = Clock::duration::zero());

    /** Returns after SIGTERM or SIGINT. Posted functions that are not yet due never run. */
    void run();

  private:
    int xMillisecondsToNext();
    void xRunDue();
    bool xTakeNextDue(std::function<void()>& function);

    int fSignals;  // descriptor for reading the signals
    int fWake;     // descriptor that a post makes readable
    std::mutex fMutex;
    std::multimap<Clock::time_point, std::function<void()>> fPosted;
};

}  // namespace robot

#endif
