#ifndef ROBAXI_TIMER_THREAD_H
#define ROBAXI_TIMER_THREAD_H

#include <robaxi/robaxi_export.h>

#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <set>
#include <thread>
#include <utility>

namespace robaxi {

class Timer;

/** The thread on which the timers of one broker run: heartbeats and the rates of subscriptions. */
class ROBAXI_EXPORT TimerThread {
  public:
    using Clock = std::chrono::steady_clock;

    /** Starts the thread. @throws KVError Internal if that fails */
    static std::shared_ptr<TimerThread> create();
    TimerThread(const TimerThread&) = delete;
    TimerThread& operator=(const TimerThread&) = delete;

    /**
     * Stops all timers. None runs after this, except one from which it is called. Needed before the
     * last reference is released, since the thread holds one.
     */
    void stop();

  private:
    friend class Timer;
    TimerThread() = default;
    void xRun();

    std::mutex fMutex;
    std::condition_variable fChanged;
    std::condition_variable fDone;
    std::set<std::pair<Clock::time_point, Timer*>> fDue;
    Timer* fRunning = nullptr;
    std::thread fThread;
    std::thread::id fThreadId;
    bool fStopped = false;
};

/**
 * Runs a task once at a chosen time; can be started again, also from the task.
 *
 * Unlike that of boost::asio::steady_timer, the handler has ended when stop() returns.
 */
class ROBAXI_EXPORT Timer {
  public:
    using Clock = TimerThread::Clock;

    /** @param task must be short, since all other timers of the broker wait for it */
    Timer(std::shared_ptr<TimerThread> thread, std::function<void()> task);
    /** Stops, as stop() does. */
    ~Timer();
    Timer(const Timer&) = delete;
    Timer& operator=(const Timer&) = delete;

    /** Starts the timer; keeps an earlier due time. */
    void startAt(Clock::time_point time);

    /**
     * Stops the timer. Returns when the task is not running, unless called from it; it may be
     * started again.
     */
    void stop();

  private:
    friend class TimerThread;
    void xErase();

    const std::shared_ptr<TimerThread> fThread;
    const std::shared_ptr<const std::function<void()>> fTask;
    Clock::time_point fTime;
    bool fIsDue = false;
};

}  // namespace robaxi

#endif
