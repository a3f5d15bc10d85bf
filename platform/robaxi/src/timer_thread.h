#ifndef ROBAXI_TIMER_THREAD_H
#define ROBAXI_TIMER_THREAD_H

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
class TimerThread : public std::enable_shared_from_this<TimerThread> {
  public:
    using Clock = std::chrono::steady_clock;

    static std::shared_ptr<TimerThread> create();
    TimerThread(const TimerThread&) = delete;
    TimerThread& operator=(const TimerThread&) = delete;

    /** No timer runs after this, except one from which it is called. Needed before the last
     *  reference goes, since the thread holds one. */
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

/** Runs a task once at a chosen time; can be started again, from the task too. */
class Timer {
  public:
    using Clock = TimerThread::Clock;

    /** @param task must be short, since all other timers of the broker wait for it */
    Timer(std::shared_ptr<TimerThread> thread, std::function<void()> task);
    /** Like stop(). */
    ~Timer();
    Timer(const Timer&) = delete;
    Timer& operator=(const Timer&) = delete;

    /** Unless it is due earlier already. */
    void startAt(Clock::time_point time);

    /** Returns when the task does not run, unless it is called from it; it may be started again. */
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
